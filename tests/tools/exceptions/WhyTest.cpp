#include <string>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"
#include "tests/tools/connect/OpensslServer.h"
#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tests/tools/exceptions/Records.h"
#include "tools/trustctl/exceptions/ExceptionRecord.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::HasSubstr;
using Warning = CertificateWarnings;

// An authority that this machine does not know, and a decision on its server.
class ExceptionsWhy : public AuthorityTest {
 protected:
  ExceptionsWhy() {
    otherRootFile_ = directory_.write("other.pem", CertificateMaker("Other").asCa().make().pem());
    accepted_.domain = "www.example.test";
    accepted_.warnings = Warning::NO_TRUSTED;
    accepted_.chain = {leaf_.der(), inter_.der()};
  }

  // "why" by the other authority's root; services without the system's roots.
  ProgramRun why(const std::string& domain, std::vector<std::string> more) {
    std::vector<std::string> words = {"exceptions",   "why",     domain, "--cafile",
                                      otherRootFile_, "--store", store_};
    words.insert(words.end(), more.begin(), more.end());
    return run(words);
  }

  rapidjson::Document whyJson(const std::string& domain, std::vector<std::string> more) {
    more.emplace_back("--json");
    return parseLine(why(domain, std::move(more)).out);
  }

  // A chain of the same authority with that leaf.
  std::string chainWith(const TestCertificate& leaf) const {
    return directory_.write("new.pem", leaf.pem() + inter_.pem());
  }

  CertificateMaker renewal() const {
    return CertificateMaker("www.example.test")
        .asServer()
        .serial({0x77})
        .dns("www.example.test")
        .subjectKeyId({3})
        .authorityKeyId({2})
        .issuedBy(inter_);
  }

  std::string store_ = directory_.path("store");
  std::string otherRootFile_;
  ExceptionRecord accepted_;
};

TEST_F(ExceptionsWhy, SaysSoWhereTheDecisionIsInForce) {
  place(store_, accepted_);
  const ProgramRun result = why("www.example.test", {chainFile_});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("It is in force: you would not be asked."));
}

TEST_F(ExceptionsWhy, SaysSoWhereNoDecisionIsNeeded) {
  const ProgramRun result = run({"exceptions", "why", "www.example.test", "--cafile", rootFile_,
                                 "--store", store_, chainFile_});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("the chain is trusted without any decision"));
}

