#include <iterator>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/Sections.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/SectionText.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordId.h"
#include "tools/trustctl/exceptions/RecordJson.h"
#include "tools/trustctl/exceptions/StoreOption.h"

namespace {

constexpr const char* help =
    "ID is the start of the hash in the file's name (four digits or more), the file's name, or\n"
    "the domain where only one decision is stored for it.\n\n"
    "Examples:\n"
    "  trustctl exceptions show example.org\n"
    "  trustctl exceptions show 1f3a\n"
    "  trustctl exceptions show --json example.org\n\n"
    "Exit status: 0 done, 2 wrong use or no such decision, 3 it cannot be read.\n";

struct ShowOptions {
  StoreOption store;
  std::string id;
  bool json = false;
};

DialogSection decisionSection(const ExceptionStore& store, const StoredRecord& stored,
                              std::int64_t now) {
  const ExceptionRecord& record = stored.record;
  DialogSection section{"decision", "The stored decision", DialogTone::plain, {}};
  section.lines.push_back(quoted("file", store.pathOf(stored.fileName)));
  section.lines.push_back(field("written", momentText(store.writtenAt(stored.fileName))));
  if (record.created) {
    section.lines.push_back(field("created", timeWords(record.created)));
  }
  if (record.expires) {
    const bool expired = isExpired(record, now);
    section.lines.push_back(field("expires", timeWords(record.expires),
                                  expired ? DialogTone::doubt : DialogTone::plain));
    section.lines.push_back(
        sentence(expired ? "That has passed: exceptions prune --expired removes it. Until then it "
                           "is honoured."
                         : "It is honoured until exceptions prune --expired removes it."));
  }
  if (record.reason) {
    section.lines.push_back(quoted("reason", *record.reason));
  }
  section.lines.push_back(field("accepted", warningWords(record.warnings)));
  return section;
}

// A chain that no dialog can show: what can be told of each of its parts.
std::vector<DialogSection> brokenChainSections(const ExceptionRecord& record) {
  std::vector<DialogSection> sections;
  for (std::size_t i = 0; i < record.chain.size(); ++i) {
    const CertificateDer& der = record.chain[i];
    const std::string number = std::to_string(i + 1) + ". ";
    DialogSection section{"certificate", "", DialogTone::plain, {}};
    try {
      const CertificateView view = viewCertificate(der);
      section.heading = number + "certificate";
      section.lines.push_back(quotedEscaped("subject", view.subject));
      section.lines.push_back(quotedEscaped("issued by", view.issuer));
    } catch (const std::runtime_error&) {
      section.heading = number + noCertificate;
      section.tone = DialogTone::doubt;
      section.lines.push_back(field("size", fmt::format("{} bytes", der.size())));
    }
    section.lines.push_back(field("SHA-256", groupedHex(sha256Of(der))));
    sections.push_back(section);
  }
  return sections;
}

// A decision in spite of nothing has no reasons to show.
std::vector<DialogSection> warningSections(unsigned long long warnings,
                                           const std::vector<WarningPlace>& places) {
  return warnings == 0 ? std::vector<DialogSection>() : makeWarningSections(warnings, places);
}

void append(std::vector<DialogSection> more, std::vector<DialogSection>* sections) {
  sections->insert(sections->end(), std::make_move_iterator(more.begin()),
                   std::make_move_iterator(more.end()));
}

std::vector<DialogSection> chainSections(const ExceptionRecord& record, std::int64_t now) {
  std::vector<ChainMember> chain;
  try {
    chain = readChain(record.chain);
  } catch (const std::runtime_error&) {
    auto sections = warningSections(record.warnings, {});
    append(brokenChainSections(record), &sections);
    return sections;
  }
  const auto places = findWarningPlaces(chain, record.domain, record.warnings, now);
  auto sections = warningSections(record.warnings, places);
  append(makeCertificateSections(chain, record.domain, record.warnings, places, now), &sections);
  return sections;
}

void printText(const ExceptionStore& store, const StoredRecord& stored) {
  const std::int64_t now = currentTime();
  print(sectionText(decisionSection(store, stored, now)) + "\n");
  print(sectionText(makeDomainSection(stored.record.domain)));
  for (const DialogSection& section : chainSections(stored.record, now)) {
    print("\n" + sectionText(section));
  }
}

ExitStatus runShow(const ShowOptions& options) {
  return withJsonErrors(options.json, [&options] {
    const ExceptionStore store(options.store.directory());
    const StoredRecord stored = findRecords(store, {options.id}).front();
    if (options.json) {
      print(recordJson(store, stored.fileName, stored.record, currentTime()));
    } else {
      printText(store, stored);
    }
    return ExitStatus::trusted;
  });
}

}  // namespace

void addShowCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "show", "Show one stored decision in full", help);
  const auto options = std::make_shared<ShowOptions>();
  addOption(command, "ID", &options->id, "Which decision; see below").required();
  addFlag(command, "--json", &options->json, "One JSON object on one line, for programs");
  addStoreOption(command, &options->store);
  onCall(command, chosen, [options] { return runShow(*options); });
}
