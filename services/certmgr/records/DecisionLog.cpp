#include "services/certmgr/records/DecisionLog.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "services/certmgr/path/Digest.h"
#include "services/certmgr/records/Log.h"
#include "services/common/PrintableText.h"
#include "services/common/WarningTexts.h"

namespace {

using namespace std::string_view_literals;

// Widths in columns, so that a line stays within what is written at once.
constexpr std::size_t kNameWidth = 64;
constexpr std::size_t kMemberWidth = 48;
constexpr std::size_t kPathWidth = 900;
constexpr std::size_t kErrorWidth = 600;
constexpr std::size_t kMaxFindings = 24;

constexpr auto kCommonName = "\x55\x04\x03"sv;

// The common name tells most; without one, the whole subject.
std::string shortName(const ParsedCertificate& certificate, std::string_view special = {}) {
  const std::vector<std::string> common = certificate.subject.values(kCommonName);
  return common.empty() ? certificate.subject.text() : escapeText(common.back(), special);
}

// Without the byte that keeps a positive number positive.
std::string serialText(std::string_view content) {
  if (content.size() > 1 && content.front() == 0) content.remove_prefix(1);
  return hexOf(content);
}

std::string pathText(const std::vector<CertificatePtr>& path) {
  std::string text;
  for (const CertificatePtr& member : path) {
    if (!text.empty()) text += " < ";
    text += fitLines(shortName(*member, "<["), kMemberWidth, 1).front();
    text += "[" + hexOf(member->fingerprint.substr(0, 4)) + "]";
  }
  return text;
}

std::string warningsText(Warnings warnings) {
  std::string text;
  for (const std::string& name : namesOfWarnings(warnings)) {
    text += (text.empty() ? "" : ",") + name;
  }
  return text;
}

// Each reason once a certificate, whatever its evidence.
std::string findingsText(const std::vector<Finding>& findings) {
  std::vector<std::string> shown;
  for (const Finding& finding : findings) {
    std::string text(nameOf(finding.reason));
    text.append("@").append(std::to_string(finding.member));
    if (std::find(shown.begin(), shown.end(), text) == shown.end()) {
      shown.push_back(std::move(text));
    }
    if (shown.size() > kMaxFindings) {
      shown.back() = "...";
      break;
    }
  }
  std::string text;
  for (const std::string& one : shown) text += (text.empty() ? "" : ",") + one;
  return text;
}

const char* yesOrNo(bool yes) {
  return yes ? "yes" : "no";
}

void addAsker(LogLine& line, const Asker& asker) {
  line.add("pid", asker.pid);
  line.add("uid", asker.uid == static_cast<uid_t>(-1) ? -1 : static_cast<std::int64_t>(asker.uid));
}

}  // namespace

std::string decisionLine(const Decision& decision) {
  const Evaluation& evaluation = decision.evaluation;
  const ParsedCertificate& leaf = *evaluation.path.front();
  LogLine line("decision");
  line.add("verdict", evaluation.isValid() ? "VALID" : "INVALID");
  line.add("application", decision.application);
  line.add("class", decision.className);
  addAsker(line, decision.asker);
  line.addEscaped("leaf", shortName(leaf), kNameWidth);
  line.add("serial", serialText(leaf.serial));
  line.add("sha256", hexOf(leaf.fingerprint));
  line.add("warnings", warningsText(evaluation.warnings()), kPathWidth);
  line.add("findings", findingsText(evaluation.findings), kPathWidth);
  line.add("remembered", yesOrNo(decision.remembered));
  line.add("gave_up", yesOrNo(evaluation.gaveUp));
  line.add("us", decision.took.count());
  line.addEscaped("path", pathText(evaluation.path), kPathWidth);
  return line.text();
}

std::vector<std::string> findingLines(const Evaluation& evaluation) {
  std::vector<std::string> lines;
  for (const Finding& finding : evaluation.findings) {
    LogLine line("finding");
    line.add("reason", nameOf(finding.reason));
    line.add("member", static_cast<std::int64_t>(finding.member));
    line.addEscaped("certificate", shortName(*evaluation.path.at(finding.member)), kNameWidth);
    line.addEscaped("evidence", finding.evidence, kErrorWidth);
    lines.push_back(line.text());
  }
  return lines;
}

std::string refusalLine(const Asker& asker, std::string_view error,
                        std::chrono::microseconds took) {
  LogLine line("refused");
  line.add("err", error, kErrorWidth);
  addAsker(line, asker);
  line.add("us", took.count());
  return line.text();
}
