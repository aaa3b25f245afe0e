#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/common/TimeText.h"
#include "tests/tools/exceptions/ExchangeFixture.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::HasSubstr;
using Warning = CertificateWarnings;

class ExceptionsAdd : public ExchangeTest {
 protected:
  // "add" with what every decision needs, and `more`.
  ProgramRun add(std::vector<std::string> more, const std::string& warnings = "NO_TRUSTED") {
    std::vector<std::string> words = {"add", "--warnings", warnings, "--sha256", fingerprint_};
    words.insert(words.end(), more.begin(), more.end());
    words.push_back(file_);
    return exceptions(words);
  }

  TestCertificate root_ = CertificateMaker("Root").asCa().make();
  TestCertificate leaf_ = CertificateMaker("a.test").asServer().issuedBy(root_).make();
  std::string file_ = directory_.write("chain.pem", leaf_.pem() + root_.pem());
  std::string fingerprint_ = sha256Of(leaf_.der());
};

TEST_F(ExceptionsAdd, StoresWhatTheLibraryFinds) {
  const ProgramRun result = add({"--domain", "a.test"}, "NO_TRUSTED,cert-expiry");
  EXPECT_EQ(0, result.status) << result.err;
  ExceptionRecord record;
  record.domain = "a.test";
  record.warnings = Warning::NO_TRUSTED | Warning::CERT_EXPIRY;
  record.chain = {leaf_.der(), root_.der()};
  EXPECT_TRUE(libraryFinds(store_, record));
}

TEST_F(ExceptionsAdd, NotesWhenAndWhyAndHowLong) {
  const std::int64_t before = currentTime();
  EXPECT_EQ(0, add({"--domain", "a.test", "--for", "2w", "--reason", "ticket 7"}).status);
  const ExceptionRecord record = storedRecords().at(0);
  EXPECT_EQ("ticket 7", record.reason);
  EXPECT_LE(before, record.created.value_or(0));
  EXPECT_EQ(*record.created + 14 * 86400, record.expires);
}

TEST_F(ExceptionsAdd, NotesAMomentOfExpiry) {
  EXPECT_EQ(0, add({"--no-domain", "--expires", "2099-01-31"}).status);
  EXPECT_EQ(parseTime("2099-01-31"), storedRecords().at(0).expires);
  EXPECT_EQ(std::nullopt, storedRecords().at(0).domain);
}

TEST_F(ExceptionsAdd, ChangesNothingWhereTheDecisionIsStored) {
  add({"--domain", "a.test", "--reason", "first"});
  const ProgramRun result = add({"--domain", "a.test", "--reason", "second"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("stored already"));
  ASSERT_EQ(1U, storedRecords().size());
  EXPECT_EQ("first", storedRecords()[0].reason);
}

TEST_F(ExceptionsAdd, TakesAFingerprintWithColonsInCapitals) {
  std::string typed;
  for (std::size_t i = 0; i < fingerprint_.size(); ++i) {
    typed += i > 0 && i % 2 == 0 ? ":" : "";
    typed += static_cast<char>(toupper(static_cast<unsigned char>(fingerprint_[i])));
  }
  fingerprint_ = typed;
  EXPECT_EQ(0, add({"--domain", "a.test"}).status);
}

TEST_F(ExceptionsAdd, RefusesAFingerprintOfAnotherCertificate) {
  fingerprint_ = sha256Of(root_.der());
  const ProgramRun result = add({"--domain", "a.test"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "is not the fingerprint of the first certificate"));
  EXPECT_TRUE(isComplaint(result.err, sha256Of(leaf_.der())));
}

TEST_F(ExceptionsAdd, RefusesWhatIsNoFingerprint) {
  fingerprint_.pop_back();
  const ProgramRun result = add({"--domain", "a.test"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "is not a SHA-256 fingerprint"));
}

TEST_F(ExceptionsAdd, RefusesRevokedUnlessItIsTrulyMeant) {
  const ProgramRun result = add({"--domain", "a.test"}, "REVOKED");
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "--even-revoked"));
  EXPECT_EQ(0, add({"--domain", "a.test", "--even-revoked"}, "REVOKED").status);
}

TEST_F(ExceptionsAdd, SuggestsTheWarningThatWasMeant) {
  const ProgramRun result = add({"--domain", "a.test"}, "NO_TRUSTD");
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "did you mean NO_TRUSTED?"));
}

TEST_F(ExceptionsAdd, HasTheseJsonMembers) {
  const auto answer = parseLine(add({"--domain", "a.test", "--json"}).out);
  EXPECT_EQ("stored domain warnings subject sha256 hash", memberNames(answer));
  EXPECT_TRUE(answer["stored"].GetBool());
  EXPECT_FALSE(parseLine(add({"--domain", "a.test", "--json"}).out)["stored"].GetBool());
}

TEST_F(ExceptionsAdd, TellsAnErrorInJson) {
  const ProgramRun result = add({"--json"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(parseLine(result.out).HasMember("error"));
}

struct RefusedAdd {
  std::vector<std::string> more;
  const char* complaint;
};

class ExceptionsAddRefuses : public ExceptionsAdd,
                             public testing::WithParamInterface<RefusedAdd> {};

TEST_P(ExceptionsAddRefuses, WhatCannotBeMeantAndMakesNoStore) {
  const ProgramRun result = add(GetParam().more);
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, GetParam().complaint));
  EXPECT_FALSE(std::filesystem::exists(store_));
}

INSTANTIATE_TEST_SUITE_P(
    Table, ExceptionsAddRefuses,
    testing::Values(RefusedAdd{{}, "for which domain?"},
                    RefusedAdd{{"--domain", "a", "--no-domain"}, "leave one of them out"},
                    RefusedAdd{{"--domain", "a:443"}, "leave the port out"},
                    RefusedAdd{{"--domain", "a", "--for", "soon"}, "'soon' is not a span of time"},
                    RefusedAdd{{"--domain", "a", "--for", "0d"}, "is not a span of time"},
                    RefusedAdd{{"--domain", "a", "--for", "9999y"}, "after the year 9999"},
                    RefusedAdd{{"--domain", "a", "--reason", "\xff"}, "is not valid UTF-8"},
                    RefusedAdd{{"--domain", "a", "--expires", "later"}, "'later' is not a time"},
                    RefusedAdd{{"--domain", "a", "--expires", "2001-01-01"}, "has passed"},
                    RefusedAdd{{"--domain", "a", "--expires", "2099-01-01", "--for", "1d"},
                               "excludes"},
                    RefusedAdd{{"--domain", "a", "--sha256", "12"}, ""}));

}  // namespace
