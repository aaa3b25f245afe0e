#ifndef TESTS_SERVICES_CERTMGR_JUDGEDTEST_H
#define TESTS_SERVICES_CERTMGR_JUDGEDTEST_H

#include <list>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "services/certmgr/Evaluator.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/RevocationList.h"
#include "services/certmgr/path/TrustStore.h"
#include "services/common/TimeText.h"
#include "tests/support/CertificateMaker.h"

// Chains judged against a store of the test's own, without files.
class JudgedTest : public testing::Test {
 protected:
  JudgedTest()
      : root(CertificateMaker("Root").asCa().make()),
        inter(CertificateMaker("Inter").asCa().issuedBy(root).make()) {
    trust(root);
  }

  void trust(const TestCertificate& anchor) {
    store->add(Anchor{ParsedCertificate::parse(anchor.derString()), {}});
  }
  void publish(const CrlMaker& crl) {
    const Bytes der = crl.der();
    store->add(RevocationList::parse({der.begin(), der.end()}));
  }

  static CertificateMaker ca(const char* name) {
    CertificateMaker maker(name);
    maker.asCa();
    return maker;
  }
  static CertificateMaker leafBy(const TestCertificate& issuer) {
    CertificateMaker maker("leaf.example");
    maker.asServer().dns("leaf.example").issuedBy(issuer);
    return maker;
  }

  static std::vector<std::string> chainOf(const TestCertificate& leaf,
                                          const std::vector<TestCertificate>& others) {
    std::vector<std::string> chain{leaf.derString()};
    for (const TestCertificate& other : others) chain.push_back(other.derString());
    return chain;
  }

  Evaluation evaluate(const TestCertificate& leaf, const std::vector<TestCertificate>& others,
                      const std::string& when = "2026-01-01T00:00:00Z") const {
    return *Evaluator().evaluate(chainOf(leaf, others), store, *parseTime(when)).evaluation;
  }

  // Findings as the names of their warnings, so that a difference can be read.
  static std::string namesOf(Warnings warnings) {
    std::list<std::string> names;
    CertificateWarnings::appendNames(warnings, &names);
    std::string text;
    for (const std::string& name : names) text += (text.empty() ? "" : " ") + name;
    return text;
  }
  std::string findings(const TestCertificate& leaf, const std::vector<TestCertificate>& others,
                       const std::string& when = "2026-01-01T00:00:00Z") const {
    return namesOf(evaluate(leaf, others, when).warnings());
  }
  // The path that was chosen, as common names: "leaf.example < Inter < Root".
  static std::string pathOf(const Evaluation& evaluation) {
    std::string text;
    for (const CertificatePtr& member : evaluation.path) {
      const std::string name = member->subject.text();
      text += (text.empty() ? "" : " < ") + name.substr(name.find('=') + 1);
    }
    return text;
  }

  std::shared_ptr<TrustStore> store = std::make_shared<TrustStore>();
  TestCertificate root;
  TestCertificate inter;
};

#endif
