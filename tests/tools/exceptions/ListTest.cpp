#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/exceptions/ExceptionsFixture.h"
#include "tools/trustctl/exceptions/RecordName.h"
#include "trustlib/CertificateWarnings.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

class ExceptionsList : public ExceptionsTest {
 protected:
  std::vector<std::string> listedDomains(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"list", "--json"});
    std::vector<std::string> domains;
    for (const rapidjson::Document& line : parseLines(exceptions(arguments).out)) {
      domains.emplace_back(line.HasMember("domain") ? line["domain"].GetString() : "(none)");
    }
    return domains;
  }
};

TEST_F(ExceptionsList, ShowsWhatWasDecided) {
  ExceptionRecord record = plainRecord("www.example.test");
  record.warnings = CertificateWarnings::NO_TRUSTED | CertificateWarnings::CERT_EXPIRY;
  const TestCertificate leaf = CertificateMaker("www.example.test").organization("Ex").make();
  record.chain = {leaf.der()};
  const std::string file = place(record);
  const ProgramRun result = exceptions({"list"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("www.example.test\n    file      " + file));
  EXPECT_THAT(result.out, HasSubstr("accepted  CERT_EXPIRY, NO_TRUSTED\n"));
  EXPECT_THAT(result.out, HasSubstr("CN=www.example.test"));
  EXPECT_THAT(result.out, HasSubstr("1 decision in "));
  EXPECT_EQ("", result.err);
}

TEST_F(ExceptionsList, OfAStoreThatIsNotThereIsEmptyAndMakesNone) {
  const ProgramRun result = exceptions({"list"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("no decisions in "));
  EXPECT_NE(0, access(store_.c_str(), F_OK));
}

TEST_F(ExceptionsList, IsInTheOrderOfDomainsWhateverTheirLetterCase) {
  for (const char* domain : {"b", "A", "C"}) {
    place(plainRecord(domain));
  }
  ExceptionRecord none = plainRecord("");
  none.domain.reset();
  none.warnings = 1;
  place(none);
  EXPECT_THAT(listedDomains({}), ElementsAre("(none)", "A", "b", "C"));
}

TEST_F(ExceptionsList, IsRestrictedToDomainsLikeThePattern) {
  for (const char* domain : {"a.example", "B.Example", "example.org"}) {
    place(plainRecord(domain));
  }
  EXPECT_THAT(listedDomains({"--domain", "*.EXAMPLE"}), ElementsAre("a.example", "B.Example"));
}

TEST_F(ExceptionsList, NamesWhatCannotBeReadAndShowsTheRest) {
  place(plainRecord("good"));
  placeBytes(store_, "cx_bad.json", "garbage");
  ASSERT_EQ(0, mkfifo((store_ + "/pipe.json").c_str(), 0600));
  const ProgramRun result = exceptions({"list"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("good\n"));
  EXPECT_TRUE(isComplaint(result.err, "2 files cannot be read: cx_bad.json, pipe.json"));
}

TEST_F(ExceptionsList, SaysWhereAChainIsNone) {
  place(plainRecord("a"));
  EXPECT_THAT(exceptions({"list"}).out, HasSubstr("(not a certificate)"));
}

TEST_F(ExceptionsList, SaysWhatIsExpired) {
  ExceptionRecord record = plainRecord("a");
  record.expires = 1'700'000'000;
  place(record);
  EXPECT_THAT(exceptions({"list"}).out, HasSubstr("expires   2023-11-14T22:13:20Z (expired)"));
}

TEST_F(ExceptionsList, EscapesAHostileDomain) {
  place(plainRecord("\x1b[2Ja\nb"));
  const ProgramRun result = exceptions({"list"});
  EXPECT_THAT(result.out, HasSubstr("\\x1b[2Ja\\x0ab"));
  EXPECT_THAT(result.out, Not(HasSubstr("\x1b")));
}

TEST_F(ExceptionsList, HasItsJsonMembersInTheirOrder) {
  ExceptionRecord record = plainRecord("a");
  record.chain = {CertificateMaker("a").make().der()};
  record.created = 1'600'000'000;
  record.expires = 1'700'000'000;
  place(record);
  const rapidjson::Document line = parseLine(exceptions({"list", "--json"}).out);
  EXPECT_EQ("file domain warnings warning_bits subject sha256 written created expires expired",
            memberNames(line));
  EXPECT_STREQ("256", line["warning_bits"].GetString());
  EXPECT_TRUE(line["expired"].GetBool());
}

TEST_F(ExceptionsList, ThatCannotBeReadIsAFailureInJsonToo) {
  store_ = directory_.write("file", "");
  const ProgramRun result = exceptions({"list", "--json"});
  EXPECT_EQ(3, result.status);
  EXPECT_THAT(parseLine(result.out)["error"].GetString(), HasSubstr("cannot read the store"));
  EXPECT_TRUE(isComplaint(result.err, "cannot read the store"));
}

TEST_F(ExceptionsList, IsOfTheUsersOwnStoreByDefault) {
  ::place(home_ + "/vallorin/certexcept", plainRecord("mine"));
  EXPECT_THAT(run({"exceptions", "list"}).out, HasSubstr("mine\n"));
  std::filesystem::remove_all(home_ + "/vallorin");
}

TEST_F(ExceptionsList, SuggestsTheCommandThatWasMeant) {
  const ProgramRun result = run({"exceptions", "lsit"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "did you mean list?"));
}

class ExceptionsShow : public ExceptionsTest {};

TEST_F(ExceptionsShow, ShowsTheChainAsTheDialogDoes) {
  ExceptionRecord record = plainRecord("www.example.test");
  record.chain = {CertificateMaker("www.example.test").dns("www.example.test").make().der()};
  record.reason = "lab \x1b router";
  record.expires = 4'000'000'000;
  place(record);
  const ProgramRun result = exceptions({"show", "www.example.test"});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("1. the server's own certificate (self-signed)"));
  EXPECT_THAT(result.out, HasSubstr("accepted        NO_TRUSTED"));
  EXPECT_THAT(result.out, HasSubstr("reason          lab \\x1b router"));
  EXPECT_THAT(result.out, HasSubstr("expires         2096-10-02T07:06:40Z"));
  EXPECT_THAT(result.out, HasSubstr("meaning"));
}

TEST_F(ExceptionsShow, FindsADecisionByHashFileAndDomain) {
  const std::string file = place(plainRecord("a.example"));
  for (const std::string& id :
       {file, file.substr(3, 4), file.substr(3, 40), std::string("A.Example")}) {
    EXPECT_THAT(exceptions({"show", id}).out, HasSubstr("a.example")) << id;
  }
}

TEST_F(ExceptionsShow, ListsTheCandidatesOfAnAmbiguousId) {
  const std::string first = place(plainRecord("a", "1"));
  const std::string second = place(plainRecord("A", "2"));
  const ProgramRun result = exceptions({"show", "a"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'a' means 2 decisions: "));
  EXPECT_THAT(result.err, HasSubstr(first));
  EXPECT_THAT(result.err, HasSubstr(second));
}

TEST_F(ExceptionsShow, SuggestsTheDomainThatWasMeant) {
  place(plainRecord("www.example.test"));
  const ProgramRun result = exceptions({"show", "www.exmaple.test"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "did you mean www.example.test?"));
}

TEST_F(ExceptionsShow, TakesAnIdOfFewDigitsForADomain) {
  const std::string file = place(plainRecord("a.example"));
  EXPECT_EQ(2, exceptions({"show", file.substr(3, 3)}).status);
}

TEST_F(ExceptionsShow, SaysWhatToDoAboutWhatCannotBeRead) {
  placeBytes(store_, "cx_bad.json", "garbage");
  const ProgramRun result = exceptions({"show", "cx_bad.json"});
  EXPECT_EQ(3, result.status);
  EXPECT_TRUE(isComplaint(result.err, "doctor --repair"));
}

TEST_F(ExceptionsShow, ShowsAChainThatHoldsNoCertificates) {
  ExceptionRecord record = plainRecord("a");
  record.chain.push_back(CertificateMaker("b.example").make().der());
  place(record);
  const std::string out = exceptions({"show", "a"}).out;
  EXPECT_THAT(out, HasSubstr("1. (not a certificate)\n"));
  EXPECT_THAT(out, HasSubstr("CN=b.example"));
}

TEST_F(ExceptionsShow, HasItsJsonMembersInTheirOrder) {
  ExceptionRecord record = plainRecord("a");
  record.chain.push_back(CertificateMaker("b.example").make().der());
  record.created = 1'600'000'000;
  record.expires = 1'700'000'000;
  record.reason = "why";
  place(record);
  const rapidjson::Document line = parseLine(exceptions({"show", "--json", "a"}).out);
  EXPECT_EQ("file domain warnings warning_bits written created expires expired reason chain",
            memberNames(line));
  EXPECT_EQ("sha256", memberNames(line["chain"][0]));
  EXPECT_EQ("subject issuer serial not_before not_after sha256", memberNames(line["chain"][1]));
}

}  // namespace
