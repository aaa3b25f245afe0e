// Elements that say that they are longer than what is there: 4 GiB and more, so that a length
// and a place added in 32 bits would come round to something small.

#include <string_view>

#include <gtest/gtest.h>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/ParsedCertificate.h"
#include "services/certmgr/path/RevocationList.h"

namespace {

using namespace std::string_view_literals;

class ClaimedLength : public testing::TestWithParam<std::string_view> {};

TEST_P(ClaimedLength, IsRefused) {
  DerReader reader(GetParam());
  EXPECT_THROW(reader.take(), DerError);
}

TEST_P(ClaimedLength, IsRefusedInside) {
  std::string outer{0x30, static_cast<char>(GetParam().size())};
  outer += GetParam();
  DerReader reader(DerReader(outer).content(DerReader::kSequence));
  EXPECT_THROW(reader.take(), DerError);
}

TEST_P(ClaimedLength, MakesNoCertificate) {
  EXPECT_THROW(ParsedCertificate::parse(std::string(GetParam())), DerError);
}

TEST_P(ClaimedLength, MakesNoRevocationList) {
  EXPECT_THROW(RevocationList::parse(std::string(GetParam())), DerError);
}

INSTANTIATE_TEST_SUITE_P(
    All, ClaimedLength,
    testing::Values("\x30\x84\xff\xff\xff\xff\x05\x00"sv,          // all that four bytes hold
                    "\x30\x84\xff\xff\xff\xfa\x05\x00"sv,          // 0 with what is before it
                    "\x30\x84\xff\xff\xff\xfc\x05\x00"sv,          // 2
                    "\x30\x84\x80\x00\x00\x00\x05\x00"sv,          // negative as an int
                    "\x30\x84\x7f\xff\xff\xff\x05\x00"sv,          // the greatest int
                    "\x30\x85\x01\x00\x00\x00\x02\x05\x00"sv,      // 2 without its fifth byte
                    "\x30\x88\x80\x00\x00\x00\x00\x00\x00\x02"sv,  // 2 without its highest bit
                    "\x30\xff\x05\x00"sv));                        // 127 bytes of length

}  // namespace
