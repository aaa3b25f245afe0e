#ifndef SERVICES_DIALOG_MODEL_DOMAINMATCH_H
#define SERVICES_DIALOG_MODEL_DOMAINMATCH_H

#include <cstddef>
#include <string>
#include <string_view>

#include "services/common/CertificateNames.h"

// Whether a name covers a domain, or the first thing that keeps it from doing so.
enum class NameReason {
  covers,
  otherKind,        // no name of a host: an address, a URI or an e-mail address
  notLookedAt,      // a common name beside DNS names, or beside names that cannot be read
  malformed,        // empty, or with bytes that no host name has
  starElsewhere,    // its star is not what ends the first label
  endsLikeAddress,  // the last label of a name with a star begins with a digit
  otherLabelCount,  // more labels or fewer; a star stands for exactly one
  otherLabel,       // a label that no star stands for is another
  otherStart,       // the domain's first label does not begin like the one that the star ends
  otherSpelling     // the same labels, but not the same text: dots or spaces stand elsewhere
};

struct NameMatch {
  NameReason reason = NameReason::covers;
  std::size_t labels = 0;        // of the name
  std::size_t domainLabels = 0;  // of the domain
  std::string label = {};        // of otherLabel and otherStart: the name's, in lower case
  std::string domainLabel = {};  // and the domain's in its place
};

// How the name stands to the domain, as the verdict's own check sees it: the same text in any
// letter case, or a star that ends the first label and stands for no dot. A name that is
// malformed stands for nothing. Whether the check looks at the name at all is left aside.
NameMatch matchName(const CertificateName& name, std::string_view domain);

// The same for one name of a certificate, of which the check does not look at all.
NameMatch matchNameOf(const CertificateNames& names, const CertificateName& name,
                      std::string_view domain);

// Whether a server of that domain may bear the name: matchName says that it covers.
bool nameCoversDomain(const CertificateName& name, std::string_view domain);

// Whether the check looks at names of that kind in this certificate at all: at its DNS names,
// and at common names where it has no DNS name.
bool isNameOfServer(const CertificateNames& names, const CertificateName& name);

// Whether any name that counts covers the domain.
bool coversDomain(const CertificateNames& names, std::string_view domain);

#endif
