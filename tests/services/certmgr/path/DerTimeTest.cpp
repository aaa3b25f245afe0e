#include "services/certmgr/path/DerTime.h"

#include <cstdint>
#include <string>

#include <gtest/gtest.h>

namespace {

std::optional<std::int64_t> read(unsigned char tag, const std::string& text) {
  return secondsOf({tag, text, text});
}

struct Reading {
  const char* text;
  std::int64_t seconds;
};

class LongTime : public testing::TestWithParam<Reading> {};

TEST_P(LongTime, IsThatManySeconds) {
  EXPECT_EQ(GetParam().seconds, read(DerReader::kGeneralizedTime, GetParam().text));
}

// Around what 32 bits hold, and the ends of what can be written.
INSTANTIATE_TEST_SUITE_P(DerTime, LongTime,
                         testing::Values(Reading{"20380119031407Z", 2147483647},
                                         Reading{"20380119031408Z", 2147483648},
                                         Reading{"21060207062816Z", 4294967296},
                                         Reading{"99991231235959Z", 253402300799},
                                         Reading{"19011213204552Z", -2147483648},
                                         Reading{"19011213204551Z", -2147483649},
                                         Reading{"00000101000000Z", -62167219200}));

class ShortTime : public testing::TestWithParam<Reading> {};

TEST_P(ShortTime, IsThatManySeconds) {
  EXPECT_EQ(GetParam().seconds, read(DerReader::kUtcTime, GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(DerTime, ShortTime,
                         testing::Values(Reading{"380119031408Z", 2147483648},
                                         Reading{"491231235959Z", 2524607999},
                                         Reading{"500101000000Z", -631152000}));

}  // namespace
