#include "services/certmgr/PemFile.h"

#include <string_view>
#include <utility>

#include <openssl/err.h>
#include <openssl/pem.h>

namespace {

// One block as OpenSSL hands it out.
class Block {
 public:
  Block() = default;
  ~Block() {
    OPENSSL_free(name_);
    OPENSSL_free(header_);
    OPENSSL_free(data_);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  bool read(BIO* bio) { return PEM_read_bio(bio, &name_, &header_, &data_, &length_) == 1; }

  std::string_view name() const { return name_; }
  const unsigned char* data() const { return data_; }
  long length() const { return length_; }

 private:
  char* name_ = nullptr;
  char* header_ = nullptr;
  unsigned char* data_ = nullptr;
  long length_ = 0;
};

void take(const Block& block, PemContent& content) {
  const unsigned char* at = block.data();
  if (block.name() == PEM_STRING_X509_CRL) {
    X509CrlPtr list(d2i_X509_CRL(nullptr, &at, block.length()));
    content.damaged |= list == nullptr;
    if (list != nullptr) content.revocationLists.push_back(std::move(list));
    return;
  }
  X509Ptr certificate;
  if (block.name() == PEM_STRING_X509 || block.name() == PEM_STRING_X509_OLD) {
    certificate.reset(d2i_X509(nullptr, &at, block.length()));
  } else if (block.name() == PEM_STRING_X509_TRUSTED) {
    certificate.reset(d2i_X509_AUX(nullptr, &at, block.length()));
  } else {
    return;  // a key, say: none of our business
  }
  content.damaged |= certificate == nullptr;
  if (certificate != nullptr) content.certificates.push_back(std::move(certificate));
}

bool atEnd() {
  const unsigned long error = ERR_peek_last_error();
  return ERR_GET_LIB(error) == ERR_LIB_PEM && ERR_GET_REASON(error) == PEM_R_NO_START_LINE;
}

}  // namespace

PemContent readPem(const std::string& text) {
  PemContent content;
  const BioPtr bio(BIO_new_mem_buf(text.data(), static_cast<int>(text.size())));
  while (bio != nullptr) {
    ERR_clear_error();
    const auto left = BIO_ctrl_pending(bio.get());
    Block block;
    if (block.read(bio.get())) {
      take(block, content);
      continue;
    }
    if (atEnd()) break;
    content.damaged = true;
    if (BIO_ctrl_pending(bio.get()) == left) break;  // nothing was read: it would not end
  }
  ERR_clear_error();
  return content;
}
