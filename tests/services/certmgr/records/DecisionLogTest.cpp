#include "services/certmgr/records/DecisionLog.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/certmgr/path/Digest.h"
#include "services/certmgr/records/Log.h"
#include "tests/support/CertificateMaker.h"

namespace {

using std::chrono::microseconds;
using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;

class DecisionLogTest : public testing::Test {
 protected:
  DecisionLogTest() : root_(CertificateMaker("Root").asCa().make()) {}

  static CertificatePtr parse(const TestCertificate& certificate) {
    return ParsedCertificate::parse(certificate.derString());
  }

  static std::string lineOf(const Evaluation& evaluation) {
    return decisionLine({{17, 1000}, "common", "user_trusted", evaluation});
  }

  TestCertificate root_;
};

TEST_F(DecisionLogTest, LineTellsWhoAskedWhatCameOutAndByWhichPath) {
  const CertificatePtr leaf =
      parse(CertificateMaker("a.example").serial({0xab, 1}).issuedBy(root_).make());
  Evaluation evaluation;
  evaluation.path = {leaf, parse(root_)};
  evaluation.findings = {{Reason::expired, 0, "not after 2025"}, {Reason::revoked, 0, ""}};
  const std::string sha = hexOf(leaf->fingerprint);
  EXPECT_EQ(
      "decision verdict=INVALID application=common class=user_trusted pid=17 uid=1000 "
      "leaf=a.example serial=ab01 sha256=" +
          sha +
          " warnings=CERT_EXPIRY,REVOKED findings=expired@0,revoked@0 remembered=yes gave_up=no "
          "us=412 path=\"a.example[" +
          sha.substr(0, 8) + "] < Root[" + hexOf(evaluation.path[1]->fingerprint).substr(0, 8) +
          "]\"",
      decisionLine({{17, 1000}, "common", "user_trusted", evaluation, true, microseconds(412)}));
}

TEST_F(DecisionLogTest, ValidVerdictHasEmptyWarnings) {
  Evaluation evaluation;
  evaluation.path = {parse(root_)};
  EXPECT_THAT(lineOf(evaluation),
              AllOf(HasSubstr("verdict=VALID "), HasSubstr(R"(warnings="" findings="")")));
}

TEST_F(DecisionLogTest, GivingUpIsSaid) {
  Evaluation evaluation;
  evaluation.path = {parse(root_)};
  evaluation.gaveUp = true;
  EXPECT_THAT(lineOf(evaluation), HasSubstr(" gave_up=yes "));
}

TEST_F(DecisionLogTest, NameInACertificateCannotForgeAField) {
  Evaluation evaluation;
  evaluation.path = {parse(CertificateMaker("a\" verdict=VALID\n< Root[00000000]").make())};
  EXPECT_THAT(lineOf(evaluation),
              AllOf(HasSubstr(R"(leaf="a\x22 verdict=VALID\x0a< Root[)"),
                    HasSubstr(R"(path="a\x22 verdict=VALID\x0a\x3c Root\x5b)")));
}

TEST_F(DecisionLogTest, NameOfAStoreCannotForgeAField) {
  Evaluation evaluation;
  evaluation.path = {parse(root_)};
  EXPECT_THAT(decisionLine({{1, 1}, "x\" uid=0", "y z", evaluation}),
              HasSubstr(R"( application="x\x22 uid=0" class="y z" pid=1 uid=1 )"));
}

TEST_F(DecisionLogTest, CertificateWithoutACommonNameIsNamedByItsSubject) {
  Evaluation evaluation;
  evaluation.path = {parse(CertificateMaker().organization("Maker, Inc").make())};
  EXPECT_THAT(lineOf(evaluation), HasSubstr(R"( leaf="O=Maker\x2c Inc" )"));
}

TEST_F(DecisionLogTest, UnknownAskerIsMinusOne) {
  Evaluation evaluation;
  evaluation.path = {parse(root_)};
  EXPECT_THAT(decisionLine({{}, "a", "b", evaluation}), HasSubstr(" pid=-1 uid=-1 "));
}

TEST_F(DecisionLogTest, ReasonIsNamedOnceACertificate) {
  Evaluation evaluation;
  evaluation.path = {parse(root_), parse(root_)};
  evaluation.findings = {{Reason::nameNotPermitted, 0, "a"},
                         {Reason::nameNotPermitted, 0, "b"},
                         {Reason::nameNotPermitted, 1, "a"}};
  EXPECT_THAT(lineOf(evaluation),
              HasSubstr(" findings=name_not_permitted@0,name_not_permitted@1 "));
}

TEST_F(DecisionLogTest, LongestLineIsWrittenAsAWhole) {
  Evaluation evaluation;
  const std::string name(64, '\x01');  // four bytes a byte
  evaluation.path.assign(64, parse(CertificateMaker(name).make()));
  for (std::size_t i = 0; i < 64; ++i) {
    evaluation.findings.push_back({Reason::basicConstraintsNotCritical, i, ""});
  }
  const std::string line =
      decisionLine({{1, 1}, std::string(64, '\x02'), std::string(64, '\x03'), evaluation});
  EXPECT_GT(Log::kMaxLineBytes - 100, line.size());
  EXPECT_THAT(line, HasSubstr(" more bytes]\""));
}

TEST_F(DecisionLogTest, FindingsAreToldWithTheirEvidence) {
  Evaluation evaluation;
  evaluation.path = {parse(CertificateMaker("a.example").make()), parse(root_)};
  evaluation.findings = {{Reason::expired, 1, "not after 2025-12-31T23:59:59Z"}};
  EXPECT_THAT(findingLines(evaluation),
              ElementsAre("finding reason=expired member=1 certificate=Root evidence=\"not after "
                          "2025-12-31T23:59:59Z\""));
}

TEST(RefusalLine, TellsTheErrorAsTextThatStaysInPlace) {
  EXPECT_EQ(R"(refused err="cannot use the file /x\x22\x0ay" pid=17 uid=1000 us=3)",
            refusalLine({17, 1000}, "cannot use the file /x\"\ny", microseconds(3)));
}

}  // namespace
