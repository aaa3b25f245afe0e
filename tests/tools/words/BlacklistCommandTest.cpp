#include <algorithm>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/tools/TrustctlFixture.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

constexpr const char* forAll = "953218b704cc62b240a4d0180e8193f2";
constexpr const char* forOneName = "047ecbe9fca55f7bd09eae36e10cae1e";
const Bytes forAllBytes = {0x95, 0x32, 0x18, 0xb7, 0x04, 0xcc, 0x62, 0xb2,
                           0x40, 0xa4, 0xd0, 0x18, 0x0e, 0x81, 0x93, 0xf2};
const Bytes forOneNameBytes = {0x04, 0x7e, 0xcb, 0xe9, 0xfc, 0xa5, 0x5f, 0x7b,
                               0xd0, 0x9e, 0xae, 0x36, 0xe1, 0x0c, 0xae, 0x1e};

class BlacklistCheck : public TrustctlTest {
 protected:
  std::string fileWith(const CertificateMaker& maker) const {
    return directory_.write("one.pem", maker.make().pem());
  }
};

TEST_F(BlacklistCheck, TellsTheIncidentOfANumberOnTheList) {
  const ProgramRun result = run({"blacklist", "check", forAll});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr(std::string("ON THE LIST  ") + forAll + "\n"));
  EXPECT_THAT(result.out, HasSubstr("DigiNotar breach 2011"));
}

TEST_F(BlacklistCheck, ExitsWith0ForANumberThatIsNotOnTheList) {
  const ProgramRun result = run({"blacklist", "check", "0abc"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ("NOT ON THE LIST  0abc\n", result.out);
}

TEST_F(BlacklistCheck, TakesANumberAsPeopleHaveIt) {
  EXPECT_EQ(
      1,
      run({"blacklist", "check", "0x00:95:32:18:B7:04:CC:62:B2:40:A4:D0:18:0E:81:93:F2"}).status);
}

TEST_F(BlacklistCheck, SaysForWhichNameAloneANumberIsListed) {
  const ProgramRun result = run({"blacklist", "check", forOneName});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("with the name 'mail.google.com' only."));
}

TEST_F(BlacklistCheck, FindsACertificateOnTheList) {
  const ProgramRun result =
      run({"blacklist", "check", fileWith(CertificateMaker("x.test").serial(forAllBytes))});
  EXPECT_EQ(1, result.status);
  EXPECT_THAT(result.out, HasSubstr("CN=x.test"));
}

TEST_F(BlacklistCheck, LetsACertificatePassWhoseNumberIsListedForAnotherName) {
  const ProgramRun result =
      run({"blacklist", "check", fileWith(CertificateMaker("x.test").serial(forOneNameBytes))});
  EXPECT_EQ(0, result.status);
  EXPECT_THAT(result.out, HasSubstr("which this one does not bear"));
}

TEST_F(BlacklistCheck, FindsACertificateWithTheNameItsNumberIsListedFor) {
  const CertificateMaker maker =
      CertificateMaker("x").serial(forOneNameBytes).dns("mail.google.com");
  EXPECT_EQ(1, run({"blacklist", "check", fileWith(maker)}).status);
}

TEST_F(BlacklistCheck, ChecksEveryCertificateOfAFile) {
  const std::string file =
      directory_.write("two.pem", CertificateMaker("a").make().pem() +
                                      CertificateMaker("b").serial(forAllBytes).make().pem());
  const ProgramRun result = run({"blacklist", "check", "--json", file});
  EXPECT_EQ(1, result.status);
  EXPECT_EQ(2, std::count(result.out.begin(), result.out.end(), '\n'));
}

TEST_F(BlacklistCheck, ReadsStandardInput) {
  EXPECT_EQ(1,
            run({"blacklist", "check", "-"}, CertificateMaker("x").serial(forAllBytes).make().pem())
                .status);
}

TEST_F(BlacklistCheck, TakesAnExistingFileForAFileWhateverItsName) {
  const std::string file = directory_.write("cafe", "no certificate");
  const ProgramRun result = run({"blacklist", "check", file});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "holds no certificate"));
}

TEST_F(BlacklistCheck, TakesTheValueOfFileForAFile) {
  const ProgramRun result = run({"blacklist", "check", "--file", "0abc"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'0abc' cannot be read"));
}

TEST_F(BlacklistCheck, RefusesAWordThatIsNeither) {
  const ProgramRun result = run({"blacklist", "check", "chain.pm"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "'chain.pm' is neither a file that is there nor a serial"));
}

TEST_F(BlacklistCheck, PrintsNothingButTheErrorWhereOneWordCannotBeUsed) {
  const ProgramRun result = run({"blacklist", "check", "--json", forAll, "chain.pm"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(parseLine(result.out).HasMember("error"));
}

TEST_F(BlacklistCheck, RefusesNothingAtAll) {
  const ProgramRun result = run({"blacklist", "check"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "nothing to check"));
}

TEST_F(BlacklistCheck, RefusesStandardInputTwice) {
  const ProgramRun result = run({"blacklist", "check", "-", "--file", "-"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "standard input is named twice"));
}

std::vector<std::string> memberNames(const rapidjson::Value& object) {
  std::vector<std::string> names;
  for (const auto& member : object.GetObject()) {
    names.emplace_back(member.name.GetString());
  }
  return names;
}

TEST_F(BlacklistCheck, HasTheseJsonMembersForANumber) {
  const ProgramRun result = run({"blacklist", "check", "--json", forOneName});
  const rapidjson::Document answer = parseLine(result.out);
  EXPECT_THAT(memberNames(answer), ElementsAre("serial", "on_list", "domain", "incident"));
  EXPECT_TRUE(answer["on_list"].GetBool());
  EXPECT_STREQ("mail.google.com", answer["domain"].GetString());
}

TEST_F(BlacklistCheck, HasTheseJsonMembersForACertificate) {
  const std::string file = fileWith(CertificateMaker("x.test").serial({0x0a}));
  const rapidjson::Document answer = parseLine(run({"blacklist", "check", "--json", file}).out);
  EXPECT_THAT(memberNames(answer), ElementsAre("file", "subject", "serial", "on_list"));
  EXPECT_FALSE(answer["on_list"].GetBool());
  EXPECT_STREQ("0a", answer["serial"].GetString());
}

class BlacklistList : public TrustctlTest {};

TEST_F(BlacklistList, HasALineForEachEntry) {
  const ProgramRun result = run({"blacklist", "list"});
  EXPECT_EQ(0, result.status);
  EXPECT_EQ(578, std::count(result.out.begin(), result.out.end(), '\n'));
  EXPECT_THAT(result.out, HasSubstr(std::string(forOneName) + "  Comodo RA compromise"));
  EXPECT_THAT(result.out, HasSubstr("[mail.google.com]\n"));
}

TEST_F(BlacklistList, HasTheseJsonMembers) {
  const ProgramRun result = run({"blacklist", "list", "--json"});
  const rapidjson::Document first = parseLine(result.out.substr(0, result.out.find('\n') + 1));
  EXPECT_THAT(memberNames(first), ElementsAre("serial", "domain", "incident"));
  EXPECT_EQ(578, std::count(result.out.begin(), result.out.end(), '\n'));
}

class BlacklistGroup : public TrustctlTest {};

TEST_F(BlacklistGroup, SuggestsTheCommandThatWasMeant) {
  const ProgramRun result = run({"blacklist", "chek"});
  EXPECT_EQ(2, result.status);
  EXPECT_TRUE(isComplaint(result.err, "did you mean check?"));
}

}  // namespace
