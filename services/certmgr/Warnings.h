#ifndef SERVICES_CERTMGR_WARNINGS_H
#define SERVICES_CERTMGR_WARNINGS_H

#include "trustlib/CertificateWarnings.h"

// A set of findings, in the bits that the library's clients know them by; an answer names
// them in ascending bit order.
using Warnings = unsigned long long;
using Warning = CertificateWarnings;

#endif
