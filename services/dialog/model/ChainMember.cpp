#include "services/dialog/model/ChainMember.h"

#include <stdexcept>

#include <openssl/err.h>

namespace {

std::string publicKeyOf(const X509* certificate) {
  unsigned char* der = nullptr;
  const int length = i2d_X509_PUBKEY(X509_get_X509_PUBKEY(certificate), &der);
  ERR_clear_error();
  if (length <= 0) throw std::runtime_error("a public key cannot be encoded");
  std::string out(reinterpret_cast<const char*>(der), static_cast<std::size_t>(length));
  OPENSSL_free(der);
  return out;
}

}  // namespace

std::vector<ChainMember> readChain(const std::vector<CertificateDer>& chain) {
  std::vector<ChainMember> members;
  for (const CertificateDer& der : chain) {
    ChainMember member{parseCertificate(der), viewCertificate(der), {}};
    member.publicKey = publicKeyOf(member.certificate.get());
    members.push_back(std::move(member));
  }
  return members;
}
