#include <openssl/asn1.h>

#include <algorithm>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::ElementsAre;

using testing::MatchesRegex;

std::vector<std::string> memberNames(const rapidjson::Value& object) {
  std::vector<std::string> names;
  std::transform(object.MemberBegin(), object.MemberEnd(), std::back_inserter(names),
                 [](const auto& member) { return member.name.GetString(); });
  return names;
}

class VerifyJson : public AuthorityTest {
 protected:
  // The answer on the good chain.
  rapidjson::Document goodAnswer() {
    return parseLine(
        run(verifyWithRoot({"--json", "--domain", "www.example.test", chainFile_})).out);
  }
};

TEST_F(VerifyJson, HasTheseMembers) {
  const rapidjson::Document answer = goodAnswer();
  EXPECT_THAT(memberNames(answer), ElementsAre("domain", "trusted", "by_exception", "revoked",
                                               "warnings", "serial", "chain"));
}

TEST_F(VerifyJson, HasNoDomainWhereNoneWasAskedFor) {
  const rapidjson::Document answer = parseLine(run(verifyWithRoot({"--json", chainFile_})).out);
  EXPECT_FALSE(answer.HasMember("domain"));
  EXPECT_TRUE(answer["trusted"].GetBool());
}

TEST_F(VerifyJson, TellsATrustedChain) {
  const rapidjson::Document answer = goodAnswer();
  EXPECT_STREQ("www.example.test", answer["domain"].GetString());
  EXPECT_TRUE(answer["trusted"].GetBool());
  EXPECT_FALSE(answer["by_exception"].GetBool());
  EXPECT_FALSE(answer["revoked"].GetBool());
  EXPECT_EQ(0U, answer["warnings"].GetArray().Size());
  EXPECT_STREQ("0abc", answer["serial"].GetString());
}

TEST_F(VerifyJson, ListsTheChainLeafFirst) {
  const rapidjson::Document answer = goodAnswer();
  const auto chain = answer["chain"].GetArray();
  ASSERT_LE(2U, chain.Size());
  EXPECT_STREQ("O=Example Ltd, CN=www.example.test", chain[0]["subject"].GetString());
  EXPECT_STREQ("CN=Test Intermediate", chain[0]["issuer"].GetString());
  EXPECT_STREQ("CN=Test Intermediate", chain[1]["subject"].GetString());
}

TEST_F(VerifyJson, DescribesEachCertificate) {
  const rapidjson::Document answer = goodAnswer();
  const rapidjson::Value& leaf = answer["chain"][0];
  EXPECT_THAT(memberNames(leaf),
              ElementsAre("subject", "issuer", "serial", "not_before", "not_after", "sha256"));
  EXPECT_STREQ("0abc", leaf["serial"].GetString());
  EXPECT_STREQ("2020-01-01T00:00:00Z", leaf["not_before"].GetString());
  EXPECT_STREQ("2099-12-31T23:59:59Z", leaf["not_after"].GetString());
  EXPECT_THAT(leaf["sha256"].GetString(), MatchesRegex("[0-9a-f]+"));
  EXPECT_EQ(64U, leaf["sha256"].GetStringLength());
}

TEST_F(VerifyJson, ListsWarningsInBitOrderAndExitsWith1) {
  const TestCertificate other = CertificateMaker("Other Root").asCa().make();
  const std::string file = directory_.write("other.pem", other.pem());
  const ProgramRun result = run({"verify", "--json", "--cafile", file, "--at", "2100-01-04",
                                 "--domain", "other.test", chainFile_});
  EXPECT_EQ(1, result.status);
  const rapidjson::Document answer = parseLine(result.out);
  EXPECT_FALSE(answer["trusted"].GetBool());
  const auto warnings = answer["warnings"].GetArray();
  ASSERT_EQ(3U, warnings.Size()) << result.out;
  EXPECT_STREQ("CERT_EXPIRY", warnings[0].GetString());
  EXPECT_STREQ("NO_TRUSTED", warnings[1].GetString());
  EXPECT_STREQ("DOMAINNAME_MISMATCH", warnings[2].GetString());
}

TEST_F(VerifyJson, TellsARevokedCertificate) {
  const std::string lists =
      directory_.write("lists.pem", CrlMaker(inter_).revoke(leaf_).pem() + CrlMaker(root_).pem());
  const rapidjson::Document answer =
      parseLine(run(verifyWithRoot({"--json", "--crlfile", lists, chainFile_})).out);
  EXPECT_TRUE(answer["revoked"].GetBool());
  EXPECT_STREQ("REVOKED", answer["warnings"][0].GetString());
}

TEST_F(VerifyJson, HasOnlyDomainAndErrorWhereThereIsNoVerdict) {
  const ProgramRun result =
      run({"verify", "--json", "--domain", "www.example.test", "/nonexistent"});
  EXPECT_EQ(2, result.status);
  const rapidjson::Document answer = parseLine(result.out);
  EXPECT_THAT(memberNames(answer), ElementsAre("domain", "error"));
  EXPECT_EQ("trustctl: " + std::string(answer["error"].GetString()) + "\n", result.err);
}

TEST_F(VerifyJson, HasOnlyErrorWithoutADomain) {
  const ProgramRun result = run({"verify", "--json", "/nonexistent"});
  EXPECT_EQ(2, result.status);
  EXPECT_THAT(memberNames(parseLine(result.out)), ElementsAre("error"));
}

TEST_F(VerifyJson, StaysValidWhateverIsInTheCertificate) {
  const TestCertificate hostile = CertificateMaker()
                                      .rawCommonName("\"}\n\x01\xff\\", V_ASN1_BIT_STRING)
                                      .asServer()
                                      .subjectKeyId({3})
                                      .authorityKeyId({2})
                                      .issuedBy(inter_)
                                      .make();
  const std::string file = directory_.write("hostile.pem", hostile.pem() + inter_.pem());
  const ProgramRun result = run(verifyWithRoot({"--json", file}));
  const rapidjson::Document answer = parseLine(result.out);
  EXPECT_STREQ("CN=\"}\\x0a\\x01\\xff\\\\", answer["chain"][0]["subject"].GetString());
}

TEST_F(VerifyJson, StaysValidWhateverTheDomainIs) {
  const ProgramRun result = run(verifyWithRoot({"--json", "--domain", "a\x1b\"\xff", chainFile_}));
  EXPECT_EQ(1, result.status);
  EXPECT_STREQ("a\\x1b\"\\xff", parseLine(result.out)["domain"].GetString());
}

}  // namespace