TEST_F(ExceptionsWhy, SaysSoWhereNothingIsStored) {
  const ProgramRun result = why("www.example.test", {chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("Nothing is stored for this domain"));
}

TEST_F(ExceptionsWhy, TellsAWarningThatIsNew) {
  place(store_, accepted_);
  const ProgramRun result = why("www.example.test", {"--at", "2100-01-04", chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("warnings new    CERT_EXPIRY\n"));
  EXPECT_THAT(result.out, HasSubstr("certificate 1   the one you accepted\n"));
}

TEST_F(ExceptionsWhy, TellsAWarningThatIsGone) {
  accepted_.warnings |= Warning::CERT_EXPIRY;
  place(store_, accepted_);
  EXPECT_THAT(why("www.example.test", {chainFile_}).out,
              HasSubstr("warnings gone   CERT_EXPIRY\n"));
}

TEST_F(ExceptionsWhy, TellsARenewalWithTheSameKey) {
  place(store_, accepted_);
  const std::string file = chainWith(renewal().key(leaf_.key()).make());
  const ProgramRun result = why("www.example.test", {file});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("certificate 1   another certificate for the same key\n"));
  EXPECT_THAT(result.out, HasSubstr("certificate 2   the one you accepted\n"));
  EXPECT_THAT(result.out, HasSubstr("This is what a renewal looks like."));
}

TEST_F(ExceptionsWhy, TellsAnotherKey) {
  place(store_, accepted_);
  EXPECT_THAT(why("www.example.test", {chainWith(renewal().make())}).out,
              HasSubstr("certificate 1   another certificate with another key\n"));
}

TEST_F(ExceptionsWhy, TellsACertificateThatIsGone) {
  accepted_.chain.push_back(root_.der());
  place(store_, accepted_);
  EXPECT_THAT(why("www.example.test", {chainFile_}).out,
              HasSubstr("certificate 3   no longer in the chain\n"));
}

TEST_F(ExceptionsWhy, TellsThatTheDomainsLettersDiffer) {
  place(store_, accepted_);
  const ProgramRun result = why("WWW.example.test", {chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("which is another text: letter\n  case differs"));
  EXPECT_THAT(result.out, HasSubstr("'www.example.test'"));
}

TEST_F(ExceptionsWhy, TellsThatTheStoredDomainEndsInADot) {
  accepted_.domain = "www.example.test.";
  place(store_, accepted_);
  EXPECT_THAT(why("www.example.test", {chainFile_}).out, HasSubstr("ends in a dot"));
}

TEST_F(ExceptionsWhy, TellsThatTheCertificateIsAcceptedForAnotherDomain) {
  place(store_, accepted_);
  const ProgramRun result = why("example.test", {chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("each domain"));
  EXPECT_THAT(result.out, HasSubstr("'www.example.test'"));
}

TEST_F(ExceptionsWhy, TellsADecisionThatLiesOutOfSight) {
  place(store_, accepted_, 3);
  const ProgramRun result = why("www.example.test", {chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("This very decision is stored, but in"));
  EXPECT_THAT(result.out, HasSubstr("doctor --repair"));
}

TEST_F(ExceptionsWhy, ComparesWithTheNearestOfSeveral) {
  place(store_, accepted_);
  accepted_.chain = {renewal().make().der(), inter_.der()};
  place(store_, accepted_);
  const auto answer = whyJson("www.example.test", {"--at", "2100-01-04", chainFile_});
  EXPECT_STREQ("none", answer["chain"][0]["change"].GetString());
}

TEST_F(ExceptionsWhy, CopesWithADecisionThatIsNotAboutCertificates) {
  place(store_, plainRecord("www.example.test"));
  const ProgramRun result = why("www.example.test", {chainFile_});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("no certificates that can be read"));
}

TEST_F(ExceptionsWhy, TellsAFileInTheWay) {
  placeBytes(store_, place(store_, accepted_), "{");
  const ProgramRun result = why("www.example.test", {chainFile_});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "doctor --repair"));
}

TEST_F(ExceptionsWhy, ListsWhatIsStoredWithoutAChain) {
  const std::string name = place(store_, accepted_);
  const ProgramRun result = why("www.example.test", {});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("Stored for this domain:"));
  EXPECT_THAT(result.out, HasSubstr(name));
}

TEST_F(ExceptionsWhy, NamesTheNearestDomainWithoutAChain) {
  place(store_, accepted_);
  const ProgramRun result = why("www.exmaple.test", {});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("the nearest with a decision is"));
}

TEST_F(ExceptionsWhy, TakesTheChainFromTheServer) {
  place(store_, accepted_);
  const OpensslServer server(directory_, {leaf_, inter_});
  const ProgramRun result = why("www.example.test", {"--connect", server.target()});
  EXPECT_EQ(0, result.status) << result.err;
  EXPECT_THAT(result.out, HasSubstr("It is in force"));
}

TEST_F(ExceptionsWhy, RefusesAFileBesideAConnection) {
  const ProgramRun result = why("www.example.test", {chainFile_, "--connect", "127.0.0.1:1"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "leave one of them out"));
}

TEST_F(ExceptionsWhy, NeverAsks) {
  const ProgramRun result = why("www.example.test", {"--dialog", "policy:always", chainFile_});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "there is no option '--dialog'"));
}

TEST_F(ExceptionsWhy, HasTheseJsonMembersForADifference) {
  place(store_, accepted_);
  const auto answer = whyJson("www.example.test", {"--at", "2100-01-04", chainFile_});
  EXPECT_EQ("domain state warnings file stored_domain relation new_warnings gone_warnings chain",
            memberNames(answer));
  EXPECT_EQ("change now then", memberNames(answer["chain"][0]));
  EXPECT_STREQ("differs", answer["state"].GetString());
  EXPECT_STREQ("same", answer["relation"].GetString());
  EXPECT_STREQ("CERT_EXPIRY", answer["new_warnings"][0].GetString());
}

TEST_F(ExceptionsWhy, HasTheseJsonMembersForADecisionInForce) {
  place(store_, accepted_);
  const auto answer = whyJson("www.example.test", {chainFile_});
  EXPECT_EQ("domain state warnings file stored_domain", memberNames(answer));
  EXPECT_STREQ("in_force", answer["state"].GetString());
}

TEST_F(ExceptionsWhy, HasTheseJsonMembersWithoutAChain) {
  EXPECT_EQ("domain relation files", memberNames(whyJson("www.example.test", {})));
}

}  // namespace
