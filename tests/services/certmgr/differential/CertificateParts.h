#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_CERTIFICATEPARTS_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_CERTIFICATEPARTS_H

#include <string>

#include "tests/support/CertificateMaker.h"

// One DER element.
std::string derElement(unsigned char tag, const std::string& content);

// A certificate taken apart, so that it can be put together wrongly.
struct CertificateParts {
  explicit CertificateParts(const std::string& der);

  std::string join() const;
  // Makes the signature one of what the content has become.
  void signAgain(const TestKey& key, const char* digest);

  std::string content;    // element
  std::string algorithm;  // element
  std::string signature;  // bytes
};

// Whether the key signs without a digest of the signer's choice.
bool signsWithoutDigest(const TestKey& key);

#endif
