#include "trustlib/CertificateExceptionJsonCodec.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateImpl.h"
#include "trustlib/pps/PpsDecoder.h"
#include "trustlib/pps/PpsEncoder.h"
#include "trustlib/util/ObjectLifecycleManager.h"
#include "trustlib/util/Utilities.h"

namespace {

void encodeCertificate(const Certificate* certificate, PpsEncoder* encoder) {
  std::string text;
  auto* der = const_cast<unsigned char*>(certificate->getDer());  // base64Encode only reads it
  if (Utilities::base64Encode(der, certificate->getDerLength(), &text) != 0) {
    throw TrustManagerException(
        "CertificateExceptionJsonCodec: failed to base64 encode certificate exception");
  }
  encoder->startObject(nullptr);
  encoder->addString("der", &text, true);
  encoder->endObject();
}

// The certificate of the chain element that comes next.
Certificate* decodeCertificate(PpsDecoder* decoder, ObjectLifecycleManager* guard) {
  std::string text;
  decoder->push(nullptr, true);
  decoder->getString("der", &text, true);
  decoder->pop();
  unsigned char* bytes = nullptr;
  unsigned int count = 0;
  const int result = Utilities::base64Decode(&text, &bytes, &count);
  guard->addBuffer(bytes);
  if (result != 0) {
    throw TrustManagerException(
        "CertificateExceptionJsonCodec: failed to base64 decode certificate exception");
  }
  Certificate* certificate = new CertificateImpl(bytes, count);
  guard->addObject(certificate);
  return certificate;
}

}  // namespace

CertificateExceptionCodec::~CertificateExceptionCodec() = default;

CertificateExceptionJsonCodec::CertificateExceptionJsonCodec()
    TRUSTLIB_THROWS(TrustManagerException)
    : version(1) {}

CertificateExceptionJsonCodec::~CertificateExceptionJsonCodec() = default;

void CertificateExceptionJsonCodec::encode(const CertificateException* exception,
                                           unsigned char** buffer, unsigned int* length)
    TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) {
  if (exception == nullptr) {
    throw TrustManagerException(
        "CertificateExceptionJsonCodec: cannot encode NULL certificate exception");
  }
  PpsEncoder encoder;
  encoder.initialize(true);
  encoder.startObject(nullptr);
  encoder.addInt("version", version);
  encoder.addString("domain", exception->getDomainName(), false);
  encoder.addLongLong("warnings", static_cast<long long>(exception->getWarnings()));
  const std::list<Certificate*>* chain = exception->getCertificateChain();
  if (chain == nullptr) {
    throw TrustManagerException(
        "CertificateExceptionJsonCodec: cannot encode NULL certificate chain");
  }
  if (chain->empty()) {
    throw TrustManagerException(
        "CertificateExceptionJsonCodec: cannot encode empty certificate chain");
  }
  encoder.startArray("chain");
  for (const Certificate* certificate : *chain) {
    encodeCertificate(certificate, &encoder);
  }
  encoder.endArray();
  encoder.endObject();

  *length = static_cast<unsigned int>(encoder.length());
  *buffer = static_cast<unsigned char*>(malloc(*length));
  if (*buffer == nullptr) {
    throw TrustManagerException("CertificateExceptionJsonCodec: failed to allocate buffer");
  }
  memcpy(*buffer, encoder.buffer(), *length);
}

void CertificateExceptionJsonCodec::decode(const unsigned char* buffer, unsigned int length,
                                           CertificateException** exception)
    TRUSTLIB_THROWS(TrustManagerException, TrustManagerException*) {
  if (buffer == nullptr || length == 0) {
    throw TrustManagerException("CertificateExceptionJsonCodec: cannot decode empty buffer");
  }
  if (length > INT_MAX) {
    // The decoder counts in an int, and reports what it cannot count by throwing a pointer: a
    // store, which may let out exceptions by value alone, would end the process.
    throw TrustManagerException("CertificateExceptionJsonCodec: cannot decode %u bytes", length);
  }
  ObjectLifecycleManager guard;
  PpsDecoder decoder;
  decoder.initialize(nullptr);
  // The decoder copies the bytes before it changes any.
  decoder.parseJson(reinterpret_cast<char*>(const_cast<unsigned char*>(buffer)),
                    static_cast<int>(length));
  decoder.push(nullptr, true);

  int found = 0;
  decoder.getInt("version", &found, true);
  if (found > version) {
    throw TrustManagerException("Unsupported version %d", found);
  }
  std::string domain;
  const bool hasDomain = decoder.getString("domain", &domain, false);
  long long warnings = 0;
  decoder.getLongLong("warnings", &warnings, true);

  decoder.push("chain", true);
  const int count = decoder.length();
  if (count < 1) {
    throw TrustManagerException(
        "CertificateExceptionJsonCodec: cannot decode empty certificate chain");
  }
  std::list<Certificate*> chain;
  for (int i = 0; i < count; ++i) {
    chain.push_back(decodeCertificate(&decoder, &guard));
  }
  decoder.pop();
  decoder.pop();
  *exception = new CertificateExceptionImpl(static_cast<unsigned long long>(warnings),
                                            hasDomain ? &domain : nullptr, &chain);
}
