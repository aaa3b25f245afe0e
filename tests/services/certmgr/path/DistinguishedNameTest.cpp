#include "services/certmgr/path/DistinguishedName.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/certmgr/path/DerReader.h"
#include "tests/services/certmgr/path/MadeCertificate.h"

namespace {

using testing::EndsWith;
using testing::SizeIs;

// A Name of so many relative names.
std::string longName(int count) {
  const std::string whole = nameDer({{kCommonName, "a"}});
  std::string names;
  for (int i = 0; i < count; ++i) names += derContent(whole, DerReader::kSequence);
  return derElement(DerReader::kSequence, names);
}

TEST(DistinguishedName, OfAsManyAttributesAsAnybodyNeedsIsRead) {
  EXPECT_EQ(256U, DistinguishedName(longName(256)).relativeNames());
}

TEST(DistinguishedName, OfMoreAttributesThanAnybodyNeedsIsRefused) {
  EXPECT_THROW(DistinguishedName(longName(257)), DerError);
}

TEST(DistinguishedName, WithAnEmptyRelativeNameIsRefused) {
  const std::string empty = derElement(DerReader::kSet, "");
  EXPECT_THROW(DistinguishedName(derElement(DerReader::kSequence, empty)), DerError);
}

TEST(DistinguishedName, TextOfALongAttributeIsCut) {
  const DistinguishedName name(nameDer({{kCommonName, std::string(60000, 'x')}}));
  EXPECT_EQ("CN=" + std::string(1024, 'x') + "...", name.text());
}

TEST(DistinguishedName, TextOfManyAttributesIsCut) {
  const std::string text = DistinguishedName(longName(256)).text();
  EXPECT_THAT(text, EndsWith("CN=a..."));
  EXPECT_THAT(text, SizeIs(testing::Lt(1100U)));
}

TEST(DistinguishedName, TextOfAnAttributeOfAnEndlessKindIsShort) {
  const DistinguishedName name(nameDer({{std::string(60000, '\1'), "x"}}));
  EXPECT_EQ("unreadable=x", name.text());
}

}  // namespace
