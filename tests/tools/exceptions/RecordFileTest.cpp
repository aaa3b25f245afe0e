// The parts that a store is read with.

#include <sys/stat.h>

#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/common/CertificateView.h"
#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/Throws.h"
#include "tests/tools/exceptions/Records.h"
#include "tools/trustctl/exceptions/Age.h"
#include "tools/trustctl/exceptions/DomainPattern.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/RecordName.h"
#include "tools/trustctl/exceptions/SubjectReader.h"

namespace {

using testing::ElementsAre;

const std::string hash = "0123456789abcdef0123456789abcdef01234567";

TEST(RecordName, IsHashAndNumber) {
  const auto name = parseRecordName("cx_" + hash + "_7.json");
  ASSERT_TRUE(name);
  EXPECT_EQ(hash, name->hash);
  EXPECT_EQ(7, name->number);
}

TEST(RecordName, IsWrittenAsItIsRead) {
  EXPECT_EQ("cx_" + hash + "_9.json", fileNameOf({hash, 9}));
}

class NoRecordName : public testing::TestWithParam<std::string> {};

TEST_P(NoRecordName, IsRefused) {
  EXPECT_FALSE(parseRecordName(GetParam()));
}

INSTANTIATE_TEST_SUITE_P(Names, NoRecordName,
                         testing::Values("", "cx_.json", "cx_" + hash + "_10.json",
                                         "cx_" + hash + "_a.json", "cx_" + hash + "-0.json",
                                         "cy_" + hash + "_0.json", "cx_" + hash + "_0.jsom",
                                         "cx_0123456789ABCDEF0123456789abcdef01234567_0.json",
                                         "cx_" + hash + "_0.json.0.new"));

TEST(Record, ReadsBackWithItsNotes) {
  ExceptionRecord record = plainRecord("a.example");
  record.created = 1'700'000'000;
  record.expires = 1'800'000'000;
  record.reason = "old \"router\"";
  const ExceptionRecord back = parseRecord(writeRecord(record));
  EXPECT_TRUE(isSameDecision(record, back));
  EXPECT_EQ(record.created, back.created);
  EXPECT_EQ(record.expires, back.expires);
  EXPECT_EQ(record.reason, back.reason);
}

TEST(Record, WithNotesIsFoundByTheLibrary) {
  const TemporaryDirectory directory;
  ExceptionRecord record = plainRecord("a.example");
  record.created = 1'700'000'000;
  record.reason = "why";
  place(directory.path(), record);
  EXPECT_TRUE(libraryFinds(directory.path(), plainRecord("a.example")));
}

TEST(Record, WithoutNotesIsWrittenAsTheLibraryWritesIt) {
  EXPECT_EQ(R"({"version":1,"domain":"a","warnings":"8192","chain":[{"der":"YWJj"}]})",
            writeRecord([] {
              ExceptionRecord record = plainRecord("a");
              record.warnings = 8192;
              return record;
            }()));
}

TEST(Record, NotesThatAreNotAsTheyShouldBeArePassedOver) {
  const ExceptionRecord record = parseRecord(
      R"({"version":1,"warnings":"4","chain":[{"der":"YWJj"}],"created":7,"expires":"soon"})");
  EXPECT_FALSE(record.created);
  EXPECT_FALSE(record.expires);
  EXPECT_FALSE(record.reason);
}

TEST(Record, NotesAreReadWithTheirNamesWrittenInEscapes) {
  EXPECT_EQ("why", parseRecord(R"({"version":1,"warnings":"4","chain":[{"der":"YWJj"}],)"
                               "\"\\u0072eason\":\"why\"}")
                       .reason);
}

TEST(Record, NotesDoNotMakeAnotherDecision) {
  ExceptionRecord noted = plainRecord("a");
  noted.reason = "why";
  EXPECT_TRUE(isSameDecision(noted, plainRecord("a")));
  EXPECT_EQ(hashOf(noted), hashOf(plainRecord("a")));
}

TEST(Record, DomainsInOtherLettersAreOtherDecisions) {
  EXPECT_FALSE(isSameDecision(plainRecord("a"), plainRecord("A")));
}

TEST(Record, LaterVersionIsRefusedWithTheLibrarysReason) {
  EXPECT_THROWS(parseRecord(R"({"version":2,"warnings":"4","chain":[{"der":"YWJj"}]})"),
                std::runtime_error, "Unsupported version 2");
}

TEST(Record, TextThatIsNoJsonIsRefused) {
  EXPECT_THROW(parseRecord("garbage"), std::runtime_error);
  EXPECT_THROW(parseRecord(""), std::runtime_error);
}

TEST(Record, WhatCannotBeWrittenIsRefused) {
  ExceptionRecord record = plainRecord("a");
  record.chain.clear();
  EXPECT_THROW(writeRecord(record), std::runtime_error);
  EXPECT_THROW(writeRecord(plainRecord(std::string("a\0b", 3))), std::runtime_error);
  record = plainRecord("a");
  record.created = INT64_MAX;
  EXPECT_THROW(writeRecord(record), std::runtime_error);
}

TEST(Store, ThatIsNotThereIsEmpty) {
  const TemporaryDirectory directory;
  EXPECT_THAT(ExceptionStore(directory.path("none")).fileNames(), ElementsAre());
}

TEST(Store, NamesWhatTheLibraryCouldTakeForRecordsInOrder) {
  const TemporaryDirectory directory;
  directory.write("b.json", "");
  directory.write("a.json", "");
  directory.write("c.txt", "");
  directory.write("set-aside/d.json", "");
  EXPECT_THAT(ExceptionStore(directory.path()).fileNames(), ElementsAre("a.json", "b.json"));
}

TEST(Store, DoesNotWaitForAPipe) {
  const TemporaryDirectory directory;
  ASSERT_EQ(0, mkfifo(directory.path("a.json").c_str(), 0600));
  EXPECT_THROW(ExceptionStore(directory.path()).read("a.json"), std::runtime_error);
}

TEST(Store, DoesNotReadWhatIsTooLarge) {
  const TemporaryDirectory directory;
  directory.write("a.json", "");
  std::filesystem::resize_file(directory.path("a.json"), maxRecordBytes + 1);
  EXPECT_THROW(ExceptionStore(directory.path()).read("a.json"), std::runtime_error);
}

TEST(Pattern, StandsForDomains) {
  EXPECT_TRUE(DomainPattern("*.Example").matches("a.b.exAMPLE"));
  EXPECT_TRUE(DomainPattern("a?c").matches("abc"));
  EXPECT_TRUE(DomainPattern("*a*b*").matches("xxaxxaxbx"));
  EXPECT_TRUE(DomainPattern("**").matches(""));
  EXPECT_TRUE(DomainPattern("abc").matches("ABC"));
}

TEST(Pattern, StandsForNothingElse) {
  EXPECT_FALSE(DomainPattern("*.example").matches("example"));
  EXPECT_FALSE(DomainPattern("a?c").matches("ac"));
  EXPECT_FALSE(DomainPattern("a").matches("ab"));
  EXPECT_FALSE(DomainPattern("*a*b").matches("ba"));
  EXPECT_FALSE(DomainPattern("*").matches({}));
}

TEST(Pattern, OfManyStarsEndsSoonWhereNothingFits) {
  std::string stars;
  for (int i = 0; i < 200; ++i) {
    stars += "*a";
  }
  EXPECT_FALSE(DomainPattern(stars + "b").matches(std::string(5000, 'a')));
}

TEST(Age, IsANumberAndAUnit) {
  EXPECT_EQ(12 * 3600, parseAge("12h"));
  EXPECT_EQ(90 * 86400, parseAge("90d"));
  EXPECT_EQ(14 * 86400, parseAge("2w"));
  EXPECT_EQ(365 * 86400, parseAge("1y"));
  EXPECT_EQ(0, parseAge("0d"));
}

TEST(Age, IsNothingElse) {
  for (const char* text :
       {"", "d", "90", "-1d", "1m", "1.5d", "1dd", " 1d", "99999999999d", "4000000000y"}) {
    EXPECT_FALSE(parseAge(text)) << text;
  }
}

TEST(Subject, IsTheOneThatIsShownElsewhere) {
  const Bytes der = CertificateMaker("a.example").organization("Ex, Ltd").make().der();
  EXPECT_EQ(viewCertificate(der).subject, readSubject(der));
}

TEST(Subject, IsReadFromAVersion1CertificateToo) {
  const Bytes der = CertificateMaker("a.example").version1().make().der();
  EXPECT_EQ(viewCertificate(der).subject, readSubject(der));
}

TEST(Subject, IsNotReadFromWhatIsNoCertificate) {
  EXPECT_FALSE(readSubject({}));
  EXPECT_FALSE(readSubject({'a', 'b', 'c'}));
  Bytes cut = CertificateMaker("a.example").make().der();
  while (!cut.empty()) {
    cut.pop_back();
    EXPECT_FALSE(readSubject(cut));
  }
}

}  // namespace
