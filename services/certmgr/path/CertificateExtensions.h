#ifndef SERVICES_CERTMGR_PATH_CERTIFICATEEXTENSIONS_H
#define SERVICES_CERTMGR_PATH_CERTIFICATEEXTENSIONS_H

#include <string_view>
#include <vector>

#include "services/certmgr/path/DerReader.h"
#include "services/certmgr/path/ParsedCertificate.h"

// Reads the Extensions element into the certificate's fields. An extension that does not decode,
// is there twice or lists more than anybody needs is noted as unreadable, and leaves its fields as
// they were; so are more extensions than anybody needs. Throws DerError when not even a list of
// extensions can be told.
void readExtensions(std::string_view extensions, ParsedCertificate& certificate);

// One extension, of a certificate, a list or a list's entry.
struct Extension {
  std::string_view oid;
  bool critical = false;
  std::string_view value;
};

// Takes the next one off an Extensions element's content. Throws DerError.
Extension takeExtension(DerReader& list);

// The content of a GeneralNames element. Throws DerError.
std::vector<GeneralName> readGeneralNames(std::string_view content);

// What the DistributionPointName of a certificate or list says: full names, or one relative name.
struct DistributionPointName {
  std::vector<GeneralName> names;
  std::string_view relativeName;
};
// The content of the element that holds one. Throws DerError.
DistributionPointName readDistributionPointName(std::string_view content);

#endif
