#ifndef SERVICES_CERTMGR_PATH_NAMEFORMS_H
#define SERVICES_CERTMGR_PATH_NAMEFORMS_H

#include <optional>
#include <string>
#include <string_view>

#include "services/certmgr/path/ParsedCertificate.h"

// Names of certificates in forms that make "lies in the subtree of" a question of how a string
// starts. All of these return nothing for what is no proper name of its kind.

// A host name backwards, in lower case, with a dot at the end: "A.example" is "elpmaxe.a.".
// A host name is within a domain exactly when its key starts with the domain's. One dot at the
// end does not count. Refused are empty labels and all but letters, digits, '-', '_' and, for
// wildcards, '*'.
std::optional<std::string> hostKey(std::string_view host);

// "joe@host": the key of the host, '@', the local part as it is, NUL. A local part in quotes is
// refused: it could be written in several ways.
std::optional<std::string> mailboxKey(std::string_view mailbox);

// The host of a URI that has one and names it (an IP address is no name): its key, '@'.
std::optional<std::string> uriHostKey(std::string_view uri);

// An address of 4 or 16 octets: the digit 4 or 6, and its bits as '0' and '1'.
std::optional<std::string> addressKey(std::string_view octets);
// An address and a mask, which has to be a row of ones before a row of zeros: the key's start.
std::optional<std::string> networkKey(std::string_view octets);

// For people: "DNS:a.example", "IP Address:192.0.2.0/24", made fit for one line by
// printableText().
std::string nameText(GeneralName::Kind kind, std::string_view bytes);

#endif
