#include "tools/trustctl/NamedCertificate.h"

#include <arpa/inet.h>

#include <algorithm>
#include <new>
#include <string_view>
#include <utility>

#include <fmt/format.h>
#include <openssl/asn1.h>
#include <openssl/x509v3.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Options.h"

namespace {

using Kind = CertificateName::Kind;

constexpr std::pair<std::string_view, Kind> marks[] = {
    {"DNS:", Kind::dns}, {"CN:", Kind::commonName},      {"IP:", Kind::address},
    {"URI:", Kind::uri}, {"IP Address:", Kind::address}, {"email:", Kind::email},
};

// The bytes of an address in a certificate; empty where the text is no address.
std::string addressBytes(const std::string& text) {
  char bytes[sizeof(in6_addr)];
  for (const auto& [family, size] :
       {std::pair{AF_INET, sizeof(in_addr)}, std::pair{AF_INET6, sizeof(in6_addr)}}) {
    if (inet_pton(family, text.c_str(), bytes) == 1) {
      return {bytes, size};
    }
  }
  return {};
}

CertificateName parseName(std::string_view typed) {
  CertificateName name{Kind::dns, std::string(typed)};
  for (const auto& [mark, kind] : marks) {
    if (typed.substr(0, mark.size()) == mark) {
      name = {kind, std::string(typed.substr(mark.size()))};
    }
  }
  if (name.text.empty()) {
    refuse("a name in --names is empty; give names separated by single commas");
  }
  if (name.kind == Kind::address && addressBytes(name.text).empty()) {
    refuse(fmt::format("'{}' in --names is not an IP address", printableText(name.text)));
  }
  return name;
}

void require(bool worked) {
  if (!worked) {
    throw std::bad_alloc();  // nothing else can go wrong with them
  }
}

int generalNameType(Kind kind) {
  switch (kind) {
    case Kind::address:
      return GEN_IPADD;
    case Kind::uri:
      return GEN_URI;
    case Kind::email:
      return GEN_EMAIL;
    case Kind::dns:
    case Kind::commonName:
      break;
  }
  return GEN_DNS;
}

void addAlternativeName(const CertificateName& name, GENERAL_NAMES* names) {
  const bool isAddress = name.kind == Kind::address;
  const std::string bytes = isAddress ? addressBytes(name.text) : name.text;
  OpenSslOwner<ASN1_STRING, ASN1_STRING_free> text(
      ASN1_STRING_type_new(isAddress ? V_ASN1_OCTET_STRING : V_ASN1_IA5STRING));
  OpenSslOwner<GENERAL_NAME, GENERAL_NAME_free> entry(GENERAL_NAME_new());
  require(text != nullptr && entry != nullptr &&
          ASN1_STRING_set(text.get(), bytes.data(), static_cast<int>(bytes.size())) == 1);
  GENERAL_NAME_set0_value(entry.get(), generalNameType(name.kind), text.release());
  require(sk_GENERAL_NAME_push(names, entry.get()) > 0);
  (void)entry.release();
}

void addCommonName(const CertificateName& name, X509* certificate) {
  // The bytes as they are: what is no UTF-8 must not be turned into some.
  require(X509_NAME_add_entry_by_NID(X509_get_subject_name(certificate), NID_commonName,
                                     V_ASN1_UTF8STRING,
                                     reinterpret_cast<const unsigned char*>(name.text.data()),
                                     static_cast<int>(name.text.size()), -1, 0) == 1);
}

}  // namespace

std::vector<CertificateName> parseNames(const std::string& typed) {
  std::vector<CertificateName> names;
  for (std::string_view rest = typed;;) {
    const std::size_t end = std::min(rest.find(','), rest.size());
    names.push_back(parseName(rest.substr(0, end)));
    if (end == rest.size()) {
      return names;
    }
    rest.remove_prefix(end + 1);
  }
}

X509Ptr certificateWithNames(const std::vector<CertificateName>& names) {
  X509Ptr certificate(X509_new());
  const GeneralNamesPtr alternative(GENERAL_NAMES_new());
  require(certificate != nullptr && alternative != nullptr);
  for (const CertificateName& name : names) {
    if (name.kind == Kind::commonName) {
      addCommonName(name, certificate.get());
    } else {
      addAlternativeName(name, alternative.get());
    }
  }
  if (sk_GENERAL_NAME_num(alternative.get()) > 0) {
    require(X509_add1_ext_i2d(certificate.get(), NID_subject_alt_name, alternative.get(), 0,
                              X509V3_ADD_DEFAULT) == 1);
  }
  return certificate;
}
