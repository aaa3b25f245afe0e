#include "services/dialog/model/DomainReading.h"

#include <string>

#include <gtest/gtest.h>

namespace {

// Every spot is written as the letters: a address, L too long, h hiding, u undecodable,
// m mixed scripts, r right to left.
std::string marksOf(const DomainReading& reading) {
  std::string marks;
  if (reading.address) marks += 'a';
  if (reading.tooLong) marks += 'L';
  if (reading.hiding) marks += 'h';
  if (reading.undecodable) marks += 'u';
  if (reading.mixedScripts) marks += 'm';
  if (reading.rightToLeft) marks += 'r';
  return marks;
}

struct ReadingCase {
  const char* name;
  std::string domain;
  std::string marks;
  std::string letters;
  std::string coded;
  std::string twin;
};

class ReadDomain : public testing::TestWithParam<ReadingCase> {};

TEST_P(ReadDomain, SeesWhatMightBeOverlooked) {
  const DomainReading reading = readDomain(GetParam().domain);
  EXPECT_EQ(GetParam().marks, marksOf(reading));
  EXPECT_EQ(GetParam().letters, reading.letters);
  EXPECT_EQ(GetParam().coded, reading.coded);
  EXPECT_EQ(GetParam().twin, reading.twin);
}

INSTANTIATE_TEST_SUITE_P(
    Table, ReadDomain,
    testing::Values(
        ReadingCase{"Empty", "", "", "", "", ""},
        ReadingCase{"Ordinary", "www.example.org", "", "", "", ""},
        ReadingCase{"Wildcard", "*.example.org", "", "", "", ""},
        ReadingCase{"Underscore", "a_b.example", "", "", "", ""},
        ReadingCase{"LongestName", std::string(253, 'a'), "", "", "", ""},
        ReadingCase{"OneTooLong", std::string(254, 'a'), "L", "", "", ""},
        ReadingCase{"AddressV4", "192.0.2.1", "a", "", "", ""},
        ReadingCase{"AddressV6", "2001:db8::1", "a", "", "", ""},
        ReadingCase{"AddressInBrackets", "[2001:db8::1]", "a", "", "", ""},
        ReadingCase{"NearlyAnAddress", "192.0.2.1.example", "", "", "", ""},
        ReadingCase{"CodedGerman", "xn--bcher-kva.example", "", "b\u00fccher.example", "", ""},
        ReadingCase{"CodedInCapitals", "XN--BCHER-KVA.example", "", "b\u00fccher.example", "", ""},
        ReadingCase{"CodedWildcard", "*.xn--bcher-kva.example", "", "*.b\u00fccher.example", "",
                    ""},
        ReadingCase{"CodedChinese", "xn--fiqs8s.example", "", "\u4e2d\u56fd.example", "", ""},
        ReadingCase{"German", "b\u00fccher.example", "", "", "xn--bcher-kva.example", ""},
        // One letter of these is Cyrillic, and looks like the Latin one.
        ReadingCase{"MixedLookAlike", "xn--bnk-6cd.example", "m", "b\u0430nk.example", "",
                    "bank.example"},
        ReadingCase{"MixedLookAlikeAsLetters", "b\u0430nk.example", "m", "", "xn--bnk-6cd.example",
                    "bank.example"},
        ReadingCase{"TheLatinLettersOfALookAlikeStay", "xn--mon-ted.example", "m",
                    "mo\u043en.example", "", "moon.example"},
        // All of its letters are Cyrillic.
        ReadingCase{"WholeLookAlike", "xn--e1argc.example", "", "\u0441\u043e\u0440\u0435.example",
                    "", "cope.example"},
        ReadingCase{"CodedNothing", "xn--a.example", "u", "", "", ""},
        ReadingCase{"CodedGarbage", "xn--\x7f\x7f\x7f.example", "hu", "", "", ""},
        ReadingCase{"Hebrew", "xn--4dbrk0ce.example", "r", "\u05d9\u05e9\u05e8\u05d0\u05dc.example",
                    "", ""},
        ReadingCase{"ZeroWidth", "a\u200bb.example", "h", "", "ab.example", ""},
        ReadingCase{"BidiOverride", "a\u202e.example", "hu", "", "", ""},
        ReadingCase{"Escape", "a\x1b[2J.example", "h", "", "", ""},
        ReadingCase{"InvalidUtf8", "a\xff.example", "hu", "", "", ""}),
    [](const auto& param) { return param.param.name; });

TEST(DescribeReading, SaysNothingOfAnOrdinaryName) {
  EXPECT_TRUE(describeReading(readDomain("www.example.org")).empty());
}

TEST(DescribeReading, ShowsTheLettersOfACodedNameAsForeign) {
  const auto lines = describeReading(readDomain("xn--bcher-kva.example"));
  ASSERT_EQ(1U, lines.size());
  EXPECT_EQ("b\u00fccher.example", lines[0].text);
  EXPECT_TRUE(lines[0].foreign);
}

TEST(DescribeReading, WarnsOfALookAlike) {
  bool warned = false;
  for (const DialogLine& line : describeReading(readDomain("xn--bnk-6cd.example"))) {
    warned |= line.tone == DialogTone::danger && line.text == "bank.example" && line.foreign;
  }
  EXPECT_TRUE(warned);
}

}  // namespace
