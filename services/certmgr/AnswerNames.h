#ifndef SERVICES_CERTMGR_ANSWERNAMES_H
#define SERVICES_CERTMGR_ANSWERNAMES_H

#include <string>
#include <vector>

#include "services/certmgr/path/ParsedCertificate.h"

// What a certificate says of itself, as services/common/CertificateNames.h puts it.
std::vector<std::string> commonNamesOf(const ParsedCertificate& certificate);
std::vector<std::string> subjectAltNamesOf(const ParsedCertificate& certificate);

#endif
