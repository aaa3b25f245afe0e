#ifndef TOOLS_TRUSTCTL_CERTIFICATEBAG_H
#define TOOLS_TRUSTCTL_CERTIFICATEBAG_H

#include <cstddef>
#include <optional>
#include <vector>

#include "tools/trustctl/CertificateInput.h"

// The certificates of a PKCS#7 signed-data bag in DER (or BER) form. A bag has no order: the
// one that issued none of the others comes first, and among several such the first that is
// no authority; the rest keep their places.
// Nothing when the bytes are not exactly one such bag; an empty vector when it is empty.
std::optional<std::vector<CertificateDer>> readCertificateBag(const unsigned char* bytes,
                                                              std::size_t length);

#endif
