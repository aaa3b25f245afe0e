#include "services/certmgr/Explanation.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/certmgr/path/Digest.h"
#include "tests/services/certmgr/JudgedTest.h"

namespace {

using testing::AllOf;
using testing::EndsWith;
using testing::HasSubstr;
using testing::Not;

class ExplanationTest : public JudgedTest {
 protected:
  // Of the leaf in /leaf.der, and the others in /1.der, /2.der and so on.
  std::string explained(const TestCertificate& leaf, const std::vector<TestCertificate>& others) {
    ExplanationInput input;
    input.now = 1767225600;  // 2026-01-01T00:00:00Z
    input.store = "/stores/common/all";
    input.anchors = store->anchorCount();
    input.chainDirectory = "/run/chain";
    input.given = {{"/leaf.der", leaf.derString()}};
    for (const TestCertificate& other : others) {
      input.given.push_back({"/" + std::to_string(input.given.size()) + ".der", other.derString()});
    }
    return explain(input, evaluate(leaf, others));
  }

  static std::string sha(const TestCertificate& certificate) {
    return hexOf(sha256Of(certificate.derString()));
  }
};

TEST_F(ExplanationTest, ValidChainIsToldWhole) {
  const TestCertificate leaf = leafBy(inter).make();
  EXPECT_EQ(
      "time      2026-01-01T00:00:00Z\n"
      "store     /stores/common/all\n"
      "anchors   1, with all that is joined with the store\n"
      "\n"
      "path, of 1 tried\n"
      "  0  leaf  CN=leaf.example\n"
      "     names      DNS:leaf.example\n"
      "     valid      2020-01-01T00:00:00Z to 2099-12-31T23:59:59Z\n"
      "     key        EC P-256\n"
      "     signature  ecdsa-with-SHA256\n"
      "     serial     01\n"
      "     SHA-256    " +
          sha(leaf) +
          "\n"
          "     from       /leaf.der\n"
          "  1  intermediate  CN=Inter\n"
          "     valid      2020-01-01T00:00:00Z to 2099-12-31T23:59:59Z\n"
          "     key        EC P-256\n"
          "     signature  ecdsa-with-SHA256\n"
          "     serial     01\n"
          "     SHA-256    " +
          sha(inter) +
          "\n"
          "     from       /1.der\n"
          "  2  anchor  CN=Root\n"
          "     valid      2020-01-01T00:00:00Z to 2099-12-31T23:59:59Z\n"
          "     key        EC P-256\n"
          "     signature  ecdsa-with-SHA256\n"
          "     serial     01\n"
          "     SHA-256    " +
          sha(root) +
          "\n"
          "     from       the store\n"
          "\n"
          "findings\n"
          "  none\n"
          "\n"
          "verdict   VALID\n"
          "holds     from 2020-01-01T00:00:00Z until 2100-01-01T00:00:00Z, as long as neither the "
          "chain nor the store changes\n"
          "\n"
          "answer\n"
          "res::getcertdetails\n"
          "dat:json:{\"serial\":\"01\",\"subjectCommonName\":[\"leaf.example\"],"
          "\"subjectAltNames\":[\"DNS:leaf.example\"],\"validity\":\"VALID\","
          "\"chain\":[\"/leaf.der\",\"/1.der\",\"/run/chain/" +
          sha(root) + ".der\"]}\n",
      explained(leaf, {inter}));
}

TEST_F(ExplanationTest, FindingIsToldWithItsCertificateAndEvidence) {
  const TestCertificate expired = ca("Inter").notAfter("20251231235959Z").issuedBy(root).make();
  EXPECT_THAT(explained(leafBy(expired).make(), {expired}),
              HasSubstr("\nfindings\n  expired (CERT_EXPIRY) on 1, CN=Inter\n     the "
                        "certificate has expired: not after 2025-12-31T23:59:59Z\n\nverdict   "
                        "INVALID: CERT_EXPIRY\n"));
}

TEST_F(ExplanationTest, PathWithoutAnAnchorIsCalledSo) {
  const TestCertificate stranger = ca("Stranger").make();
  EXPECT_THAT(explained(leafBy(stranger).make(), {}),
              AllOf(HasSubstr("  It does not lead to an anchor.\n"), Not(HasSubstr("  anchor  "))));
}

TEST_F(ExplanationTest, CertificateThatIsNotInThePathIsNamed) {
  EXPECT_THAT(explained(leafBy(inter).make(), {ca("Stranger").make(), inter}),
              HasSubstr("\ngiven and not in the path\n  CN=Stranger, from /1.der\n"));
}

TEST_F(ExplanationTest, LeafThatIsTrustedForItselfIsBoth) {
  const TestCertificate leaf = leafBy(inter).make();
  trust(leaf);
  EXPECT_THAT(explained(leaf, {}), HasSubstr("  0  leaf and anchor  CN=leaf.example\n"));
}

TEST_F(ExplanationTest, GivingUpIsSaid) {
  Evaluation evaluation;
  evaluation.path = {ParsedCertificate::parse(root.derString())};
  evaluation.gaveUp = true;
  EXPECT_THAT(explain({}, evaluation),
              HasSubstr("\ngave up   before every path had been looked at\n"));
}

TEST_F(ExplanationTest, VerdictThatNoDateEndsHoldsForEver) {
  Evaluation evaluation;
  evaluation.path = {ParsedCertificate::parse(root.derString())};
  EXPECT_THAT(explain({}, evaluation), HasSubstr("\nholds     from ever until for ever, "));
}

TEST_F(ExplanationTest, ManyNamesAreCut) {
  CertificateMaker maker = leafBy(inter);
  for (int i = 0; i < 99; ++i) maker.dns("h" + std::to_string(i) + ".example");
  EXPECT_THAT(explained(maker.make(), {inter}), HasSubstr(", and 80 more\n"));
}

TEST_F(ExplanationTest, AnswerThatCannotBeGivenIsTheErrorThatAClientGets) {
  CertificateMaker maker = leafBy(inter);
  for (int i = 0; i < 2000; ++i) maker.dns("host" + std::to_string(i) + ".example");
  EXPECT_THAT(explained(maker.make(), {inter}),
              EndsWith("\nanswer\nerr::the certificate names 2001 hosts, more than an answer of "
                       "16383 bytes holds\n"));
}

TEST_F(ExplanationTest, TextOfACertificateStaysInItsPlace) {
  const TestCertificate leaf =
      CertificateMaker("a\nfindings\n  none").asServer().issuedBy(inter).make();
  EXPECT_THAT(explained(leaf, {inter}), HasSubstr("  0  leaf  CN=a\\x0afindings\\x0a \\x20none\n"));
}

}  // namespace
