#include "tools/trustctl/blacklist/BlacklistTable.h"

#include <algorithm>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "trustlib/DefaultCertificateBlacklist.h"

namespace {

TEST(BlacklistTable, HasAsManyEntriesAsTheLibrarysData) {
  EXPECT_EQ(578U, blacklistEntries().size());
}

TEST(BlacklistTable, AgreesWithTheLibrary) {
  for (const BlacklistEntry& entry : blacklistEntries()) {
    const std::string serial = entry.serial;
    const std::string* domain =
        DefaultCertificateBlacklist::getInstance()->getCertificateBlacklistDomain(&serial);
    ASSERT_NE(nullptr, domain) << serial;
    EXPECT_EQ(*domain, entry.domain) << serial;
  }
}

TEST(BlacklistTable, TellsTheIncidentOfEveryEntry) {
  const auto& entries = blacklistEntries();
  EXPECT_TRUE(std::none_of(entries.begin(), entries.end(),
                           [](const BlacklistEntry& entry) { return *entry.incident == '\0'; }));
}

TEST(BlacklistTable, KeepsWhatQuotesAndSemicolonsStandFor) {
  const BlacklistEntry* entry = findBlacklistEntry("177fb6536b98ce40d54b8b24e31605");
  ASSERT_NE(nullptr, entry);
  EXPECT_THAT(entry->incident, testing::HasSubstr("; 15-byte serial"));
  EXPECT_THAT(entry->incident, testing::HasSubstr("\"had a leading 0x00 byte\""));
}

TEST(BlacklistTable, HasNoEntryForAnotherNumber) {
  EXPECT_EQ(nullptr, findBlacklistEntry("0abc"));
}

}  // namespace
