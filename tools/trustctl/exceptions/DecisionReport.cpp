#include <algorithm>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/WarningTexts.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/Sections.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/SectionText.h"
#include "tools/trustctl/exceptions/DecisionDifference.h"
#include "tools/trustctl/exceptions/RecordText.h"

namespace {

using State = DecisionAnswer::State;

std::string paragraph(const std::string& words) {
  return wrapped(words, 0) + "\n";
}

std::string spellingText(const std::string& stored, const std::string& domain) {
  const bool dot = (stored.back() == '.') != (domain.back() == '.');
  return fmt::format(
      "It is stored for the domain '{}', which is another text: {}. The library "
      "compares domains byte for byte.",
      printableText(stored, 80), dot ? "one of them ends in a dot" : "letter case differs");
}

const char* changeWords(CertificateChange change) {
  switch (change) {
    case CertificateChange::none:
      return "the one you accepted";
    case CertificateChange::moved:
      return "the one you accepted, but in another place of the chain";
    case CertificateChange::renewedKeyKept:
      return "another certificate for the same key";
    case CertificateChange::keyChanged:
      return "another certificate with another key";
    case CertificateChange::added:
      return "new in the chain";
    case CertificateChange::gone:
      break;
  }
  return "no longer in the chain";
}

const char* changeWord(CertificateChange change) {
  switch (change) {
    case CertificateChange::none:
      return "none";
    case CertificateChange::moved:
      return "moved";
    case CertificateChange::renewedKeyKept:
      return "renewed_key_kept";
    case CertificateChange::keyChanged:
      return "key_changed";
    case CertificateChange::added:
      return "added";
    case CertificateChange::gone:
      break;
  }
  return "gone";
}

DialogTone toneOf(CertificateChange change) {
  return change == CertificateChange::none         ? DialogTone::good
         : change == CertificateChange::keyChanged ? DialogTone::danger
                                                   : DialogTone::doubt;
}

void addPlace(const char* when, const std::optional<std::size_t>& place,
              const std::vector<ChainMember>& chain, std::vector<DialogLine>* lines) {
  if (place) {
    const CertificateView& view = chain[*place].view;
    lines->push_back(quotedEscaped(fmt::format("  {}", when), view.subject));
    lines->push_back(quotedEscaped("  issued by", view.issuer));
    lines->push_back(field("  valid to", timeWords(view.notAfter)));
    lines->push_back(field("  SHA-256", groupedHex(view.sha256)));
  }
}

void addCertificate(const CertificateDifference& part, const DecisionAnswer& answer,
                    std::vector<DialogLine>* lines) {
  const std::size_t place = part.now ? *part.now : *part.then;
  lines->push_back(field(certificateNumber(place), changeWords(part.change), toneOf(part.change)));
  if (part.change == CertificateChange::none) {
    return;
  }
  if (part.change != CertificateChange::moved) {
    addPlace("then", part.then, answer.difference->then, lines);
  }
  addPlace("now", part.now, answer.chain, lines);
}

// The whole difference, where the section on the history gives the gist.
DialogSection exactSection(const DecisionAnswer& answer) {
  const ExceptionDifference& difference = *answer.difference;
  DialogSection section{"difference", "What exactly differs", DialogTone::plain, {}};
  if (difference.newWarnings != 0) {
    section.lines.push_back(
        field("warnings new", warningWords(difference.newWarnings), DialogTone::danger));
  }
  if (difference.goneWarnings != 0) {
    section.lines.push_back(
        field("warnings gone", warningWords(difference.goneWarnings), DialogTone::doubt));
  }
  if (difference.newWarnings == 0 && difference.goneWarnings == 0) {
    section.lines.push_back(field("warnings", "the ones you accepted", DialogTone::good));
  }
  for (const CertificateDifference& part : compareChains(answer.chain, difference.then)) {
    addCertificate(part, answer, &section.lines);
  }
  return section;
}

// What it all looks like; the certificates themselves are told in full below.
std::string historyText(const DecisionAnswer& answer) {
  DialogInput input;
  input.warnings = answer.now.warnings;
  const ExceptionRecord& stored = answer.stored->record;
  input.earlier = {{stored.domain, stored.warnings, stored.chain}};
  auto section = makeHistorySection(input, answer.chain);
  if (!section) {
    return {};
  }
  auto& lines = section->lines;
  lines.erase(std::remove_if(lines.begin(), lines.end(),
                             [](const DialogLine& line) {
                               return !line.label.empty() && line.label != "new warning" &&
                                      line.label != "no longer";
                             }),
              lines.end());
  return sectionText(*section) + "\n";
}

std::string differenceText(const DecisionAnswer& answer) {
  std::string out =
      paragraph(painted(Colour::yellow, "Another decision is stored, so you are asked."));
  out += "\n" +
         wrapped("The nearest: " + recordLine(answer.stored->fileName, answer.stored->record), 2) +
         "\n\n";
  const std::string relation = relationText(answer.likely, answer.now.domain.value_or(""));
  if (!relation.empty()) {
    out += wrapped(relation, 2) + "\n\n";
  }
  if (!answer.difference) {
    return out + wrapped("What it accepts are no certificates that can be read.", 2) + "\n";
  }
  return out + historyText(answer) + sectionText(exactSection(answer));
}

const char* stateWord(State state) {
  switch (state) {
    case State::notNeeded:
      return "not_needed";
    case State::inForce:
      return "in_force";
    case State::outOfSight:
      return "out_of_sight";
    case State::differs:
      return "differs";
    case State::none:
      break;
  }
  return "none";
}

void addPart(const CertificateDifference& part, const DecisionAnswer& answer, TextWriter* object) {
  object->startObject(nullptr);
  object->add("change", changeWord(part.change));
  if (part.now) {
    object->add("now", answer.chain[*part.now].view.sha256);
  }
  if (part.then) {
    object->add("then", answer.difference->then[*part.then].view.sha256);
  }
  object->endObject();
}

void addDifference(const DecisionAnswer& answer, TextWriter* object) {
  const ExceptionDifference& difference = *answer.difference;
  object->addArray("new_warnings", namesOfWarnings(difference.newWarnings));
  object->addArray("gone_warnings", namesOfWarnings(difference.goneWarnings));
  object->startArray("chain");
  for (const CertificateDifference& part : compareChains(answer.chain, difference.then)) {
    addPart(part, answer, object);
  }
  object->endArray();
}

}  // namespace

