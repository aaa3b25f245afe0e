#include "services/dialog/model/EarlierExceptions.h"

#include <unistd.h>

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/FarDate.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

const std::optional<std::string> kDomain = "host.test";

// "AQID" is 01 02 03.
std::string exceptionText(const std::string& warnings = "4",
                          const std::string& domain = "\"domain\":\"host.test\",") {
  return R"({"version":1,)" + domain + R"("warnings":")" + warnings +
         R"(","chain":[{"der":"AQID"},{"der":"BA=="}]})";
}

std::vector<EarlierException> read(const TemporaryDirectory& store,
                                   const std::optional<std::string>& domain = kDomain) {
  return readEarlierExceptions(store.path(), domain, ::geteuid());
}

std::vector<unsigned long long> warningsIn(const std::vector<EarlierException>& exceptions) {
  std::vector<unsigned long long> all;
  for (const EarlierException& exception : exceptions) all.push_back(exception.warnings);
  return all;
}

void setAge(const std::string& path, std::int64_t modified) {
  ASSERT_TRUE(setDate(path, modified));
}

TEST(EarlierExceptions, AreReadWithDomainWarningsAndChain) {
  const TemporaryDirectory store;
  store.write("cx_00_0.json", exceptionText());
  const auto found = read(store);
  ASSERT_EQ(1U, found.size());
  EXPECT_EQ(kDomain, found[0].domain);
  EXPECT_EQ(4U, found[0].warnings);
  EXPECT_THAT(found[0].chain, ElementsAre(CertificateDer{1, 2, 3}, CertificateDer{4}));
}

// In nanoseconds, the later of the two is past what 64 bits hold.
TEST(EarlierExceptions, ComeNewestFirstWhateverTheCentury) {
  const TemporaryDirectory store;
  constexpr std::int64_t k2200 = 7258118400;
  constexpr std::int64_t k2300 = 10413792000;
  if (!setDate(store.write("cx_00_0.json", exceptionText("1")), k2200) ||
      !setDate(store.write("cx_01_0.json", exceptionText("2")), k2300)) {
    GTEST_SKIP() << kNoSuchDate;
  }
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(2, 1));
}

TEST(EarlierExceptions, AreOnlyThoseOfExactlyThatDomain) {
  const TemporaryDirectory store;
  store.write("cx_00_0.json", exceptionText("1", R"("domain":"HOST.test",)"));
  store.write("cx_01_0.json", exceptionText("2", R"("domain":"",)"));
  store.write("cx_02_0.json", exceptionText("3", ""));
  store.write("cx_03_0.json", exceptionText("4"));
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(4));
}

TEST(EarlierExceptions, WithoutADomainAreThoseWithoutOne) {
  const TemporaryDirectory store;
  store.write("cx_01_0.json", exceptionText("2", R"("domain":"",)"));
  store.write("cx_02_0.json", exceptionText("3", ""));
  EXPECT_THAT(warningsIn(read(store, std::nullopt)), ElementsAre(3));
}

TEST(EarlierExceptions, ComeNewestFirst) {
  const TemporaryDirectory store;
  setAge(store.write("cx_00_0.json", exceptionText("1")), 1000);
  setAge(store.write("cx_01_0.json", exceptionText("2")), 3000);
  setAge(store.write("cx_02_0.json", exceptionText("3")), 2000);
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(2, 3, 1));
}

TEST(EarlierExceptions, OfOneAgeComeByName) {
  const TemporaryDirectory store;
  setAge(store.write("cx_b_0.json", exceptionText("2")), 1000);
  setAge(store.write("cx_a_0.json", exceptionText("1")), 1000);
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(1, 2));
}

TEST(EarlierExceptions, ReadASetWithItsTopBit) {
  const TemporaryDirectory store;
  store.write("cx_00_0.json", exceptionText("-9223372036854775808"));
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(1ULL << 63U));
}

TEST(EarlierExceptions, OfAMissingDirectoryAreNone) {
  const TemporaryDirectory store;
  EXPECT_THAT(readEarlierExceptions(store.path("missing"), kDomain, ::geteuid()), IsEmpty());
}

TEST(EarlierExceptions, OfAnotherOwnerAreNone) {
  const TemporaryDirectory store;
  store.write("cx_00_0.json", exceptionText());
  EXPECT_THAT(readEarlierExceptions(store.path(), kDomain, ::geteuid() + 1), IsEmpty());
}

TEST(EarlierExceptions, AreNotReadThroughLinks) {
  const TemporaryDirectory store;
  const std::string target = store.write("elsewhere", exceptionText());
  ASSERT_EQ(0, ::symlink(target.c_str(), store.path("cx_00_0.json").c_str()));
  EXPECT_THAT(read(store), IsEmpty());
}

