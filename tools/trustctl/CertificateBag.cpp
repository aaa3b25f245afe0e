#include "tools/trustctl/CertificateBag.h"

#include <algorithm>
#include <iterator>

#include <openssl/err.h>
#include <openssl/objects.h>
#include <openssl/pkcs7.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

#include "services/common/OpenSslOwners.h"

namespace {

bool issuedAnother(X509* candidate, const std::vector<X509*>& all) {
  return std::any_of(all.begin(), all.end(), [candidate](X509* other) {
    return other != candidate && X509_cmp(other, candidate) != 0 &&
           X509_check_issued(candidate, other) == X509_V_OK;
  });
}

std::vector<X509*>::iterator findLeaf(std::vector<X509*>* all) {
  auto isLast = [all](X509* one) { return !issuedAnother(one, *all); };
  const auto server = std::find_if(all->begin(), all->end(), [isLast](X509* one) {
    return isLast(one) && X509_check_ca(one) == 0;
  });
  return server != all->end() ? server : std::find_if(all->begin(), all->end(), isLast);
}

CertificateDer encode(X509* certificate) {
  const int length = i2d_X509(certificate, nullptr);
  CertificateDer der(static_cast<std::size_t>(std::max(length, 0)));
  unsigned char* end = der.data();
  i2d_X509(certificate, &end);
  return der;
}

}  // namespace

std::optional<std::vector<CertificateDer>> readCertificateBag(const unsigned char* bytes,
                                                              std::size_t length) {
  const unsigned char* end = bytes;
  const OpenSslOwner<PKCS7, PKCS7_free> bag(d2i_PKCS7(nullptr, &end, static_cast<long>(length)));
  ERR_clear_error();
  if (bag == nullptr || end != bytes + length || OBJ_obj2nid(bag->type) != NID_pkcs7_signed ||
      bag->d.sign == nullptr) {
    return {};
  }
  std::vector<X509*> all;  // borrowed from the bag
  all.reserve(static_cast<std::size_t>(std::max(sk_X509_num(bag->d.sign->cert), 0)));
  for (int i = 0; i < sk_X509_num(bag->d.sign->cert); ++i) {
    all.push_back(sk_X509_value(bag->d.sign->cert, i));
  }
  // The search compares each with each, and more than may come are refused anyway.
  if (all.size() <= maxCertificates) {
    const auto leaf = findLeaf(&all);
    if (leaf != all.end()) {
      std::rotate(all.begin(), leaf, leaf + 1);
    }
  }
  std::vector<CertificateDer> chain;
  std::transform(all.begin(), all.end(), std::back_inserter(chain), encode);
  ERR_clear_error();
  return chain;
}
