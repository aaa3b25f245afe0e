#ifndef SERVICES_DIALOG_MODEL_DOMAINMATCH_H
#define SERVICES_DIALOG_MODEL_DOMAINMATCH_H

#include <string_view>

#include "services/common/CertificateNames.h"

// Whether a server of that domain may bear the name, as the verdict's own check sees it: the
// same text in any letter case, or a star that ends the first label and stands for no dot.
// A name that is malformed stands for nothing.
bool nameCoversDomain(const CertificateName& name, std::string_view domain);

// Whether the check looks at names of that kind in this certificate at all: at its DNS names,
// and at common names where it has no DNS name.
bool isNameOfServer(const CertificateNames& names, const CertificateName& name);

// Whether any name that counts covers the domain.
bool coversDomain(const CertificateNames& names, std::string_view domain);

#endif
