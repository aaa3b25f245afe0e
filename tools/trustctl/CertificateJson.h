#ifndef TOOLS_TRUSTCTL_CERTIFICATEJSON_H
#define TOOLS_TRUSTCTL_CERTIFICATEJSON_H

#include "services/common/CertificateView.h"
#include "services/common/TextWriter.h"

// Adds what all reports for programs say of a certificate to the object the writer stands in; the
// members are listed in docs/trustctl.md.
void addCertificate(TextWriter* object, const CertificateView& certificate);

#endif
