#include "services/common/WarningTexts.h"
#include "services/dialog/model/DialogLines.h"
#include "services/dialog/model/ExceptionComparison.h"
#include "services/dialog/model/Sections.h"

namespace {

struct Words {
  const char* change;
  const char* likeness;  // what such a change looks like, as long as no warning is new
  DialogTone tone;
};

constexpr const char* kLikeRenewal = " This is what a renewal looks like.";
constexpr const char* kLikeNewKey = " A renewal with a new key looks like this.";

Words describeIssuer(IssuerChange issuer, bool keyKept) {
  switch (issuer) {
    case IssuerChange::none:
      if (keyKept) {
        return {"The server has another certificate with the same key and from the same issuer.",
                kLikeRenewal, DialogTone::good};
      }
      return {"The server has another certificate with another key, from the same issuer.",
              kLikeNewKey, DialogTone::doubt};
    case IssuerChange::sameRoots:
      if (keyKept) {
        return {
            "The server has another certificate with the same key, from another issuer below "
            "the same authority.",
            " A renewal often looks like this.", DialogTone::good};
      }
      return {
          "The server has another certificate with another key, from another issuer below the "
          "same authority.",
          kLikeNewKey, DialogTone::doubt};
    case IssuerChange::unproven:
      if (keyKept) {
        return {
            "The server has another certificate with the same key. It names the same issuer, "
            "but nothing here proves it.",
            " A renewal looks like this.", DialogTone::doubt};
      }
      return {
          "The server has another certificate with another key. It names the same issuer, but "
          "anybody can write that name, and nothing here proves it.",
          "", DialogTone::danger};
    case IssuerChange::other:
      break;
  }
  if (keyKept) {
    return {"The server has another certificate with the same key, but from another issuer.",
            " Its owner may have changed the authority; ask before you accept.", DialogTone::doubt};
  }
  return {
      "The server has another certificate with another key from another issuer. This is what an "
      "attack looks like, unless its owner tells you of the change.",
      "", DialogTone::danger};
}

Words describeChange(const ExceptionDifference& difference) {
  if (difference.leaf != LeafChange::none) {
    return describeIssuer(difference.issuer, difference.leaf == LeafChange::renewedKeyKept);
  }
  if (!difference.restChanged) {
    return {"The server's certificate and the whole chain are the ones you accepted.", "",
            DialogTone::good};
  }
  return {
      "The server's certificate is the one you accepted; only certificates above it have changed.",
      "", DialogTone::good};
}

void addChange(const ExceptionDifference& difference, std::vector<DialogLine>* lines) {
  Words words = describeChange(difference);
  // What a new warning is about must not be calmed down by what has stayed.
  if (difference.newWarnings != 0) {
    if (words.tone == DialogTone::good) words.tone = DialogTone::plain;
    if (*words.likeness != '\0') words.likeness = " A renewal alone does not bring a new warning.";
  }
  lines->push_back(sentence(std::string(words.change) + words.likeness, words.tone));
}

void addWarnings(const ExceptionDifference& difference, std::vector<DialogLine>* lines) {
  const std::vector<GradedWarning> known = gravestFirst(difference.newWarnings);
  for (const GradedWarning& warning : known) {
    lines->push_back(field("new warning", warning.text->summary, warning.tone));
  }
  if (difference.newWarnings != 0 && known.empty()) {
    lines->push_back(
        field("new warning", "A reason that this program does not know.", DialogTone::danger));
  }
  for (const GradedWarning& warning : gravestFirst(difference.goneWarnings)) {
    lines->push_back(field("no longer", warning.text->summary));
  }
  if (difference.newWarnings == 0) {
    lines->push_back(sentence("There is no warning that you have not accepted before."));
  }
}

void addThen(const ExceptionDifference& difference, const std::vector<ChainMember>& chain,
             std::vector<DialogLine>* lines) {
  if (difference.leaf == LeafChange::none) return;
  const CertificateView& then = difference.then.front().view;
  lines->push_back(quotedEscaped("subject then", then.subject));
  lines->push_back(quotedEscaped("issued then by", then.issuer));
  lines->push_back(field("valid then to", timeWords(then.notAfter)));
  lines->push_back(field("SHA-256 then", groupedHex(then.sha256)));
  lines->push_back(field("SHA-256 now", groupedHex(chain.front().view.sha256)));
}

const char* headingFor(DialogTone tone) {
  switch (tone) {
    case DialogTone::danger:
      return "This is not what you accepted before";
    case DialogTone::doubt:
      return "This differs from what you accepted before";
    case DialogTone::plain:
    case DialogTone::good:
      break;
  }
  return "This fits what you accepted before";
}

}  // namespace

std::optional<DialogSection> makeHistorySection(const DialogInput& input,
                                                const std::vector<ChainMember>& chain) {
  const auto difference = compareWithNearest(input, chain);
  if (!difference) return {};
  DialogSection section{"history", "", DialogTone::plain, {}};
  addChange(*difference, &section.lines);
  addWarnings(*difference, &section.lines);
  addThen(*difference, chain, &section.lines);
  section.tone = gravestTone(section.lines);
  section.heading = headingFor(section.tone);
  if (input.earlier.size() > 1) {
    section.lines.push_back(sentence("Of your earlier decisions, this compares with the nearest."));
  }
  return section;
}
