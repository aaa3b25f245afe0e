#include "services/dialog/model/DialogModelBuilder.h"

#include <iterator>
#include <stdexcept>
#include <utility>

#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/Sections.h"

namespace {

void append(std::vector<DialogSection> more, std::vector<DialogSection>* sections) {
  sections->insert(sections->end(), std::make_move_iterator(more.begin()),
                   std::make_move_iterator(more.end()));
}

std::vector<DialogSection> makeSections(const DialogInput& input,
                                        const std::vector<ChainMember>& chain) {
  const std::vector<WarningPlace> places =
      findWarningPlaces(chain, input.domain, input.warnings, input.now);
  std::vector<DialogSection> sections = {makeAskerSection(input.asker),
                                         makeDomainSection(input.domain)};
  if (auto history = makeHistorySection(input, chain)) sections.push_back(*std::move(history));
  if (auto clock = makeClockSection(chain, input.warnings, input.now)) {
    sections.push_back(*std::move(clock));
  }
  append(makeWarningSections(input.warnings, places), &sections);
  append(makeCertificateSections(chain, input.domain, input.warnings, places, input.now),
         &sections);
  return sections;
}

DialogConfirmation makeConfirmation(const DialogInput& input,
                                    const std::vector<ChainMember>& chain) {
  DialogConfirmation confirmation;
  confirmation.heading = "Always trust exactly this?";
  std::vector<DialogLine>& lines = confirmation.lines;
  lines = describeDomain(input.domain);
  lines.insert(lines.begin(), sentence("From now on this is trusted without a question:"));
  if (!input.domain) {
    lines.push_back(sentence(
        "It will be trusted wherever a program names no domain, whichever server shows it.",
        DialogTone::danger));
  }
  const CertificateView& leaf = chain.front().view;
  lines.push_back(quotedEscaped("subject", leaf.subject));
  lines.push_back(quotedEscaped("issued by", leaf.issuer));
  lines.push_back(field("valid to", timeWords(leaf.notAfter)));
  const std::string outside = whyNotValid(leaf, input.now);
  if (!outside.empty()) lines.push_back(field("now", outside, DialogTone::doubt));
  lines.push_back(field("SHA-256", groupedHex(leaf.sha256)));
  lines.push_back(field("certificates", chain.size() == 1 ? "this one alone"
                                                          : "this one and the " +
                                                                std::to_string(chain.size() - 1) +
                                                                " above it, exactly as they are"));
  for (const DialogSection& warning : makeWarningSections(input.warnings, {})) {
    lines.push_back(field("in spite of", warning.heading, warning.tone));
  }
  lines.push_back(
      sentence("A changed certificate, or one warning more or less, is asked about again."));
  confirmation.acceptLabel = "Yes, always trust exactly this";
  confirmation.backLabel = "Go back";
  return confirmation;
}

}  // namespace

DialogModel buildDialogModel(const DialogInput& input) {
  if (input.chain.empty()) throw std::runtime_error("a dialog needs a certificate");
  const std::vector<ChainMember> chain = readChain(input.chain);
  DialogModel model;
  model.title = "There is doubt about a server's identity";
  model.sections = makeSections(input, chain);
  model.options = {{DialogChoice::decline, "Do not connect"},
                   {DialogChoice::once, "Connect this once"},
                   {DialogChoice::always, "Always trust exactly this"}};
  model.confirmation = makeConfirmation(input, chain);
  return model;
}
