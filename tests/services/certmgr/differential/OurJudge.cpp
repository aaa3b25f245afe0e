#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/Digest.h"
#include "services/certmgr/path/TrustStore.h"
#include "tests/services/certmgr/differential/Judges.h"

OurJudge::OurJudge(const World& world) {
  auto store = std::make_shared<TrustStore>();
  for (const World::Root& root : world.anchors) {
    store->add(Anchor{ParsedCertificate::parse(root.certificate.derString())});
  }
  store_ = std::move(store);
}

Judgement OurJudge::judge(const std::vector<std::string>& chain) {
  Judgement judgement;
  try {
    const Verdict verdict = evaluator_.evaluate(chain, store_, World::kNow);
    for (const CertificatePtr& member : verdict.evaluation->path) {
      judgement.details += hexOf(member->fingerprint).substr(0, 8) + " ";
    }
    for (const Finding& finding : verdict.evaluation->findings) {
      judgement.findings.emplace(nameOf(finding.reason));
      judgement.details.append(" ")
          .append(nameOf(finding.reason))
          .append("@")
          .append(std::to_string(finding.member))
          .append(" (")
          .append(finding.evidence)
          .append(")");
    }
  } catch (const DerError&) {
    judgement.findings.insert("unreadable");
    judgement.details = "not every certificate can be read";  // which one is up to the order
  }
  return judgement;
}
