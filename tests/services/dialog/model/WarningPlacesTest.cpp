#include "services/dialog/model/WarningPlaces.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/services/dialog/model/ModelReading.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Warning = CertificateWarnings;

TestCertificate root() {
  return CertificateMaker("Root").asCa().make();
}
CertificateMaker interBy(const TestCertificate& issuer) {
  return CertificateMaker("Inter").asCa().issuedBy(issuer);
}
CertificateMaker leafBy(const TestCertificate& issuer) {
  return CertificateMaker("a.example").asServer().dns("a.example").issuedBy(issuer);
}

// The numbers of the certificates that show the warning, as people count them.
std::vector<std::size_t> placesOf(const std::vector<TestCertificate>& chain,
                                  unsigned long long warnings,
                                  const std::string& domain = "a.example",
                                  std::int64_t now = kNow) {
  std::vector<std::size_t> numbers;
  for (const WarningPlace& place :
       findWarningPlaces(readChain(ders(chain)), domain, warnings, now)) {
    EXPECT_FALSE(place.reason.empty());
    numbers.push_back(place.certificate + 1);
  }
  return numbers;
}

TEST(WarningPlaces, OfAFlawlessChainAreOnlyItsEnd) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, 0x3fff), ElementsAre(3));
}

TEST(WarningPlaces, OfWarningsThatAreNotSetAreNone) {
  EXPECT_THAT(placesOf({CertificateMaker("x").make()}, 0), IsEmpty());
}

TEST(WarningPlaces, RevocationHasNoneSinceNoCertificateShowsIt) {
  const TestCertificate r = root();
  EXPECT_THAT(placesOf({leafBy(r).make(), r}, Warning::REVOKED), IsEmpty());
}

TEST(WarningPlaces, UncriticalConstraintsAreOnTheAuthority) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).basicConstraints("CA:TRUE").make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::BC_NOT_CRITICAL), ElementsAre(2));
}

TEST(WarningPlaces, TheFormOfAnAnchorIsSparedBesideAnIntermediate) {
  const TestCertificate r = CertificateMaker("Root").make();
  const TestCertificate i = CertificateMaker("Inter").issuedBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::KU_MISSING), ElementsAre(2));
}

TEST(WarningPlaces, TheFormOfAnUntrustedEndIsNotSpared) {
  const TestCertificate r = CertificateMaker("Root").make();
  const TestCertificate i = CertificateMaker("Inter").issuedBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::BC_MISSING | Warning::NO_TRUSTED),
              ElementsAre(2, 3, 3));
}

TEST(WarningPlaces, APathThatIsTooLongIsOnWhoForbidsIt) {
  const TestCertificate r = CertificateMaker("Root").asCa(0).make();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::BC_PATH_LENGTH), ElementsAre(3));
}

TEST(WarningPlaces, APathOfJustTheAllowedLengthIsNotOne) {
  const TestCertificate r = CertificateMaker("Root").asCa(1).make();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::BC_PATH_LENGTH), IsEmpty());
}

TEST(WarningPlaces, AnUnknownCriticalExtensionIsWhereItStands) {
  const TestCertificate r = root();
  EXPECT_THAT(placesOf({leafBy(r).unknownExtension(true).make(), r}, Warning::UNKNOWN_CRITICAL_EXT),
              ElementsAre(1));
}

TEST(WarningPlaces, AnUnknownExtensionThatIsNotCriticalIsNotOne) {
  const TestCertificate r = root();
  EXPECT_THAT(
      placesOf({leafBy(r).unknownExtension(false).make(), r}, Warning::UNKNOWN_CRITICAL_EXT),
      IsEmpty());
}

TEST(WarningPlaces, ExpiryIsOnEveryCertificateOutsideItsValidity) {
  const TestCertificate r = CertificateMaker("Root").asCa().notAfter("20210101000000Z").make();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).notBefore("20300101000000Z").make(), i, r}, Warning::CERT_EXPIRY),
              ElementsAre(1, 3));
}

TEST(WarningPlaces, ExpiryIsOnAValidityThatCannotBeRead) {
  EXPECT_THAT(
      placesOf({CertificateMaker("a.example").malformedNotAfter().make()}, Warning::CERT_EXPIRY),
      ElementsAre(1));
}

TEST(WarningPlaces, TheLastSecondOfValidityIsInside) {
  const TestCertificate c = CertificateMaker("x").notAfter("20260601000000Z").make();
  EXPECT_THAT(placesOf({c}, Warning::CERT_EXPIRY, "x", kNow), IsEmpty());
  EXPECT_THAT(placesOf({c}, Warning::CERT_EXPIRY, "x", kNow + 1), ElementsAre(1));
}

TEST(WarningPlaces, KeyUsageIsMissedInAuthoritiesOnly) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).keyUsage("").make();
  EXPECT_THAT(placesOf({leafBy(i).keyUsage("").make(), i, r}, Warning::KU_MISSING), ElementsAre(2));
}

