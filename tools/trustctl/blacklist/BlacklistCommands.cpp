#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/FileSystem.h"
#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/InputFile.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/blacklist/BlacklistCheck.h"
#include "tools/trustctl/blacklist/SerialNumber.h"

namespace {

constexpr const char* groupHelp =
    "The library refuses certificates with certain serial numbers: issued by fraud, after a\n"
    "break-in, or with a key that everybody has. The list is built in.\n\n"
    "Examples:\n"
    "  trustctl blacklist check 04:7E:CB:E9:FC:A5:5F:7B:D0:9E:AE:36:E1:0C:AE:1E\n"
    "  trustctl blacklist check chain.pem\n"
    "  trustctl blacklist list\n";

constexpr const char* checkHelp =
    "A word that names an existing file is that file, of PEM, DER or PKCS#7, and each certificate\n"
    "in it is checked; - is standard input. Any other word is a serial number in hexadecimal, "
    "with\n"
    "colons, spaces, 0x and leading zeros or without, in any letter case.\n\n"
    "Some entries hold for certificates with one name only: a serial number alone is then on the\n"
    "list, and a certificate is only if it bears the name.\n\n"
    "Examples:\n"
    "  trustctl blacklist check 047ecbe9fca55f7bd09eae36e10cae1e\n"
    "  trustctl blacklist check 0x47:EC:BE:9F:CA:55:F7:BD:09:EA:E3:6E:10:CA:E1:E\n"
    "  trustctl blacklist check chain.pem other.der\n"
    "  trustctl blacklist check --file cafe\n\n"
    "Exit status: 0 none is on the list, 1 one is, 2 wrong use or unusable input.\n";

constexpr const char* listHelp =
    "One line each: the serial number, the incident it comes from and, in brackets, the name for\n"
    "which alone the entry holds. One number stands there twice, as in the sources.\n\n"
    "Examples:\n"
    "  trustctl blacklist list\n"
    "  trustctl blacklist list | grep 2011\n"
    "  trustctl blacklist list --json\n";

struct CheckOptions {
  std::vector<std::string> words;
  std::vector<std::string> files;
  bool json = false;
};

bool isFile(const std::string& word) {
  return word == "-" || pathExists(word);
}

std::vector<BlacklistFinding> checkWord(const std::string& word) {
  if (isFile(word)) {
    return checkCertificatesIn(word);
  }
  const auto serial = parseSerialNumber(word);
  if (!serial) {
    refuse(
        fmt::format("'{}' is neither a file that is there nor a serial number; give a file, or "
                    "hexadecimal digits such as 04:7e:cb",
                    printableText(word)));
  }
  return {checkSerialNumber(*serial)};
}

std::vector<BlacklistFinding> checkAll(const CheckOptions& options) {
  if (options.words.empty() && options.files.empty()) {
    refuse("nothing to check; give a serial number or a file of certificates");
  }
  std::vector<BlacklistFinding> all;
  const auto add = [&](std::vector<BlacklistFinding> more) {
    all.insert(all.end(), more.begin(), more.end());
  };
  const auto stdins = std::count(options.words.begin(), options.words.end(), "-") +
                      std::count(options.files.begin(), options.files.end(), "-");
  if (stdins > 1) {
    refuse("standard input is named twice; it can be read only once");
  }
  for (const std::string& word : options.words) {
    add(checkWord(word));
  }
  for (const std::string& file : options.files) {
    add(checkCertificatesIn(file));
  }
  return all;
}

// ---- check

void printField(const char* label, const std::string& escaped) {
  constexpr std::size_t labelColumns = 18;
  for (const std::string& line : fieldLines(escaped, pageColumns() - labelColumns)) {
    print(fmt::format("    {:<{}}{}\n", label, labelColumns - 4, line));
    label = "";
  }
}

std::string domainText(const BlacklistFinding& finding) {
  return fmt::format("The number is listed for certificates with the name '{}' only{}.",
                     finding.entry->domain, finding.onList ? "" : ", which this one does not bear");
}

void printFinding(const BlacklistFinding& finding) {
  const std::string verdict = finding.onList ? painted(Colour::red, "ON THE LIST")
                                             : painted(Colour::green, "NOT ON THE LIST");
  print(fmt::format("{}  {}\n", verdict, finding.serial));
  if (finding.file) {
    printField("file", *finding.file == "-" ? "standard input" : escapeText(*finding.file));
    printField("certificate", *finding.subject);
  }
  if (finding.entry == nullptr) {
    return;
  }
  print(wrapped(finding.entry->incident, 4) + "\n");
  if (*finding.entry->domain != '\0') {
    print(wrapped(domainText(finding), 4) + "\n");
  }
}

void addEntry(TextWriter* object, const BlacklistEntry& entry) {
  if (*entry.domain != '\0') {
    object->add("domain", entry.domain);
  }
  object->add("incident", entry.incident);
}

void printJson(const BlacklistFinding& finding) {
  TextWriter object(TextWriter::Form::json);
  if (finding.file) {
    object.add("file", escapeText(*finding.file));
    object.add("subject", *finding.subject);
  }
  object.add("serial", finding.serial);
  object.add("on_list", finding.onList);
  if (finding.entry != nullptr) {
    addEntry(&object, *finding.entry);
  }
  print(object.text() + "\n");
}

ExitStatus runCheck(const CheckOptions& options) {
  return withJsonErrors(options.json, [&options] {
    bool anyOnList = false;
    for (const BlacklistFinding& finding : checkAll(options)) {
      options.json ? printJson(finding) : printFinding(finding);
      anyOnList |= finding.onList;
    }
    return anyOnList ? ExitStatus::notTrusted : ExitStatus::trusted;
  });
}

// ---- list

void printEntry(const BlacklistEntry& entry, bool json) {
  if (json) {
    TextWriter object(TextWriter::Form::json);
    object.add("serial", entry.serial);
    addEntry(&object, entry);
    print(object.text() + "\n");
    return;
  }
  const std::string domain =
      *entry.domain == '\0' ? std::string() : fmt::format(" [{}]", entry.domain);
  print(fmt::format("{:<32}  {}{}\n", entry.serial, entry.incident, domain));
}

ExitStatus runList(bool json) {
  for (const BlacklistEntry& entry : blacklistEntries()) {
    printEntry(entry, json);
  }
  return ExitStatus::trusted;
}

void addCheckCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command =
      addCommand(group, "check", "Look serial numbers or certificates up", checkHelp);
  const auto options = std::make_shared<CheckOptions>();
  addOption(command, "SERIAL|FILE", &options->words,
            "Serial numbers, or files of certificates; - for stdin")
      .notEmpty();
  addOption(command, "--file", &options->files, "A file, whatever its name; repeatable", "FILE")
      .notEmpty()
      .oneValueEach();
  addFlag(command, "--json", &options->json, "One JSON object a line, for programs");
  onCall(command, chosen, [options] { return runCheck(*options); });
}

void addListCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "list", "All entries, with the incident of each", listHelp);
  const auto json = std::make_shared<bool>(false);
  addFlag(command, "--json", json.get(), "One JSON object a line, for programs");
  onCall(command, chosen, [json] { return runList(*json); });
}

}  // namespace

void addBlacklistCommands(CLI::App* program, CommandAction* chosen) {
  CLI::App* group =
      addCommand(program, "blacklist", "The serial numbers that are never trusted", groupHelp);
  addCheckCommand(group, chosen);
  addListCommand(group, chosen);
}
