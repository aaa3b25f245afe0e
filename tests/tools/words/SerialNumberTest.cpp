#include "tools/trustctl/blacklist/SerialNumber.h"

#include <gtest/gtest.h>

#include "tests/support/CertificateMaker.h"

namespace {

struct SerialCase {
  const char* typed;
  std::optional<std::string> serial;
};

class ParseSerialNumber : public testing::TestWithParam<SerialCase> {};

TEST_P(ParseSerialNumber, GivesTheLibrarysForm) {
  EXPECT_EQ(GetParam().serial, parseSerialNumber(GetParam().typed)) << GetParam().typed;
}

INSTANTIATE_TEST_SUITE_P(
    Table, ParseSerialNumber,
    testing::Values(SerialCase{"047ecb", "047ecb"}, SerialCase{"47ecb", "047ecb"},
                    SerialCase{"047ECB", "047ecb"}, SerialCase{"04:7E:CB", "047ecb"},
                    SerialCase{"04 7e cb", "047ecb"}, SerialCase{"0x047ecb", "047ecb"},
                    SerialCase{"0X47ECB", "047ecb"}, SerialCase{"0000047ecb", "047ecb"},
                    SerialCase{"00:95:32", "9532"}, SerialCase{"9532", "9532"},
                    SerialCase{"0", "00"}, SerialCase{"-1", "ff"}, SerialCase{"-6ace", "9532"},
                    SerialCase{"", std::nullopt}, SerialCase{"0x", std::nullopt},
                    SerialCase{":", std::nullopt}, SerialCase{"-", std::nullopt},
                    SerialCase{"12g4", std::nullopt}, SerialCase{"12-34", std::nullopt},
                    SerialCase{"chain.pem", std::nullopt}, SerialCase{"0x0x12", std::nullopt}));

TEST(ParseSerialNumber, TakesNoMoreDigitsThanAnyCertificateHas) {
  EXPECT_TRUE(parseSerialNumber(std::string(256, '1')));
  EXPECT_FALSE(parseSerialNumber(std::string(257, '1')));
}

TEST(SerialNumberForLookup, IsThatOfTheSameNumberTyped) {
  const TestCertificate certificate = CertificateMaker("a").serial({0x95, 0x32, 0x18}).make();
  EXPECT_EQ(parseSerialNumber("95:32:18"), serialNumberForLookup(certificate.get()));
}

TEST(SerialNumberForLookup, OfANegativeNumberIsThatOfTheSameNumberTyped) {
  const TestCertificate certificate = CertificateMaker("a").serial({0x6a, 0xce}, true).make();
  EXPECT_EQ(parseSerialNumber("-6ACE"), serialNumberForLookup(certificate.get()));
}

}  // namespace
