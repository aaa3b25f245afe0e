#include "tests/tools/connect/OcspMaker.h"

#include <stdexcept>

#include <openssl/asn1.h>
#include <openssl/ocsp.h>

#include "services/common/OpenSslOwners.h"

namespace {

using BasicPtr = OpenSslOwner<OCSP_BASICRESP, OCSP_BASICRESP_free>;
using ResponsePtr = OpenSslOwner<OCSP_RESPONSE, OCSP_RESPONSE_free>;
using CertIdPtr = OpenSslOwner<OCSP_CERTID, OCSP_CERTID_free>;
using TimePtr = OpenSslOwner<ASN1_GENERALIZEDTIME, ASN1_GENERALIZEDTIME_free>;

void require(bool worked) {
  if (!worked) {
    throw std::runtime_error("OcspMaker: OpenSSL refuses");
  }
}

// Null for the empty text.
TimePtr timeOf(const std::string& text) {
  if (text.empty()) {
    return nullptr;
  }
  TimePtr time(ASN1_GENERALIZEDTIME_new());
  require(time && ASN1_GENERALIZEDTIME_set_string(time.get(), text.c_str()) == 1);
  return time;
}

Bytes encode(OCSP_RESPONSE* response) {
  unsigned char* bytes = nullptr;
  const int length = i2d_OCSP_RESPONSE(response, &bytes);
  require(length > 0);
  Bytes der(bytes, bytes + length);
  OPENSSL_free(bytes);
  return der;
}

}  // namespace

OcspMaker& OcspMaker::revoked(const std::string& time) {
  status_ = V_OCSP_CERTSTATUS_REVOKED;
  revokedAt_ = time;
  return *this;
}

OcspMaker& OcspMaker::unknown() {
  status_ = V_OCSP_CERTSTATUS_UNKNOWN;
  return *this;
}

OcspMaker& OcspMaker::nextUpdate(const std::string& time) {
  nextUpdate_ = time;
  return *this;
}

OcspMaker& OcspMaker::signedBy(const TestCertificate& signer) {
  signer_ = signer;
  return *this;
}

Bytes OcspMaker::der() const {
  const BasicPtr basic(OCSP_BASICRESP_new());
  const CertIdPtr id(OCSP_cert_to_id(EVP_sha1(), certificate_.get(), issuer_.get()));
  const TimePtr revoked = timeOf(revokedAt_);
  const TimePtr from = timeOf("20200101000000Z");
  const TimePtr to = timeOf(nextUpdate_);
  require(basic && id &&
          OCSP_basic_add1_status(basic.get(), id.get(), status_, OCSP_REVOKED_STATUS_NOSTATUS,
                                 revoked.get(), from.get(), to.get()) != nullptr &&
          OCSP_basic_sign(basic.get(), signer_.get(), signer_.key().get(), EVP_sha256(), nullptr,
                          0) == 1);
  const ResponsePtr response(OCSP_response_create(OCSP_RESPONSE_STATUS_SUCCESSFUL, basic.get()));
  require(response != nullptr);
  return encode(response.get());
}

Bytes ocspTryLater() {
  const ResponsePtr response(OCSP_response_create(OCSP_RESPONSE_STATUS_TRYLATER, nullptr));
  require(response != nullptr);
  return encode(response.get());
}
