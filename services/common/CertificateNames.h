#ifndef SERVICES_COMMON_CERTIFICATENAMES_H
#define SERVICES_COMMON_CERTIFICATENAMES_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include <openssl/x509.h>

// A name that a certificate bears.
struct CertificateName {
  enum class Kind { dns, address, uri, email, commonName };
  Kind kind;
  std::string text;  // UTF-8 or any bytes, as they stand there; an address in its usual form
};

// All the names of a certificate, for comparing and showing.
struct CertificateNames {
  std::vector<CertificateName> names;  // the alternative ones, then the common ones
  std::size_t otherNames = 0;          // alternative names of other kinds
  bool unreadable = false;             // there are alternative names, but they do not decode
};

// Nothing in it is escaped.
CertificateNames namesOf(const X509* certificate);

// What a certificate says of itself, as text that cannot lie: the functions below.
//
// A byte that could end, hide or forge a name (NUL, control bytes, a backslash; in
// alternative names all that is not ASCII) comes out as \xNN, and of a string that
// does not decode every byte does. No host name holds a backslash, so such an entry
// matches nothing. It is not left out: a certificate whose only DNS name is
// malformed would then be matched by its common name instead.

// Upper-case hexadecimal pairs separated by spaces, without the padding of the
// encoding: "01 AB". A negative number is its two's-complement bytes.
std::string serialNumberOf(const X509* certificate);
// The same of the content of a DER INTEGER.
std::string serialNumberText(std::string_view integer);

// All common names of the subject as UTF-8, in the order of the subject.
std::vector<std::string> commonNamesOf(const X509* certificate);
std::vector<std::string> commonNamesOf(const X509_NAME* subject);

// The alternative names, each with its type: "DNS:", "IP Address:", "URI:", "email:".
// Other types are left out. An extension that does not decode is one unmatchable DNS name.
std::vector<std::string> subjectAltNamesOf(const X509* certificate);
// One of them, by its number as a GeneralName and its content; empty for types left out.
std::string altNameText(int type, std::string_view content);
// The name that stands for all of an extension that does not decode.
inline constexpr const char* kUnreadableAltNames = "DNS:\\unreadable";

#endif
