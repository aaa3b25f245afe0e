#ifndef TESTS_TOOLS_PKCS7MAKER_H
#define TESTS_TOOLS_PKCS7MAKER_H

#include <string>
#include <vector>

#include "tests/support/CertificateMaker.h"

// A PKCS#7 bag with these certificates in this order, in DER and in PEM.
std::string pkcs7Der(const std::vector<TestCertificate>& certificates);
std::string pkcs7Pem(const std::vector<TestCertificate>& certificates);

#endif
