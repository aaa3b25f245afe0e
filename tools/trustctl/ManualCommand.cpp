#include <algorithm>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <CLI/CLI.hpp>

#include "services/common/CommandText.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/CommandWords.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/Options.h"

namespace {

constexpr int section = 1;

void writePage(const std::string& directory, const std::string& path, const std::string& page) {
  std::string name = path + ".1";
  std::replace(name.begin(), name.end(), ' ', '-');
  const std::string file = directory + "/" + name;
  std::ofstream out(file, std::ios::binary);
  out << page;
  out.close();
  if (!out) {
    throw CommandError(ExitStatus::undecided, fmt::format("{} cannot be written; check its "
                                                          "directory and the disk",
                                                          inputName(file)));
  }
}

std::string pageOf(std::string path) {
  std::replace(path.begin(), path.end(), ' ', '-');
  return path + fmt::format("({})", section);
}

// A page for the command and for each one below it; `around` is where it stands.
void writePages(const CLI::App& command, const std::string& path, const std::string& around,
                const std::string& version, const std::string& directory) {
  std::vector<std::string> seeAlso;
  if (around.empty()) {
    seeAlso = {"trust-certmgrd(8)", "trust-dialogd(8)"};
  } else {
    seeAlso = {pageOf(around)};
  }
  for (const std::string& name : commandNames(command)) {
    seeAlso.push_back(pageOf(fmt::format("{} {}", path, name)));
  }
  writePage(directory, path, manualPage(describeCommand(command, path), section, version, seeAlso));
  for (const std::string& name : commandNames(command)) {
    writePages(*command.get_subcommand(name), fmt::format("{} {}", path, name), path, version,
               directory);
  }
}

}  // namespace

void addManualCommand(CLI::App* program, CommandAction* chosen) {
  // For the build: people find the pages with man.
  CLI::App* command = addCommand(program, "manual", "Write the manual pages", "");
  hideCommand(command);
  const auto directory = std::make_shared<std::string>();
  addOption(command, "DIR", directory.get(), "Where the pages go").required();
  onCall(command, chosen, [program, directory] {
    writePages(*program, program->get_name(), "", program->version(), *directory);
    return ExitStatus::trusted;
  });
}
