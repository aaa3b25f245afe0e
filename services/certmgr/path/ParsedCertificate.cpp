#include "services/certmgr/path/ParsedCertificate.h"

#include "services/certmgr/path/CertificateExtensions.h"
#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/DerTime.h"
#include "services/certmgr/path/Digest.h"

namespace {

constexpr unsigned kVersion3 = 3;

// One with odd bits is left empty: no signature is, so it does not verify.
std::string_view signatureOf(std::string_view bitString) {
  if (bitString.empty()) throw DerError("the signature is missing");
  return bitString.front() == 0 ? bitString.substr(1) : std::string_view();
}

unsigned takeVersion(DerReader& fields) {
  const unsigned char tag = DerReader::context(0, true);
  if (!fields.nextIs(tag)) return 1;
  const std::string_view number = derContent(fields.content(tag), DerReader::kInteger);
  return derNumber(number, 100) + 1;
}

void takeValidity(DerReader& fields, ParsedCertificate& certificate) {
  DerReader times(fields.content(DerReader::kSequence));
  certificate.notBefore = secondsOf(times.take());
  certificate.notAfter = secondsOf(times.take());
  times.expectEnd();
}

// Unique identifiers, which nobody uses, and the extensions.
void takeOptionalFields(DerReader& fields, ParsedCertificate& certificate) {
  for (const unsigned number : {1U, 2U}) {
    const unsigned char tag = DerReader::context(number);
    if (fields.nextIs(tag)) (void)derBits(fields.content(tag));  // throws if it is none
  }
  const unsigned char extensions = DerReader::context(3, true);
  if (fields.nextIs(extensions)) {
    if (certificate.version < kVersion3) {
      certificate.unreadable.emplace_back("extensions in a certificate of an older version");
    }
    readExtensions(fields.content(extensions), certificate);
  }
  fields.expectEnd();
}

void readFields(std::string_view content, ParsedCertificate& certificate) {
  DerReader fields(content);
  certificate.version = takeVersion(fields);
  if (certificate.version > kVersion3) certificate.unreadable.emplace_back("an unknown version");
  certificate.serial = fields.content(DerReader::kInteger);
  if (certificate.serial.empty()) throw DerError("an INTEGER is empty");
  certificate.signedBytes.innerAlgorithm = fields.take(DerReader::kSequence).whole;
  certificate.issuer = DistinguishedName(fields.take(DerReader::kSequence).whole);
  takeValidity(fields, certificate);
  certificate.subject = DistinguishedName(fields.take(DerReader::kSequence).whole);
  certificate.key = std::make_unique<PublicKey>(fields.take(DerReader::kSequence).whole);
  takeOptionalFields(fields, certificate);
}

}  // namespace

std::shared_ptr<const ParsedCertificate> ParsedCertificate::parse(std::string der) {
  std::string fingerprint = sha256Of(der);
  return parse(std::move(der), std::move(fingerprint));
}

std::shared_ptr<const ParsedCertificate> ParsedCertificate::parse(std::string der,
                                                                  std::string fingerprint) {
  auto certificate = std::make_shared<ParsedCertificate>();
  certificate->der = std::move(der);
  certificate->fingerprint = std::move(fingerprint);
  DerReader parts(derContent(certificate->der, DerReader::kSequence));
  const DerReader::Element fields = parts.take(DerReader::kSequence);
  SignedBytes& bytes = certificate->signedBytes;
  bytes.content = fields.whole;
  bytes.algorithm = parts.take(DerReader::kSequence).whole;
  bytes.signature = signatureOf(parts.content(DerReader::kBitString));
  parts.expectEnd();
  readFields(fields.content, *certificate);
  return certificate;
}

std::size_t ParsedCertificate::footprint() const {
  // The names, read once more and compared, take about as much again; and a key of OpenSSL's.
  constexpr std::size_t kFixed = 4096;
  std::size_t bytes = kFixed + 3 * der.size() + altNames.capacity() * sizeof(GeneralName);
  if (!nameConstraints) return bytes;
  for (const auto* subtrees : {&nameConstraints->permitted, &nameConstraints->excluded}) {
    bytes += subtrees->capacity() * sizeof(NameConstraints::Subtree);
  }
  return bytes;
}
