#include "services/certmgr/Explanation.h"

#include <algorithm>
#include <exception>
#include <filesystem>
#include <optional>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/AnswerNames.h"
#include "services/certmgr/CertDetailsAnswer.h"
#include "services/certmgr/path/Digest.h"
#include "services/common/CertificateNames.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "services/common/WarningTexts.h"

namespace {

constexpr std::size_t kWidth = 300;
constexpr std::size_t kMostNames = 20;

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts) text.append(text.empty() ? "" : ", ").append(part);
  return text;
}

std::string subjectOf(const ParsedCertificate& certificate) {
  return fitLines(certificate.subject.text(), kWidth, 1).front();
}

std::string timeText(const std::optional<std::int64_t>& time) {
  return time ? formatTime(*time) : "(unreadable)";
}

std::string namesText(const ParsedCertificate& certificate) {
  std::vector<std::string> names = subjectAltNamesOf(certificate);
  const std::size_t count = names.size();
  names.resize(std::min(count, kMostNames));
  for (std::string& name : names) name = printableText(name);
  if (count > kMostNames) names.push_back("and " + std::to_string(count - kMostNames) + " more");
  return joined(names);
}

// Beyond what a date can say, a verdict holds without end.
std::string edgeText(std::int64_t edge) {
  constexpr std::int64_t kYear0 = -62167219200;
  constexpr std::int64_t kYear10000 = 253402300800;
  return edge < kYear0 || edge >= kYear10000 ? "" : formatTime(edge);
}

class Explanation {
 public:
  Explanation(const ExplanationInput& input, const Evaluation& evaluation)
      : input_(input), evaluation_(evaluation) {}

  std::string text() {
    line("time      " + formatTime(input_.now));
    line("store     " + printableText(input_.store, kWidth));
    line("anchors   " + std::to_string(input_.anchors) +
         ", with all that is joined with the store");
    tellPath();
    tellUnused();
    tellFindings();
    tellVerdict();
    tellAnswer();
    return text_;
  }

 private:
  void line(const std::string& text) { text_.append(text).append("\n"); }

  const GivenCertificate* givenAs(const ParsedCertificate& certificate) const {
    const auto found =
        std::find_if(input_.given.begin(), input_.given.end(),
                     [&](const GivenCertificate& one) { return one.der == certificate.der; });
    return found == input_.given.end() ? nullptr : &*found;
  }

  std::string roleOf(std::size_t member) const {
    const bool isLast = member + 1 == evaluation_.path.size();
    const bool isAnchor = isLast && evaluation_.endsInAnchor;
    if (member == 0) return isAnchor ? "leaf and anchor" : "leaf";
    return isAnchor ? "anchor" : "intermediate";
  }

  void tellPath() {
    line("\npath, of " + std::to_string(evaluation_.pathsTried) + " tried");
    for (std::size_t i = 0; i < evaluation_.path.size(); ++i) {
      const ParsedCertificate& member = *evaluation_.path[i];
      const GivenCertificate* given = givenAs(member);
      line("  " + std::to_string(i) + "  " + roleOf(i) + "  " + subjectOf(member));
      if (member.hasAltNames) line("     names      " + namesText(member));
      line("     valid      " + timeText(member.notBefore) + " to " + timeText(member.notAfter));
      line("     key        " + member.key->text());
      line("     signature  " + algorithmText(member.signedBytes.algorithm));
      line("     serial     " + serialNumberText(member.serial));
      line("     SHA-256    " + hexOf(member.fingerprint));
      line("     from       " +
           (given == nullptr ? "the store" : printableText(given->file, kWidth)));
    }
    if (!evaluation_.endsInAnchor) line("  It does not lead to an anchor.");
  }

  void tellUnused() {
    bool isFirst = true;
    for (const GivenCertificate& given : input_.given) {
      const bool isUsed = std::any_of(evaluation_.path.begin(), evaluation_.path.end(),
                                      [&](const auto& member) { return member->der == given.der; });
      if (isUsed) continue;
      if (isFirst) line("\ngiven and not in the path");
      isFirst = false;
      line("  " + subjectOf(*ParsedCertificate::parse(given.der)) + ", from " +
           printableText(given.file, kWidth));
    }
  }

  void tellFindings() {
    line("\nfindings");
    for (const Finding& finding : evaluation_.findings) {
      line("  " + std::string(nameOf(finding.reason)) + " (" +
           namesOfWarnings(warningOf(finding.reason)).front() + ") on " +
           std::to_string(finding.member) + ", " + subjectOf(*evaluation_.path.at(finding.member)));
      line("     " + std::string(sentenceOf(finding.reason)) +
           (finding.evidence.empty() ? "" : ": " + finding.evidence));
    }
    if (evaluation_.isValid()) line("  none");
  }

  void tellVerdict() {
    const auto warnings = namesOfWarnings(evaluation_.warnings());
    line("\nverdict   " + (evaluation_.isValid()
                               ? std::string("VALID")
                               : "INVALID: " + joined({warnings.begin(), warnings.end()})));
    if (evaluation_.gaveUp) line("gave up   before every path had been looked at");
    const std::string from = edgeText(evaluation_.from);
    const std::string until = edgeText(evaluation_.until);
    line("holds     from " + (from.empty() ? "ever" : from) + " until " +
         (until.empty() ? "for ever" : until) +
         ", as long as neither the chain nor the store changes");
  }

  void tellAnswer() {
    CertDetailsAnswer answer = CertDetailsAnswer::about(evaluation_);
    for (const CertificatePtr& member : evaluation_.path) {
      const GivenCertificate* given = givenAs(*member);
      answer.chain.push_back(given == nullptr
                                 ? input_.chainDirectory + "/" + hexOf(member->fingerprint) + ".der"
                                 : std::filesystem::absolute(given->file).string());
    }
    line("\nanswer");
    try {
      text_ += answer.encodeWithin(ControlServer::kMaxAnswerBytes);
    } catch (const std::runtime_error& tooLong) {
      text_ += makeErrorAnswer(tooLong.what());
    }
  }

  const ExplanationInput& input_;
  const Evaluation& evaluation_;
  std::string text_;
};

}  // namespace

std::string explain(const ExplanationInput& input, const Evaluation& evaluation) {
  return Explanation(input, evaluation).text();
}
