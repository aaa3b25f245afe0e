#include "trustlib/DefaultCertificateBlacklist.h"

#include <barrier>
#include <fstream>
#include <list>
#include <map>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "trustlib/CertificateUtilities.h"

namespace {

const std::string listedForAll("953218b704cc62b240a4d0180e8193f2");
const std::string listedForMail("047ecbe9fca55f7bd09eae36e10cae1e");
const std::string thirtyDigits("177fb6536b98ce40d54b8b24e31605");
const std::string listedTwice("899ae120cd44fcec0ffcd62f6fc4bb81");

class Blacklist : public testing::Test {
 protected:
  DefaultCertificateBlacklist blacklist;
  const std::list<std::string> none{};
};

TEST_F(Blacklist, SerialListedForAllDomainsIsRevokedWhateverTheNames) {
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&listedForAll, &none, &none));
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&listedForAll, nullptr, nullptr));
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&thirtyDigits, &none, &none));
}

TEST_F(Blacklist, UpperCaseSerialIsFoundOnlyAfterNormalising) {
  const std::string upper("953218B704CC62B240A4D0180E8193F2");
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(&upper, &none, &none));
  std::string normalized;
  CertificateUtilities::normalizeSerialNumber(upper.c_str(), &normalized);
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&normalized, &none, &none));
}

TEST_F(Blacklist, SerialAsServicesWriteItIsFoundAfterNormalising) {
  std::string normalized;
  CertificateUtilities::normalizeSerialNumber("95 32 18 B7 04 CC 62 B2 40 A4 D0 18 0E 81 93 F2",
                                              &normalized);
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&normalized, &none, &none));
}

TEST_F(Blacklist, SerialWithColonsIsNotFoundEvenAfterNormalising) {
  std::string normalized;
  CertificateUtilities::normalizeSerialNumber("95:32:18:B7:04:CC:62:B2:40:A4:D0:18:0E:81:93:F2",
                                              &normalized);
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(&normalized, &none, &none));
}

TEST_F(Blacklist, SerialListedForOneDomainIsFineOnCertificatesForOthers) {
  const std::list<std::string> names = {"DNS:mail.example.test"};
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(&listedForMail, &none, &names));
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(&listedForMail, &none, &none));
}

TEST_F(Blacklist, SerialListedForOneDomainIsRevokedUnderItsNames) {
  const std::string domain = *blacklist.getCertificateBlacklistDomain(&listedForMail);
  const std::list<std::string> commonNames = {domain};
  const std::list<std::string> dnsNames = {"DNS:" + domain};
  const std::list<std::string> wildcard = {"DNS:*" + domain.substr(domain.find('.'))};
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&listedForMail, &commonNames, &none));
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&listedForMail, &none, &dnsNames));
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&listedForMail, &none, &wildcard));
}

TEST_F(Blacklist, UnlistedSerialIsFine) {
  const std::string serial("00000000000000000000000000000001");
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(&serial, &none, &none));
}

TEST_F(Blacklist, NullAndEmptySerialsAreNotListed) {
  const std::string empty;
  EXPECT_EQ(nullptr, blacklist.getCertificateBlacklistDomain(nullptr));
  EXPECT_EQ(nullptr, blacklist.getCertificateBlacklistDomain(&empty));
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(nullptr, &none, &none));
  EXPECT_EQ(0, blacklist.isCertificateBlacklisted(&empty, &none, &none));
}

TEST_F(Blacklist, DomainOfASerialListedForAllIsEmptyAndStays) {
  const std::string* domain = blacklist.getCertificateBlacklistDomain(&listedForAll);
  ASSERT_NE(nullptr, domain);
  EXPECT_EQ("", *domain);
  EXPECT_EQ(domain, blacklist.getCertificateBlacklistDomain(&listedForAll));
}

TEST_F(Blacklist, AllOfTheDataIsListedUnderItsFirstDomain) {
  std::ifstream data(TEST_BLACKLIST_CSV);
  std::string line;
  std::getline(data, line);
  std::map<std::string, std::string> expected;
  while (std::getline(data, line)) {
    const std::size_t comma = line.find(',');
    const std::string serial = line.substr(0, comma);
    expected.emplace(serial, line.substr(comma + 1, line.find(',', comma + 1) - comma - 1));
  }
  ASSERT_EQ(577U, expected.size());
  for (const auto& [serial, domain] : expected) {
    const std::string* listed = blacklist.getCertificateBlacklistDomain(&serial);
    ASSERT_NE(nullptr, listed) << serial;
    EXPECT_EQ(domain, *listed) << serial;
  }
}

TEST_F(Blacklist, SerialThatStandsTwiceInTheDataIsListedForAll) {
  EXPECT_EQ(2, blacklist.isCertificateBlacklisted(&listedTwice, &none, &none));
}

TEST(DefaultCertificateBlacklist, ManyThreadsReceiveTheOneInstance) {
  const int count = 16;
  std::barrier start(count);
  std::vector<DefaultCertificateBlacklist*> instances(count);
  std::vector<std::thread> threads;
  threads.reserve(count);
  for (int i = 0; i < count; ++i) {
    threads.emplace_back([&start, &instances, i] {
      start.arrive_and_wait();
      instances[static_cast<std::size_t>(i)] = DefaultCertificateBlacklist::getInstance();
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(1U, std::set(instances.begin(), instances.end()).size());
  EXPECT_NE(nullptr, instances.front());
}

TEST(StringHasher, EmptyTextHashesToZero) {
  EXPECT_EQ(0U, StringHasher()(std::string()));
}

TEST(StringHasher, BytesCountFromTheLastToTheFirst) {
  EXPECT_EQ(('b' * 31U) + 'a', StringHasher()(std::string("ab")));
}

TEST(StringHasher, BytesAreSignedWhateverThePlatformsCharIs) {
  EXPECT_EQ(0xFFFFFFFFU, StringHasher()(std::string("\xFF")));
  EXPECT_EQ(0xFFFFFF80U * 31U + 1U, StringHasher()(std::string("\x01\x80")));
}

TEST(StringHasher, HashIsThirtyTwoBitsWide) {
  const std::size_t hash = StringHasher()(std::string(64, '\xF0'));
  EXPECT_LE(hash, 0xFFFFFFFFU);
}

TEST(StringHasher, OrderIsTheOrdinaryLessThan) {
  const StringHasher before;
  EXPECT_TRUE(before(std::string("a"), std::string("ab")));
  EXPECT_TRUE(before(std::string("ab"), std::string("b")));
  EXPECT_FALSE(before(std::string("a"), std::string("a")));
  EXPECT_FALSE(before(std::string("b"), std::string("ab")));
}

}  // namespace
