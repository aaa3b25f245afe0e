#include "services/certmgr/stores/PemFile.h"

#include <string>

#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/x509.h>

#include "services/common/OpenSslOwners.h"
#include "tests/support/CertificateMaker.h"

namespace {

using ObjectPtr = OpenSslOwner<ASN1_OBJECT, ASN1_OBJECT_free>;

class TrustSettings : public testing::Test {
 protected:
  // A "TRUSTED CERTIFICATE" block with what was added to the certificate.
  Anchor::Use useOf(const char* trusted, const char* rejected) {
    const TestCertificate root = CertificateMaker("Root").asCa().make();
    const ObjectPtr trust(OBJ_txt2obj(trusted, 0));
    const ObjectPtr reject(OBJ_txt2obj(rejected, 0));
    if (trust != nullptr) X509_add1_trust_object(root.get(), trust.get());
    if (reject != nullptr) X509_add1_reject_object(root.get(), reject.get());
    const BioPtr bio(BIO_new(BIO_s_mem()));
    PEM_write_bio_X509_AUX(bio.get(), root.get());
    char* pem = nullptr;
    const long length = BIO_get_mem_data(bio.get(), &pem);
    const PemContent content = readPem({pem, static_cast<std::size_t>(length)});
    EXPECT_EQ(root.derString(), content.anchors.at(0).certificate->der);
    return content.anchors.at(0).use;
  }
};

TEST_F(TrustSettings, NamingServersAllowThem) {
  EXPECT_EQ(Anchor::Use::server, useOf("serverAuth", ""));
}

TEST_F(TrustSettings, NamingOthersOnlyRefuseServers) {
  EXPECT_EQ(Anchor::Use::refused, useOf("emailProtection", ""));
}

TEST_F(TrustSettings, RejectingServersRefuseThem) {
  EXPECT_EQ(Anchor::Use::refused, useOf("serverAuth", "serverAuth"));
}

TEST_F(TrustSettings, RejectingAllUsesRefuseServers) {
  EXPECT_EQ(Anchor::Use::refused, useOf("", "anyExtendedKeyUsage"));
}

TEST_F(TrustSettings, RejectingOthersSayNothingOfServers) {
  EXPECT_EQ(Anchor::Use::unrestricted, useOf("", "emailProtection"));
}

TEST(PemFile, DamagedBlockCostsNobodyTheOthers) {
  const std::string root = CertificateMaker("Root").asCa().make().pem();
  const PemContent content =
      readPem("-----BEGIN CERTIFICATE-----\nAAAA\n-----END CERTIFICATE-----\n" + root);
  EXPECT_TRUE(content.damaged);
  EXPECT_EQ(1U, content.anchors.size());
}

}  // namespace
