#include "tests/services/certmgr/path/ListMaker.h"

#include <stdexcept>

#include <openssl/evp.h>

#include "services/certmgr/path/DerReader.h"
#include "tests/services/certmgr/path/MadeCertificate.h"

namespace {

using namespace std::string_view_literals;

std::string numberDer(unsigned number) {
  return derElement(DerReader::kInteger, std::string(1, static_cast<char>(number)));
}

// ecdsa-with-SHA256
std::string algorithmDer() {
  return derElement(DerReader::kSequence,
                    derElement(DerReader::kOid, "\x2a\x86\x48\xce\x3d\x04\x03\x02"sv));
}

std::string sign(const std::string& content, const TestKey& key) {
  const OpenSslOwner<EVP_MD_CTX, EVP_MD_CTX_free> context(EVP_MD_CTX_new());
  unsigned char signature[256];
  std::size_t length = sizeof signature;
  if (context == nullptr ||
      EVP_DigestSignInit(context.get(), nullptr, EVP_sha256(), nullptr, key.get()) != 1 ||
      EVP_DigestSign(context.get(), signature, &length,
                     reinterpret_cast<const unsigned char*>(content.data()), content.size()) != 1) {
    throw std::runtime_error("ListMaker: cannot sign");
  }
  return {reinterpret_cast<const char*>(signature), length};
}

}  // namespace

std::string extensionDer(std::string_view oid, bool critical, std::string_view value) {
  std::string content = derElement(DerReader::kOid, oid);
  if (critical) content += derElement(DerReader::kBoolean, "\xff");
  content += derElement(DerReader::kOctetString, value);
  return derElement(DerReader::kSequence, content);
}

std::string certificateIssuer(const TestCertificate& issuer) {
  const std::string name = derElement(DerReader::context(4, true), subjectOf(issuer));
  return extensionDer("\x55\x1d\x1d", true, derElement(DerReader::kSequence, name));
}

std::string subjectOf(const TestCertificate& certificate) {
  return ParsedCertificate::parse(certificate.derString())->subject.der();
}

ListMaker::ListMaker(const TestCertificate& issuer)
    : issuer_(subjectOf(issuer)), key_(issuer.key()) {}

ListMaker& ListMaker::entry(std::string_view content) {
  entries_ += derElement(DerReader::kSequence, content);
  return *this;
}

ListMaker& ListMaker::revoke(std::string_view serial, std::string_view extensions) {
  std::string content = derElement(DerReader::kInteger, serial);
  content += derElement(DerReader::kUtcTime, "210101000000Z");
  if (!extensions.empty()) content += derElement(DerReader::kSequence, extensions);
  return entry(content);
}

ListMaker& ListMaker::revoke(std::string_view serial, unsigned reason) {
  const std::string value =
      derElement(DerReader::kEnumerated, std::string(1, static_cast<char>(reason)));
  return revoke(serial, extensionDer("\x55\x1d\x15", false, value));
}

ListMaker& ListMaker::extension(std::string_view oid, bool critical, std::string_view value) {
  extensions_ += extensionDer(oid, critical, value);
  return *this;
}

ListMaker& ListMaker::number(unsigned number) {
  return extension("\x55\x1d\x14", false, numberDer(number));
}

ListMaker& ListMaker::changesTo(unsigned baseNumber) {
  return extension("\x55\x1d\x1b", true, numberDer(baseNumber));
}

ListMaker& ListMaker::scope(std::string_view content) {
  return extension("\x55\x1d\x1c", true, derElement(DerReader::kSequence, content));
}

ListMaker& ListMaker::thisUpdate(std::string_view utcTime) {
  thisUpdate_ = utcTime;
  return *this;
}

ListMaker& ListMaker::nextUpdate(std::string_view utcTime) {
  nextUpdate_ = utcTime;
  return *this;
}

ListMaker& ListMaker::version(std::optional<unsigned> value) {
  version_ = value;
  return *this;
}

ListMaker& ListMaker::signedWith(const TestKey& key) {
  key_ = key;
  return *this;
}

std::string ListMaker::der() const {
  std::string content;
  if (version_) content += numberDer(*version_);
  content += algorithmDer() + issuer_ + derElement(DerReader::kUtcTime, thisUpdate_);
  if (!nextUpdate_.empty()) content += derElement(DerReader::kUtcTime, nextUpdate_);
  if (!entries_.empty()) content += derElement(DerReader::kSequence, entries_);
  if (!extensions_.empty()) {
    content +=
        derElement(DerReader::context(0, true), derElement(DerReader::kSequence, extensions_));
  }
  const std::string fields = derElement(DerReader::kSequence, content);
  const std::string signature = std::string(1, '\0') + sign(fields, key_);
  return derElement(DerReader::kSequence,
                    fields + algorithmDer() + derElement(DerReader::kBitString, signature));
}

RevocationListPtr ListMaker::make() const {
  return RevocationList::parse(der());
}
