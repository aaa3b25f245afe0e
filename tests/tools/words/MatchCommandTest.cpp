#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

class Match : public AuthorityTest {};

TEST_F(Match, NamesTheOneThatCovers) {
  const ProgramRun result = run({"match", "www.example.test", chainFile_});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, StartsWith("COVERED  www.example.test\n"));
  EXPECT_THAT(result.out, HasSubstr("DNS name     www.example.test\n"
                                    "               covers the domain\n"));
}

TEST_F(Match, SaysWhyEachNameDoesNotCover) {
  const ProgramRun result = run({"match", "mail.example.test", chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, StartsWith("NOT COVERED  mail.example.test\n"));
  EXPECT_THAT(result.out, HasSubstr("its label 'www' is another than 'mail'"));
  EXPECT_THAT(result.out, HasSubstr("has 2 labels, and the domain 3 labels"));
  EXPECT_THAT(result.out, HasSubstr("not looked at, because the certificate has DNS names"));
}

TEST_F(Match, TakesTheFirstCertificateForTheServers) {
  const ProgramRun result = run({"match", "www.example.test", "-"}, inter_.pem() + leaf_.pem());
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("CN=Test Intermediate"));
}

TEST_F(Match, TakesNamesThatNoCertificateBears) {
  EXPECT_EQ(0, run({"match", "www.zone.tld", "--names", "zone.tld,*.zone.tld"}).status);
  EXPECT_EQ(1, run({"match", "a.b.zone.tld", "--names", "zone.tld,*.zone.tld"}).status);
}

TEST_F(Match, TakesMarkedNamesForOtherKinds) {
  EXPECT_EQ(0, run({"match", "zone.tld", "--names", "CN:zone.tld,email:a@zone.tld"}).status);
  EXPECT_EQ(1, run({"match", "zone.tld", "--names", "CN:zone.tld,DNS:a.tld"}).status);
  EXPECT_EQ(1, run({"match", "192.0.2.1", "--names", "IP:192.0.2.1,IP Address:::1"}).status);
}

TEST_F(Match, EscapesWhatComesFromACertificate) {
  const std::string file =
      directory_.write("hostile.pem", CertificateMaker("x\x1b[31m").make().pem());
  const ProgramRun result = run({"match", "x", file});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("x\\x1b[31m"));
  EXPECT_THAT(result.out, Not(HasSubstr("\x1b")));
}

TEST_F(Match, SaysSoWhereACertificateBearsNoName) {
  const ProgramRun result =
      run({"match", "x", directory_.write("none.pem", CertificateMaker().make().pem())});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("bears no name at all"));
}

TEST_F(Match, HasTheseJsonMembers) {
  const ProgramRun result = run({"match", "example.test", "--json", chainFile_});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(
      "{\"domain\":\"example.test\",\"covered\":true,"
      "\"subject\":\"O=Example Ltd, CN=www.example.test\",\"unreadable\":false,\"names\":["
      "{\"kind\":\"dns\",\"name\":\"www.example.test\",\"reason\":\"label_count\"},"
      "{\"kind\":\"dns\",\"name\":\"example.test\",\"reason\":\"covers\"},"
      "{\"kind\":\"common_name\",\"name\":\"www.example.test\",\"reason\":\"not_looked_at\"}]}\n",
      result.out);
}

TEST_F(Match, HasNoSubjectInJsonForNames) {
  const auto answer = parseLine(run({"match", "a", "--json", "--names", "b"}).out);
  EXPECT_FALSE(answer.HasMember("subject"));
  EXPECT_STREQ("label", answer["names"][0]["reason"].GetString());
}

TEST_F(Match, TellsAnErrorInJson) {
  const ProgramRun result = run({"match", "a", "--json", "/nonexistent"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(parseLine(result.out).HasMember("error"));
}

struct RefusedUse {
  std::vector<std::string> arguments;
  const char* complaint;
};

class MatchRefuses : public TrustctlTest, public testing::WithParamInterface<RefusedUse> {};

TEST_P(MatchRefuses, WhatCannotBeMatched) {
  std::vector<std::string> arguments = {"match"};
  arguments.insert(arguments.end(), GetParam().arguments.begin(), GetParam().arguments.end());
  const ProgramRun result = run(arguments);
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, GetParam().complaint));
}

INSTANTIATE_TEST_SUITE_P(
    Table, MatchRefuses,
    testing::Values(RefusedUse{{"a.test"}, "there is no name to match"},
                    RefusedUse{{"a.test", "chain.pem", "--names", "a"}, "leave one of them out"},
                    RefusedUse{{"a.test", "--names", "a,,b"}, "a name in --names is empty"},
                    RefusedUse{{"a.test", "--names", "DNS:"}, "a name in --names is empty"},
                    RefusedUse{{"a.test", "--names", "IP:a.test"},
                               "'a.test' in --names is not an IP address"},
                    RefusedUse{{"a.test:443", "--names", "a"}, "leave the port out"},
                    RefusedUse{{"a\\x00.test", "--names", "a"}, "no name of a host can hold"},
                    RefusedUse{{"a\n.test", "--names", "a"}, "no name of a host can hold"},
                    RefusedUse{{"", "--names", "a"}, "the domain is empty"}));

}  // namespace
