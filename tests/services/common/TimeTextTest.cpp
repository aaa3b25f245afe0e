#include "services/common/TimeText.h"

#include <gtest/gtest.h>

namespace {

struct TimeCase {
  const char* text;
  std::int64_t moment;
};

class AcceptedTime : public testing::TestWithParam<TimeCase> {};

TEST_P(AcceptedTime, IsThatMoment) {
  EXPECT_EQ(GetParam().moment, parseTime(GetParam().text));
}

INSTANTIATE_TEST_SUITE_P(Table, AcceptedTime,
                         testing::Values(TimeCase{"1970-01-01T00:00:00Z", 0}, TimeCase{"@0", 0},
                                         TimeCase{"@-1", -1}, TimeCase{"2026-01-31", 1769817600},
                                         TimeCase{"2026-01-31T12:00:00Z", 1769860800},
                                         TimeCase{"2026-01-31t12:00:00z", 1769860800},
                                         TimeCase{"2026-01-31 12:00:00Z", 1769860800},
                                         TimeCase{"2026-01-31T12:00:00.999Z", 1769860800},
                                         TimeCase{"2026-01-31T14:00:00+02:00", 1769860800},
                                         TimeCase{"2026-01-31T04:30:00-07:30", 1769860800},
                                         TimeCase{"2000-02-29", 951782400},
                                         TimeCase{"@4102444800", 4102444800},
                                         TimeCase{"1950-01-01T00:00:00Z", -631152000},
                                         TimeCase{"9999-12-31T23:59:59Z", 253402300799}));

class RefusedTime : public testing::TestWithParam<const char*> {};

TEST_P(RefusedTime, IsNoMoment) {
  EXPECT_EQ(std::nullopt, parseTime(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Table, RefusedTime,
                         testing::Values("", "yesterday", "@", "@x", "@1x", "@99999999999999999999",
                                         "2026-1-1", "2026-02-29", "2026-13-01", "2026-00-10",
                                         "2026-01-32", "2026-01-31T", "2026-01-31T12:00",
                                         "2026-01-31T12:00:00", "2026-01-31T24:00:00Z",
                                         "2026-01-31T12:60:00Z", "2026-01-31T12:00:60Z",
                                         "2026-01-31T12:00:00.Z", "2026-01-31T12:00:00+0200",
                                         "2026-01-31T12:00:00+24:00", "2026-01-31T12:00:00Zx",
                                         "1949-12-31T23:59:59Z", "@253402300800"));

TEST(FormatTime, WritesRfc3339InUtc) {
  EXPECT_EQ("2026-01-31T12:00:00Z", formatTime(1769860800));
  EXPECT_EQ("1969-12-31T23:59:59Z", formatTime(-1));
  EXPECT_EQ("9999-12-31T23:59:59Z", formatTime(253402300799));
}

TEST(FormatSpan, UsesTheLargestFittingUnit) {
  EXPECT_EQ("1 second", formatSpan(1));
  EXPECT_EQ("119 seconds", formatSpan(119));
  EXPECT_EQ("2 minutes", formatSpan(120));
  EXPECT_EQ("2 hours", formatSpan(7200));
  EXPECT_EQ("47 hours", formatSpan(2 * 86400 - 1));
  EXPECT_EQ("2 days", formatSpan(2 * 86400));
  EXPECT_EQ("3 years", formatSpan(-3 * 365 * 86400));
}

}  // namespace