TEST(WarningPlaces, AWrongUseIsOnALeafThatIsNoServer) {
  const TestCertificate r = root();
  EXPECT_THAT(placesOf({leafBy(r).extendedKeyUsage("clientAuth").make(), r}, Warning::KU_INVALID),
              ElementsAre(1));
}

TEST(WarningPlaces, AWrongUseIsOnAnAuthorityThatMayNotSign) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).keyUsage("critical,digitalSignature").make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::KU_INVALID), ElementsAre(2));
}

TEST(WarningPlaces, AWrongUseIsOnAnAuthorityForOtherThings) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).extendedKeyUsage("emailProtection").make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::KU_INVALID), ElementsAre(2));
}

TEST(WarningPlaces, MissingConstraintsAreOnTheIssuer) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).basicConstraints("").make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::BC_MISSING), ElementsAre(2));
}

TEST(WarningPlaces, AnIssuerThatIsNoAuthorityIsTheOneThatSaysSo) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).basicConstraints("critical,CA:FALSE").make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::BC_NOT_CA), ElementsAre(2));
}

TEST(WarningPlaces, AChainWithoutATrustedRootEndsAtItsLast) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i}, Warning::NO_TRUSTED), ElementsAre(2));
}

TEST(WarningPlaces, ASignatureByAnotherKeyIsOnWhatBearsIt) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(
      placesOf({leafBy(i).signedWith(TestKey::makeEc()).make(), i, r}, Warning::INVALID_SIGNATURE),
      ElementsAre(1));
}

TEST(WarningPlaces, ASignatureTooWeakIsOnWhatBearsIt) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).digest("SHA1").make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::INVALID_SIGNATURE), ElementsAre(2));
}

TEST(WarningPlaces, AKeyTooWeakIsOnItsOwner) {
  const TestCertificate r = root();
  EXPECT_THAT(
      placesOf({leafBy(r).key(TestKey::makeRsa(1024)).make(), r}, Warning::INVALID_SIGNATURE),
      ElementsAre(1));
}

TEST(WarningPlaces, AForeignNameIsOnWhatBearsIt) {
  const TestCertificate r =
      CertificateMaker("Root").asCa().nameConstraints("critical,permitted;DNS:b.example").make();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).make(), i, r}, Warning::NAME_CONSTRAINTS), ElementsAre(1));
}

TEST(WarningPlaces, ANameOfTheTerritoryIsNotForeign) {
  const TestCertificate r =
      CertificateMaker("Root").asCa().nameConstraints("critical,permitted;DNS:example").make();
  EXPECT_THAT(placesOf({leafBy(r).make(), r}, Warning::NAME_CONSTRAINTS), IsEmpty());
}

TEST(WarningPlaces, AnIssuerOfAnotherNameIsOnWhoNamesIt) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).make();
  EXPECT_THAT(placesOf({leafBy(i).issuerCommonName("Other").make(), i, r}, Warning::INVALID_ISSUER),
              ElementsAre(1));
}

TEST(WarningPlaces, AnIssuerOfAnotherKeyIdentifierIsOnWhoNamesIt) {
  const TestCertificate r = root();
  const TestCertificate i = interBy(r).subjectKeyId({1, 2}).make();
  EXPECT_THAT(placesOf({leafBy(i).authorityKeyId({3, 4}).make(), i, r}, Warning::INVALID_ISSUER),
              ElementsAre(1));
}

TEST(WarningPlaces, AnotherDomainIsOnTheLeaf) {
  const TestCertificate r = root();
  EXPECT_THAT(placesOf({leafBy(r).make(), r}, Warning::DOMAINNAME_MISMATCH, "b.example"),
              ElementsAre(1));
}

TEST(WarningPlaces, ADomainThatDoesFitIsNotClaimedToBeAnother) {
  const TestCertificate r = root();
  EXPECT_THAT(placesOf({leafBy(r).make(), r}, Warning::DOMAINNAME_MISMATCH), IsEmpty());
}

TEST(WarningPlaces, WithoutADomainNothingIsSaidOfIt) {
  const auto chain = readChain({CertificateMaker("x").make().der()});
  EXPECT_TRUE(findWarningPlaces(chain, std::nullopt, Warning::DOMAINNAME_MISMATCH, kNow).empty());
}

TEST(WarningPlaces, TellsHowFarOutside) {
  const CertificateView view =
      viewCertificate(CertificateMaker("x").notAfter("20260520000000Z").make().der());
  EXPECT_EQ("it expired 12 days ago", whyNotValid(view, kNow));
  EXPECT_EQ("it is not valid yet, only in 5 days", whyNotValid(view, *view.notBefore - 5 * kDay));
  EXPECT_EQ("", whyNotValid(view, *view.notBefore));
}

}  // namespace
