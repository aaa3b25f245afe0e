#include "services/certmgr/VerificationTime.h"

#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace {

struct Accepted {
  const char* text;
  std::time_t time;
};
class AcceptedTime : public testing::TestWithParam<Accepted> {};
TEST_P(AcceptedTime, IsRead) {
  EXPECT_EQ(GetParam().time, parseVerificationTime(GetParam().text));
}
INSTANTIATE_TEST_SUITE_P(Table, AcceptedTime,
                         testing::Values(Accepted{"1970-01-01T00:00:00Z", 0},
                                         Accepted{"2026-02-02T00:00:01+00:00", 1769990401},
                                         Accepted{"2026-02-02T01:00:01+01:00", 1769990401},
                                         Accepted{"2026-02-01T23:30:01-00:30", 1769990401},
                                         Accepted{"2024-02-29T00:00:00.5z", 1709164800},
                                         Accepted{"@0", 0}, Accepted{"@-1", -1},
                                         Accepted{"@1769990401", 1769990401}));

class RefusedTime : public testing::TestWithParam<const char*> {};
TEST_P(RefusedTime, IsAnError) {
  EXPECT_THROW(parseVerificationTime(GetParam()), std::runtime_error);
}
INSTANTIATE_TEST_SUITE_P(Table, RefusedTime,
                         testing::Values("", "now", "@", "@1x", "@99999999999999999999",
                                         "2026-02-02", "2026-02-02T00:00:01",
                                         "2026-02-29T00:00:00Z", "2026-13-01T00:00:00Z",
                                         "2026-02-02T24:00:00Z", "2026-02-02T00:60:00Z",
                                         "2026-02-02T00:00:01+24:00", "2026-02-02T00:00:01Zx"));

}  // namespace
