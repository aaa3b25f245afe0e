#ifndef FUZZ_ODDPARTS_H
#define FUZZ_ODDPARTS_H

#include "services/certmgr/path/ParsedCertificate.h"

// OpenSSL refuses a certificate for what we take as it is until it matters. These say whether
// there is such a thing in it.

// A string of a name that does not decode, or is of a kind that OpenSSL does not know in names.
bool hasOddName(const ParsedCertificate& certificate);

// Anything else: a serial number with superfluous bytes, an algorithm, a key, a signature or a
// time that is none, an extension that does not decode.
bool hasOddPart(const ParsedCertificate& certificate);

#endif
