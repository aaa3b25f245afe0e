#include "services/certmgr/path/RevocationList.h"

#include <string>
#include <string_view>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/certmgr/path/DerReader.h"
#include "tests/services/certmgr/path/ListMaker.h"
#include "tests/services/certmgr/path/MadeCertificate.h"

namespace {

using namespace std::string_view_literals;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

constexpr std::string_view kUnknown = "\x2a\x03"sv;
constexpr std::string_view kNull = "\x05\x00"sv;

class RevocationListTest : public testing::Test {
 protected:
  const TestCertificate root = CertificateMaker("Root").asCa().make();
  const TestCertificate other = CertificateMaker("Other").asCa().make();
  const std::string indirect = derElement(DerReader::context(4), "\xff");
};

TEST_F(RevocationListTest, HasItsFields) {
  const auto list = ListMaker(root).number(7).make();
  EXPECT_EQ("CN=Root", list->issuer.text());
  EXPECT_EQ(1577836800, list->thisUpdate);
  EXPECT_EQ(1893455999, list->nextUpdate);
  EXPECT_EQ("\x07", list->number);
  EXPECT_FALSE(list->baseNumber);
  EXPECT_FALSE(list->issuingPoint);
  EXPECT_THAT(list->notUnderstood, IsEmpty());
}

TEST_F(RevocationListTest, ReadsWhatOpenSslWrites) {
  const TestCertificate leaf = CertificateMaker("Leaf").serial({0x80, 7}).issuedBy(root).make();
  const Bytes der = CrlMaker(root).revoke(leaf).der();
  const auto list = RevocationList::parse({der.begin(), der.end()});
  EXPECT_THAT(list->find("\x00\x80\x07"sv), SizeIs(1));
}

TEST_F(RevocationListTest, FindsEntriesThatAreNotSorted) {
  const auto list =
      ListMaker(root).revoke("\x05").revoke("\x01").revoke("\x01\x02").revoke("\x03").make();
  EXPECT_EQ(4U, list->entryCount());
  EXPECT_THAT(list->find("\x01\x02"), SizeIs(1));
  EXPECT_THAT(list->find("\x05"), SizeIs(1));
}

TEST_F(RevocationListTest, DoesNotFindWhatIsNotThere) {
  EXPECT_THAT(ListMaker(root).revoke("\x05").revoke("\x07").make()->find("\x06"), IsEmpty());
}

TEST_F(RevocationListTest, EmptyListHoldsNothing) {
  EXPECT_THAT(ListMaker(root).make()->find("\x06"), IsEmpty());
}

TEST_F(RevocationListTest, SuperfluousZeroMakesNoOtherSerialNumber) {
  EXPECT_THAT(ListMaker(root).revoke("\x06").make()->find("\x00\x06"sv), SizeIs(1));
}

TEST_F(RevocationListTest, NegativeSerialNumberIsAnotherOne) {
  EXPECT_THAT(ListMaker(root).revoke("\xff").make()->find("\x00\xff"sv), IsEmpty());
}

TEST_F(RevocationListTest, EntryHasItsDateAndReason) {
  const auto entries = ListMaker(root).revoke("\x05", 1).make()->find("\x05");
  ASSERT_THAT(entries, SizeIs(1));
  EXPECT_EQ(1609459200, entries[0].date);
  EXPECT_EQ(1U, entries[0].reason);
  EXPECT_THAT(entries[0].issuers, IsEmpty());
}

TEST_F(RevocationListTest, EntriesOfOneSerialNumberKeepTheirOrder) {
  const auto entries =
      ListMaker(root).revoke("\x05", 6).revoke("\x02").revoke("\x05", 8).make()->find("\x05");
  ASSERT_THAT(entries, SizeIs(2));
  EXPECT_EQ(6U, entries[0].reason);
  EXPECT_EQ(8U, entries[1].reason);
}

TEST_F(RevocationListTest, CertificateIssuerHoldsForTheEntriesThatFollow) {
  const auto list = ListMaker(root)
                        .scope(indirect)
                        .revoke("\x01")
                        .revoke("\x02", certificateIssuer(other))
                        .revoke("\x03")
                        .make();
  EXPECT_THAT(list->find("\x01").at(0).issuers, IsEmpty());
  EXPECT_THAT(list->find("\x03").at(0).issuers, ElementsAre(DistinguishedName(subjectOf(other))));
}

TEST_F(RevocationListTest, ListOfChangesNamesItsBase) {
  EXPECT_EQ("\x03", ListMaker(root).changesTo(3).make()->baseNumber);
}

TEST_F(RevocationListTest, ScopeIsRead) {
  const std::string name = derElement(DerReader::context(6), "http://a.example/1");
  const auto list = ListMaker(root)
                        .scope(derElement(DerReader::context(0, true),
                                          derElement(DerReader::context(0, true), name)) +
                               derElement(DerReader::context(1), "\xff"))
                        .make();
  ASSERT_TRUE(list->issuingPoint);
  EXPECT_EQ("http://a.example/1", list->issuingPoint->names.at(0).bytes);
  EXPECT_TRUE(list->issuingPoint->onlyUserCertificates);
  EXPECT_FALSE(list->issuingPoint->isIndirect);
}

// What makes a list prove nothing.

TEST_F(RevocationListTest, UnknownCriticalExtensionIsNotUnderstood) {
  EXPECT_THAT(ListMaker(root).extension(kUnknown, true, kNull).make()->notUnderstood,
              ElementsAre("critical extension 1.2.3"));
}

TEST_F(RevocationListTest, UnknownExtensionDoesNoHarm) {
  EXPECT_THAT(ListMaker(root).extension(kUnknown, false, kNull).make()->notUnderstood, IsEmpty());
}

TEST_F(RevocationListTest, UnknownCriticalExtensionOfAnEntryIsNotUnderstood) {
  EXPECT_THAT(
      ListMaker(root).revoke("\x01", extensionDer(kUnknown, true, kNull)).make()->notUnderstood,
      ElementsAre("critical extension 1.2.3 of an entry"));
}

TEST_F(RevocationListTest, UnknownExtensionOfAnEntryDoesNoHarm) {
  EXPECT_THAT(
      ListMaker(root).revoke("\x01", extensionDer(kUnknown, false, kNull)).make()->notUnderstood,
      IsEmpty());
}

TEST_F(RevocationListTest, CertificateOfAnotherIssuerNeedsAnIndirectList) {
  EXPECT_THAT(ListMaker(root).revoke("\x01", certificateIssuer(other)).make()->notUnderstood,
              ElementsAre("certificates of others on a list that is not for them"));
}

TEST_F(RevocationListTest, ExtensionThatIsThereTwiceIsNotUnderstood) {
  EXPECT_THAT(ListMaker(root).number(1).number(2).make()->notUnderstood,
              ElementsAre("2.5.29.20 is there twice"));
}

TEST_F(RevocationListTest, NegativeNumberIsNotUnderstood) {
  EXPECT_THAT(ListMaker(root).number(0xff).make()->notUnderstood,
              ElementsAre("2.5.29.20: an INTEGER is negative"));
}

TEST_F(RevocationListTest, ExtensionsInAnOlderVersionAreNotUnderstood) {
  EXPECT_THAT(ListMaker(root).version({}).number(1).make()->notUnderstood,
              ElementsAre("extensions without a version"));
}

TEST_F(RevocationListTest, OlderVersionIsUnderstood) {
  EXPECT_THAT(ListMaker(root).version({}).make()->notUnderstood, IsEmpty());
}

TEST_F(RevocationListTest, LaterVersionIsNotUnderstood) {
  EXPECT_THAT(ListMaker(root).version(2).make()->notUnderstood, ElementsAre("an unknown version"));
}

TEST_F(RevocationListTest, TimeThatIsNoneIsNone) {
  EXPECT_FALSE(ListMaker(root).nextUpdate("291331235959Z").make()->nextUpdate);
}

// What is no list.

TEST_F(RevocationListTest, BytesAfterTheListAreRefused) {
  EXPECT_THROW(RevocationList::parse(ListMaker(root).der() + '\0'), DerError);
}

TEST_F(RevocationListTest, ListThatIsCutIsRefused) {
  const std::string der = ListMaker(root).revoke("\x01").der();
  EXPECT_THROW(RevocationList::parse(der.substr(0, der.size() - 1)), DerError);
}

TEST_F(RevocationListTest, CertificateIsRefused) {
  EXPECT_THROW(RevocationList::parse(root.derString()), DerError);
}

TEST_F(RevocationListTest, EntryWithoutADateIsRefused) {
  EXPECT_THROW(ListMaker(root).entry(derElement(DerReader::kInteger, "\x01")).make(), DerError);
}

TEST_F(RevocationListTest, EntryWithAnEmptySerialNumberIsRefused) {
  EXPECT_THROW(ListMaker(root).revoke("").make(), DerError);
}

TEST_F(RevocationListTest, EntryOfAnIssuerWithoutANameIsRefused) {
  const std::string uri = derElement(DerReader::context(6), "http://a.example/");
  const std::string names = derElement(DerReader::kSequence, uri);
  EXPECT_THROW(ListMaker(root)
                   .scope(indirect)
                   .revoke("\x01", extensionDer("\x55\x1d\x1d", true, names))
                   .make(),
               DerError);
}

// Numbers.

TEST(ListNumbers, AreComparedByTheirValue) {
  EXPECT_TRUE(isLowerNumber("\x7f", "\x00\x80"sv));
  EXPECT_TRUE(isLowerNumber("\x01", "\x02"));
  EXPECT_TRUE(isLowerNumber("\x00\xff"sv, "\x01\x00"sv));
}

TEST(ListNumbers, OneIsNotLowerThanItself) {
  EXPECT_FALSE(isLowerNumber("\x05", "\x05"));
}

TEST(ListNumbers, HigherOneIsNotLower) {
  EXPECT_FALSE(isLowerNumber("\x01\x00"sv, "\x00\xff"sv));
}

}  // namespace
