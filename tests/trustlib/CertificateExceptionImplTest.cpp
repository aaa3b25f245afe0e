#include "trustlib/CertificateExceptionImpl.h"

#include <cstdlib>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "tests/trustlib/NullDerCertificate.h"
#include "tests/trustlib/RecordHash.h"

namespace {

const std::string domain("host.test");
const std::string upperDomain("HOST.test");

TEST(CertificateExceptionImpl, RecordsMadeAlikeAreEqualAndHashAlike) {
  Chain chain{"leaf", "root"};
  const CertificateExceptionImpl first(4, &domain, chain.list());
  const CertificateExceptionImpl second(4, &domain, chain.list());
  EXPECT_TRUE(first.compare(&second));
  EXPECT_EQ(hashOf(first), hashOf(second));
}

TEST(CertificateExceptionImpl, NothingEqualsNull) {
  const CertificateExceptionImpl record(4, &domain, nullptr);
  EXPECT_FALSE(record.compare(nullptr));
}

TEST(CertificateExceptionImpl, OtherWarningsDifferInAllSixtyFourBits) {
  const CertificateExceptionImpl first(1, nullptr, nullptr);
  const CertificateExceptionImpl second(0x8000000000000001ULL, nullptr, nullptr);
  EXPECT_FALSE(first.compare(&second));
  EXPECT_NE(hashOf(first), hashOf(second));
}

TEST(CertificateExceptionImpl, DomainsThatDifferInCaseDifferInHashToo) {
  const CertificateExceptionImpl first(1, &domain, nullptr);
  const CertificateExceptionImpl second(1, &upperDomain, nullptr);
  EXPECT_FALSE(first.compare(&second));
  EXPECT_NE(hashOf(first), hashOf(second));
}

TEST(CertificateExceptionImpl, EmptyDomainHashesLikeNoneButIsNotEqual) {
  const std::string empty;
  const CertificateExceptionImpl none(1, nullptr, nullptr);
  const CertificateExceptionImpl present(1, &empty, nullptr);
  EXPECT_FALSE(none.compare(&present));
  EXPECT_FALSE(present.compare(&none));
  EXPECT_EQ(hashOf(none), hashOf(present));
}

TEST(CertificateExceptionImpl, ChainsOfOtherLengthOrderOrContentDiffer) {
  Chain chain{"leaf", "root"};
  Chain shorter{"leaf"};
  Chain reversed{"root", "leaf"};
  const CertificateExceptionImpl record(1, nullptr, chain.list());
  const CertificateExceptionImpl shorterRecord(1, nullptr, shorter.list());
  const CertificateExceptionImpl reversedRecord(1, nullptr, reversed.list());
  EXPECT_FALSE(record.compare(&shorterRecord));
  EXPECT_FALSE(record.compare(&reversedRecord));
}

TEST(CertificateExceptionImpl, BytesSplitOtherwiseHashAlikeButAreNotEqual) {
  const std::string shortDomain("host");
  Chain plain{"leaf"};
  Chain shifted{".testleaf"};
  const CertificateExceptionImpl first(1, &domain, plain.list());
  const CertificateExceptionImpl second(1, &shortDomain, shifted.list());
  EXPECT_EQ(hashOf(first), hashOf(second));
  EXPECT_FALSE(first.compare(&second));
}

TEST(CertificateExceptionImpl, HashIsSha1OverLittleEndianWarningsDomainAndDer) {
  Chain chain{"le", "af"};
  const CertificateExceptionImpl record(0x0102030405060708ULL, &domain, chain.list());
  // printf '\10\7\6\5\4\3\2\1host.testleaf' | sha1sum
  EXPECT_EQ("d7ac51de7451df55bb1ac0124214877cde420a1b", hashOf(record));
}

TEST(CertificateExceptionImpl, CloneIsEqualAndOutlivesTheOriginal) {
  Chain chain{"leaf"};
  auto original = std::make_unique<CertificateExceptionImpl>(7, &domain, chain.list());
  const std::unique_ptr<CertificateException> clone(original->clone());
  original.reset();
  const CertificateExceptionImpl same(7, &domain, chain.list());
  EXPECT_TRUE(clone->compare(&same));
}

TEST(CertificateExceptionImpl, NullDomainStaysNullAndChainIsNeverNull) {
  const CertificateExceptionImpl record(7, nullptr, nullptr);
  EXPECT_EQ(nullptr, record.getDomainName());
  ASSERT_NE(nullptr, record.getCertificateChain());
  EXPECT_TRUE(record.getCertificateChain()->empty());
}

// Clones into nothing, which is how a record may come to hold no certificate at all.
class ClonesToNull : public NullDerCertificate {
 public:
  Certificate* clone() const override { return nullptr; }
};

TEST(CertificateExceptionImpl, NullEntryContributesNothingToTheHash) {
  ClonesToNull nothing;
  Chain chain{"leaf"};
  const CertificateExceptionImpl without(1, nullptr, chain.list());
  std::list<Certificate*> mixed = {&nothing, chain.list()->front()};
  const CertificateExceptionImpl with(1, nullptr, &mixed);
  EXPECT_EQ(hashOf(without), hashOf(with));
}

TEST(CertificateExceptionImpl, NullEntryMakesARecordUnequalEvenToItsLike) {
  ClonesToNull nothing;
  const std::list<Certificate*> chain = {&nothing};
  const CertificateExceptionImpl first(1, nullptr, &chain);
  const CertificateExceptionImpl second(1, nullptr, &chain);
  EXPECT_FALSE(first.compare(&second));
}

TEST(CertificateExceptionImpl, ChainThatCannotBeClonedLeaksNothing) {
  class Unclonable : public NullDerCertificate {
    Certificate* clone() const override { throw TrustManagerException("cannot clone"); }
  };
  Unclonable unclonable;
  const CertificateImpl leaf(nullptr, 0);
  std::list<Certificate*> chain = {const_cast<CertificateImpl*>(&leaf), &unclonable};
  EXPECT_THROWS(const CertificateExceptionImpl record(1, &domain, &chain), TrustManagerException,
                "cannot clone");
}

}  // namespace
