#include "tools/trustctl/many/ManyInputs.h"

#include <algorithm>
#include <filesystem>
#include <string_view>
#include <system_error>

#include <fmt/format.h>

#include "services/common/FileSystem.h"
#include "services/common/PrintableText.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/Interruption.h"
#include "tools/trustctl/Judging.h"
#include "tools/trustctl/Options.h"

namespace fs = std::filesystem;

namespace {

constexpr InputRules listRules = {std::size_t{64} * 1024 * 1024,
                                  "so it is no list of chains; split it",
                                  "connect it to standard input and name it -"};

constexpr const char* refusalOfStandardInput =
    "standard input cannot be one of many inputs; put it into a file";

[[noreturn]] void refuseDirectory(const std::string& path, const std::string& reason) {
  refuse(fmt::format("the directory {} cannot be read: {}; check its path and its rights",
                     inputName(path), reason));
}

// The plain files below, links to files among them; links to directories are not followed.
std::vector<std::string> filesBelow(const std::string& directory) {
  std::vector<std::string> files;
  std::error_code failure;
  fs::recursive_directory_iterator entry(directory, failure);
  std::string opened = directory;
  while (!failure && entry != fs::end(entry)) {
    Interruption::check();
    const bool isHidden = entry->path().filename().native().front() == '.';
    if (isHidden && isDirectory(entry->path())) {
      entry.disable_recursion_pending();
    } else if (!isHidden && isPlainFile(entry->path())) {
      files.push_back(entry->path().string());
    }
    opened = entry->path().string();  // where it is a directory
    entry.increment(failure);
  }
  if (failure) {
    refuseDirectory(opened, failure.message());
  }
  std::sort(files.begin(), files.end());
  return files;
}

ManyInput parseLine(const std::string& line, const std::string& where) {
  const std::size_t tab = line.find('\t');
  if (tab == std::string::npos || tab + 1 == line.size()) {
    refuse(fmt::format("{}: '{}' is not a domain, a tab and a path", where, printableText(line)));
  }
  if (line.find('\0') != std::string::npos) {
    refuse(where + ": a zero byte can be in no path; write the list as plain text");
  }
  ManyInput input{line.substr(tab + 1), {}};
  if (input.path == "-") {
    refuse(where + ": " + refusalOfStandardInput);
  }
  if (tab > 0) {
    input.domain = line.substr(0, tab);
    try {
      requireDomain(*input.domain);
    } catch (const CommandError& error) {
      refuse(fmt::format("{}: {}", where, error.what()));
    }
  }
  return input;
}

}  // namespace

bool nameADirectory(const std::vector<std::string>& paths) {
  return std::any_of(paths.begin(), paths.end(), isDirectory);
}

std::vector<ManyInput> listFiles(const std::vector<std::string>& paths,
                                 const std::optional<std::string>& domain) {
  std::vector<ManyInput> inputs;
  for (const std::string& path : paths) {
    if (path == "-") {
      refuse(refusalOfStandardInput);
    }
    if (!nameADirectory({path})) {
      inputs.push_back({path, domain});
      continue;
    }
    for (const std::string& file : filesBelow(path)) {
      inputs.push_back({file, domain});
    }
  }
  return inputs;
}

std::vector<ManyInput> readList(const std::string& path) {
  const std::string text = readInput(path, listRules);
  std::vector<ManyInput> inputs;
  std::size_t number = 0;
  for (std::size_t start = 0; start < text.size();) {
    const std::size_t end = std::min(text.find('\n', start), text.size());
    std::string line = text.substr(start, end - start);
    start = end + 1;
    ++number;
    if (!line.empty() && line.back() == '\r') {
      line.pop_back();
    }
    if (!line.empty() && line.front() != '#') {
      inputs.push_back(parseLine(line, fmt::format("{}, line {}", inputName(path), number)));
    }
  }
  return inputs;
}
