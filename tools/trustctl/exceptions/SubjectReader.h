#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_SUBJECTREADER_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_SUBJECTREADER_H

#include <optional>
#include <string>

#include "services/common/CertificateDer.h"

// The subject of a certificate as it is shown everywhere, escaped; nothing when the bytes do not
// begin like a certificate. Reads nothing else: decoding the public key as well, as OpenSSL does
// with a whole certificate, takes thirty times as long, which tells in a long list.
std::optional<std::string> readSubject(const CertificateDer& der);

#endif