TEST(EarlierExceptions, APipeInTheirPlaceIsPassedOver) {
  const TemporaryDirectory store;
  ASSERT_EQ(0, ::mkfifo(store.path("cx_00_0.json").c_str(), 0600));
  EXPECT_THAT(read(store), IsEmpty());
}

TEST(EarlierExceptions, AFileLongerThanOneMebibyteIsPassedOver) {
  const TemporaryDirectory store;
  store.write("cx_00_0.json", exceptionText() + std::string(1024 * 1024, ' '));
  EXPECT_THAT(read(store), IsEmpty());
}

TEST(EarlierExceptions, AtMostAHundredAreReturned) {
  const TemporaryDirectory store;
  for (int i = 0; i < 101; ++i) {
    store.write("cx_" + std::to_string(i) + "_0.json", exceptionText());
  }
  EXPECT_EQ(100U, read(store).size());
}

TEST(EarlierExceptions, BeyondTheNewestTwoThousandFilesAreNotLookedFor) {
  const TemporaryDirectory store;
  setAge(store.write("cx_old_0.json", exceptionText()), 1000);
  const std::string newer = store.write("newer", "{}");
  for (int i = 0; i < 2000; ++i) {
    const std::string name = store.path("cx_" + std::to_string(i) + "_0.json");
    ASSERT_EQ(0, ::link(newer.c_str(), name.c_str()));
  }
  EXPECT_THAT(read(store), IsEmpty());
}

TEST(EarlierExceptions, NewestIsFoundAmongManyThousandFiles) {
  const TemporaryDirectory store;
  const std::string older = store.write("older", "{}");
  setAge(older, 1000);
  for (int i = 0; i < 5000; ++i) {
    const std::string name = store.path("cx_" + std::to_string(i) + "_0.json");
    ASSERT_EQ(0, ::link(older.c_str(), name.c_str()));
  }
  setAge(store.write("cx_new_0.json", exceptionText("5")), 2000);
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(5));
}

struct PassedOver {
  const char* name;
  std::string file;
  std::string text;
};

class PassedOverException : public testing::TestWithParam<PassedOver> {};

TEST_P(PassedOverException, HidesNoOther) {
  const TemporaryDirectory store;
  store.write(GetParam().file, GetParam().text);
  store.write("cx_good_0.json", exceptionText("77"));
  EXPECT_THAT(warningsIn(read(store)), ElementsAre(77));
}

INSTANTIATE_TEST_SUITE_P(
    Table, PassedOverException,
    testing::Values(
        PassedOver{"OtherPrefix", "xx_00_0.json", exceptionText()},
        PassedOver{"OtherExtension", "cx_00_0.txt", exceptionText()},
        PassedOver{"Temporary", "cx_00_0.json.new", exceptionText()},
        PassedOver{"Empty", "cx_00_0.json", ""},
        PassedOver{"NoJson", "cx_00_0.json", "domain host.test"},
        PassedOver{"Cut", "cx_00_0.json", exceptionText().substr(0, 60)},
        PassedOver{"Array", "cx_00_0.json", "[" + exceptionText() + "]"},
        PassedOver{"LaterVersion", "cx_00_0.json",
                   R"({"version":2,"domain":"host.test","warnings":"1","chain":[{"der":"AQID"}]})"},
        PassedOver{"NoVersion", "cx_00_0.json",
                   R"({"domain":"host.test","warnings":"1","chain":[{"der":"AQID"}]})"},
        PassedOver{"DomainIsANumber", "cx_00_0.json", exceptionText("1", "\"domain\":5,")},
        PassedOver{"TwoDomains", "cx_00_0.json",
                   exceptionText("1", R"("domain":"host.test","domain":"host.test",)")},
        PassedOver{"WarningsAreWords", "cx_00_0.json", exceptionText("many")},
        PassedOver{"WarningsAreANumber", "cx_00_0.json",
                   R"({"version":1,"domain":"host.test","warnings":1,"chain":[{"der":"AQID"}]})"},
        PassedOver{"WarningsTooLarge", "cx_00_0.json", exceptionText("9223372036854775808")},
        PassedOver{"NoChain", "cx_00_0.json",
                   R"({"version":1,"domain":"host.test","warnings":"1"})"},
        PassedOver{"EmptyChain", "cx_00_0.json",
                   R"({"version":1,"domain":"host.test","warnings":"1","chain":[]})"},
        PassedOver{"ChainOfStrings", "cx_00_0.json",
                   R"({"version":1,"domain":"host.test","warnings":"1","chain":["AQID"]})"},
        PassedOver{"NoBase64", "cx_00_0.json",
                   R"({"version":1,"domain":"host.test","warnings":"1","chain":[{"der":"A"}]})"}),
    [](const auto& param) { return param.param.name; });

}  // namespace
