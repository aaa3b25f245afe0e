#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "platform/ppscodec/ppscodec.h"
#include "tests/platform/ppscodec/Codec.h"

namespace {

// Reads `number` as the only element of an array.
int readInt(const std::string& number, int* value) {
  TestDecoder decoder;
  decoder.enter(Form::Json, "[" + number + "]");
  return pps_decoder_get_int(decoder, nullptr, value);
}

struct Accepted {
  const char* number;
  int value;
};

class IntText : public testing::TestWithParam<Accepted> {};

TEST_P(IntText, IsRead) {
  int value = 7;
  EXPECT_EQ(PPS_OK, readInt(GetParam().number, &value));
  EXPECT_EQ(GetParam().value, value);
}

INSTANTIATE_TEST_SUITE_P(All, IntText,
                         testing::Values(Accepted{"0", 0}, Accepted{"-0", 0}, Accepted{"-1", -1},
                                         Accepted{"1234567890", 1234567890},
                                         Accepted{"2147483647", 2147483647},
                                         Accepted{"-2147483648", INT_MIN}));

class LargeIntText : public testing::TestWithParam<const char*> {};

TEST_P(LargeIntText, IsOutOfRangeAndLeavesTheOutputAlone) {
  int value = 7;
  EXPECT_EQ(PPS_OUT_OF_RANGE, readInt(GetParam(), &value));
  EXPECT_EQ(7, value);
}

INSTANTIATE_TEST_SUITE_P(All, LargeIntText,
                         testing::Values("2147483648", "-2147483649", "4294967295", "4294967296",
                                         "9223372036854775807", "-9223372036854775809",
                                         "18446744073709551615", "18446744073709551616",
                                         "100000000000000000000000000000000000000"));

class RealText : public testing::TestWithParam<std::string> {};

TEST_P(RealText, IsNoInt) {
  int value = 7;
  EXPECT_EQ(PPS_WRONG_KIND, readInt(GetParam(), &value));
  EXPECT_EQ(7, value);
}

INSTANTIATE_TEST_SUITE_P(All, RealText,
                         testing::Values("1.5", "-1.5", "1.0", "1e3", "1E+3", "1e-3", "0.0", "0e0",
                                         "2147483648.5", "1.7976931348623157e308",
                                         "-1.7976931348623157e308", "0.00017976931348623157e312",
                                         "17976931348623157e292"));
INSTANTIATE_TEST_SUITE_P(TooSmallForADouble, RealText,
                         testing::Values("1e-400", "-1e-400", "1e-99999999999999999999",
                                         "0." + std::string(400, '0') + "1"));
// The sum of these exponents and their decimals passes an int.
INSTANTIATE_TEST_SUITE_P(ExponentAtTheEdgeOfAnInt, RealText,
                         testing::Values("0.1e-2147483648", "0.12345678901234567890e-2147483639",
                                         "0." + std::string(100, '0') + "1e-2147483647",
                                         "0." + std::string(100, '0') + "1e-9223372036854775808"));

class TooLargeNumber : public testing::TestWithParam<std::string> {};

TEST_P(TooLargeNumber, FailsTheParse) {
  EXPECT_EQ(PPS_OUT_OF_RANGE, resultOf(Form::Json, "{\"a\":[1," + GetParam() + "]}"));
}

INSTANTIATE_TEST_SUITE_P(All, TooLargeNumber,
                         testing::Values("1e400", "-1e400", "1e309", "1.8e308", "-1.8e308",
                                         "100e308", "123456789e301", "0.1e310", "1e2147483648",
                                         "1e99999999999999999999", "1" + std::string(309, '0'),
                                         "2" + std::string(308, '0'),
                                         "1" + std::string(400, '0') + ".5"));

class NoNumber : public testing::TestWithParam<const char*> {};

TEST_P(NoNumber, IsBadSyntax) {
  EXPECT_EQ(PPS_BAD_SYNTAX, resultOf(Form::Json, "[" + std::string(GetParam()) + "]"));
}

INSTANTIATE_TEST_SUITE_P(All, NoNumber,
                         testing::Values("01", "-", "+1", ".5", "1.", "1.e3", "1e", "1e+", "0x1",
                                         "NaN", "Infinity", "-Infinity", "1_0", "--1", "1-"));

}  // namespace