std::string relationText(const LikelyDecisions& likely, const std::string& domain) {
  const std::string stored =
      likely.records.empty() ? "" : likely.records.front().record.domain.value_or("");
  switch (likely.relation) {
    case DomainRelation::otherSpelling:
      return spellingText(stored, domain);
    case DomainRelation::sameCertificate:
      return fmt::format(
          "This certificate is accepted, but for {}: each domain needs a decision of "
          "its own.",
          stored.empty() ? "no domain" : "'" + printableText(stored, 80) + "'");
    case DomainRelation::similar:
      return fmt::format("Nothing is stored for this domain; the nearest with a decision is '{}'.",
                         printableText(stored, 80));
    case DomainRelation::same:
    case DomainRelation::none:
      break;
  }
  return {};
}

const char* relationWord(DomainRelation relation) {
  switch (relation) {
    case DomainRelation::same:
      return "same";
    case DomainRelation::otherSpelling:
      return "other_spelling";
    case DomainRelation::sameCertificate:
      return "same_certificate";
    case DomainRelation::similar:
      return "similar";
    case DomainRelation::none:
      break;
  }
  return "none";
}

std::string answerText(const DecisionAnswer& answer) {
  switch (answer.state) {
    case State::notNeeded:
      return paragraph("You would not be asked: the chain is trusted without any decision.");
    case State::inForce:
      return paragraph(painted(Colour::green, "It is in force: you would not be asked.")) + "\n" +
             wrapped(recordLine(answer.stored->fileName, answer.stored->record), 2) + "\n";
    case State::outOfSight:
      return paragraph(fmt::format(
          "This very decision is stored, but in '{}', where the library does not look for it. Mend "
          "the store with: trustctl exceptions doctor --repair",
          printableText(answer.stored->fileName)));
    case State::differs:
      return differenceText(answer);
    case State::none:
      break;
  }
  return paragraph("Nothing is stored for this domain, nor for one like it, so you are asked.");
}

std::string answerJson(const DecisionAnswer& answer) {
  TextWriter object(TextWriter::Form::json);
  if (answer.now.domain) {
    object.add("domain", escapeText(*answer.now.domain));
  }
  object.add("state", stateWord(answer.state));
  object.addArray("warnings", namesOfWarnings(answer.now.warnings));
  if (answer.stored) {
    object.add("file", escapeText(answer.stored->fileName));
    if (answer.stored->record.domain) {
      object.add("stored_domain", escapeText(*answer.stored->record.domain));
    }
  }
  if (answer.state == State::differs) {
    object.add("relation", relationWord(answer.likely.relation));
  }
  if (answer.difference) {
    addDifference(answer, &object);
  }
  return object.text() + "\n";
}
