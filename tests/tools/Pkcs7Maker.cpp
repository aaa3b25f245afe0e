#include "tests/tools/Pkcs7Maker.h"

#include <memory>
#include <stdexcept>

#include <openssl/bio.h>
#include <openssl/pem.h>
#include <openssl/pkcs7.h>

namespace {

std::string encode(const std::vector<TestCertificate>& certificates, bool pem) {
  const std::unique_ptr<PKCS7, decltype(&PKCS7_free)> bag(PKCS7_new(), PKCS7_free);
  const std::unique_ptr<BIO, decltype(&BIO_free_all)> out(BIO_new(BIO_s_mem()), BIO_free_all);
  bool worked = PKCS7_set_type(bag.get(), NID_pkcs7_signed) == 1 &&
                PKCS7_content_new(bag.get(), NID_pkcs7_data) == 1;
  for (const TestCertificate& certificate : certificates) {
    worked = worked && PKCS7_add_certificate(bag.get(), certificate.get()) == 1;
  }
  worked = worked && (pem ? PEM_write_bio_PKCS7(out.get(), bag.get())
                          : i2d_PKCS7_bio(out.get(), bag.get())) == 1;
  if (!worked) {
    throw std::runtime_error("no PKCS#7 bag can be made");
  }
  char* data = nullptr;
  const long length = BIO_get_mem_data(out.get(), &data);
  return {data, static_cast<std::size_t>(length)};
}

}  // namespace

std::string pkcs7Der(const std::vector<TestCertificate>& certificates) {
  return encode(certificates, false);
}

std::string pkcs7Pem(const std::vector<TestCertificate>& certificates) {
  return encode(certificates, true);
}
