#include "services/certmgr/stores/PemFile.h"

#include <string_view>

#include <openssl/err.h>
#include <openssl/pem.h>
#include <openssl/x509v3.h>

#include "services/certmgr/path/DerReader.h"
#include "services/common/OpenSslOwners.h"

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
  std::string bytes() const {
    return {reinterpret_cast<const char*>(data_), static_cast<std::size_t>(length_)};
  }

 private:
  char* name_ = nullptr;
  char* header_ = nullptr;
  unsigned char* data_ = nullptr;
  long length_ = 0;
};

bool names(const STACK_OF(ASN1_OBJECT) * uses, int nid) {
  for (int i = 0; i < sk_ASN1_OBJECT_num(uses); ++i) {
    if (OBJ_obj2nid(sk_ASN1_OBJECT_value(uses, i)) == nid) return true;
  }
  return false;
}

bool namesServers(const STACK_OF(ASN1_OBJECT) * uses) {
  return names(uses, NID_server_auth) || names(uses, NID_anyExtendedKeyUsage);
}

// A certificate followed by what it may be trusted for.
Anchor readTrusted(const Block& block) {
  const unsigned char* at = block.data();
  const X509Ptr known(d2i_X509_AUX(nullptr, &at, block.length()));
  if (known == nullptr) throw DerError("the trust settings cannot be read");
  const std::string bytes = block.bytes();
  Anchor anchor{ParsedCertificate::parse(std::string(DerReader(bytes).take().whole)), {}};
  const STACK_OF(ASN1_OBJECT)* trusted = X509_get0_trust_objects(known.get());
  const bool isRefused = namesServers(X509_get0_reject_objects(known.get()));
  const bool isForOthers = sk_ASN1_OBJECT_num(trusted) > 0 && !namesServers(trusted);
  if (isRefused || isForOthers) {
    anchor.use = Anchor::Use::refused;
  } else if (namesServers(trusted)) {
    anchor.use = Anchor::Use::server;
  }
  return anchor;
}

void take(const Block& block, PemContent& content) {
  try {
    if (block.name() == PEM_STRING_X509_CRL) {
      content.revocationLists.push_back(RevocationList::parse(block.bytes()));
    } else if (block.name() == PEM_STRING_X509 || block.name() == PEM_STRING_X509_OLD) {
      content.anchors.push_back({ParsedCertificate::parse(block.bytes()), {}});
    } else if (block.name() == PEM_STRING_X509_TRUSTED) {
      content.anchors.push_back(readTrusted(block));
    }  // else a key, say: none of our business
  } catch (const DerError&) {
    content.damaged = true;
  }
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
