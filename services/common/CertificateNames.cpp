#include "services/common/CertificateNames.h"

#include <arpa/inet.h>

#include <memory>
#include <optional>
#include <string_view>
#include <utility>

#include <openssl/asn1.h>
#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/x509v3.h>

#include "services/common/OpenSslOwners.h"

namespace {

constexpr char kDigits[] = "0123456789ABCDEF";

void appendHex(std::string& out, unsigned char byte) {
  out += kDigits[byte >> 4];
  out += kDigits[byte & 0xf];
}

void appendEscaped(std::string& out, unsigned char byte) {
  out += "\\x";
  appendHex(out, byte);
}

std::string escapeAll(std::string_view bytes) {
  std::string out;
  for (const char byte : bytes) appendEscaped(out, static_cast<unsigned char>(byte));
  return out;
}

bool isPlainAscii(unsigned char byte) {
  return byte >= 0x20 && byte < 0x7f && byte != '\\';
}

std::string escapeAscii(std::string_view bytes) {
  std::string out;
  for (const char signedByte : bytes) {
    const auto byte = static_cast<unsigned char>(signedByte);
    if (isPlainAscii(byte)) {
      out += signedByte;
    } else {
      appendEscaped(out, byte);
    }
  }
  return out;
}

// `text` is valid UTF-8; its control characters are U+0000 to U+001F and U+007F to
// U+009F, the latter C2 80 to C2 9F.
std::string escapeUtf8(std::string_view text) {
  std::string out;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    const bool control2 =
        byte == 0xc2 && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xa0;
    if (control2) {
      appendEscaped(out, byte);
      appendEscaped(out, static_cast<unsigned char>(text[++i]));
    } else if (isPlainAscii(byte) || byte >= 0x80) {
      out += text[i];
    } else {
      appendEscaped(out, byte);
    }
  }
  return out;
}

std::string_view bytesOf(const ASN1_STRING* string) {
  return {reinterpret_cast<const char*>(ASN1_STRING_get0_data(string)),
          static_cast<std::size_t>(ASN1_STRING_length(string))};
}

// Nothing when its ASN.1 type does not say what text it is, or not truly.
std::optional<std::string> utf8Of(const ASN1_STRING* string) {
  unsigned char* utf8 = nullptr;
  const int length = ASN1_STRING_to_UTF8(&utf8, string);
  if (length < 0) {
    ERR_clear_error();
    return {};
  }
  std::string out(reinterpret_cast<const char*>(utf8), static_cast<std::size_t>(length));
  OPENSSL_free(utf8);
  return out;
}

std::string textOf(const ASN1_STRING* string) {
  const std::optional<std::string> utf8 = utf8Of(string);
  return utf8 ? escapeUtf8(*utf8) : escapeAll(bytesOf(string));
}

std::string addressOf(std::string_view bytes) {
  const int family = bytes.size() == 4 ? AF_INET : (bytes.size() == 16 ? AF_INET6 : -1);
  char text[INET6_ADDRSTRLEN];
  if (family == -1 || inet_ntop(family, bytes.data(), text, sizeof text) == nullptr) {
    return escapeAll(bytes);
  }
  return text;
}

// Calls `take` for each alternative name with its GEN_ type and value. False when there are
// some, but in a form that does not decode.
template <class Take>
bool forEachAltName(const X509* certificate, Take take) {
  int found = 0;
  const GeneralNamesPtr names(static_cast<GENERAL_NAMES*>(
      X509_get_ext_d2i(certificate, NID_subject_alt_name, &found, nullptr)));
  constexpr int kAbsent = -1;
  if (names == nullptr) return found == kAbsent;
  for (int i = 0; i < sk_GENERAL_NAME_num(names.get()); ++i) {
    int type = 0;
    const void* value = GENERAL_NAME_get0_value(sk_GENERAL_NAME_value(names.get(), i), &type);
    take(type, static_cast<const ASN1_STRING*>(value));
  }
  return true;
}

template <class Take>
void forEachCommonName(const X509_NAME* subject, Take take) {
  // OpenSSL 1.1.1 takes the name without const here, and changes nothing.
  auto* const lookup = const_cast<X509_NAME*>(subject);
  for (int at = X509_NAME_get_index_by_NID(lookup, NID_commonName, -1); at >= 0;
       at = X509_NAME_get_index_by_NID(lookup, NID_commonName, at)) {
    take(X509_NAME_ENTRY_get_data(X509_NAME_get_entry(subject, at)));
  }
}

}  // namespace

std::string serialNumberText(std::string_view integer) {
  const bool isPadded = integer.size() > 1 && integer.front() == 0;
  if (isPadded) integer.remove_prefix(1);  // keeps a positive number positive; not part of it
  std::string out;
  for (const char byte : integer) {
    if (!out.empty()) out += ' ';
    appendHex(out, static_cast<unsigned char>(byte));
  }
  return out;
}

std::string serialNumberOf(const X509* certificate) {
  // The content of the DER integer: minimal two's complement, whatever the sign.
  const ASN1_INTEGER* number = X509_get0_serialNumber(certificate);
  unsigned char* der = nullptr;
  // OpenSSL 1.1.1 takes the number without const here, and changes nothing.
  const int length = i2d_ASN1_INTEGER(const_cast<ASN1_INTEGER*>(number), &der);
  if (length <= 0) return "";
  const unsigned char* at = der;
  long size = 0;
  int tag = 0;
  int tagClass = 0;
  std::string out;
  if ((ASN1_get_object(&at, &size, &tag, &tagClass, length) & 0x80) == 0) {
    out = serialNumberText({reinterpret_cast<const char*>(at), static_cast<std::size_t>(size)});
  }
  OPENSSL_free(der);
  return out;
}

CertificateNames namesOf(const X509* certificate) {
  using Kind = CertificateName::Kind;
  CertificateNames result;
  const auto add = [&](Kind kind, std::string text) {
    result.names.push_back({kind, std::move(text)});
  };
  result.unreadable = !forEachAltName(certificate, [&](int type, const ASN1_STRING* string) {
    switch (type) {
      case GEN_DNS:
        return add(Kind::dns, std::string(bytesOf(string)));
      case GEN_IPADD:
        return add(Kind::address, addressOf(bytesOf(string)));
      case GEN_URI:
        return add(Kind::uri, std::string(bytesOf(string)));
      case GEN_EMAIL:
        return add(Kind::email, std::string(bytesOf(string)));
      default:
        ++result.otherNames;
    }
  });
  forEachCommonName(X509_get_subject_name(certificate), [&](const ASN1_STRING* string) {
    add(Kind::commonName, utf8Of(string).value_or(std::string(bytesOf(string))));
  });
  return result;
}

std::vector<std::string> commonNamesOf(const X509* certificate) {
  return commonNamesOf(X509_get_subject_name(certificate));
}

std::vector<std::string> commonNamesOf(const X509_NAME* subject) {
  std::vector<std::string> names;
  forEachCommonName(subject, [&](const ASN1_STRING* string) { names.push_back(textOf(string)); });
  return names;
}

std::string altNameText(int type, std::string_view content) {
  switch (type) {
    case GEN_DNS:
      return "DNS:" + escapeAscii(content);
    case GEN_IPADD:
      return "IP Address:" + addressOf(content);
    case GEN_URI:
      return "URI:" + escapeAscii(content);
    case GEN_EMAIL:
      return "email:" + escapeAscii(content);
    default:
      return "";
  }
}

std::vector<std::string> subjectAltNamesOf(const X509* certificate) {
  std::vector<std::string> result;
  const bool readable = forEachAltName(certificate, [&](int type, const ASN1_STRING* string) {
    const bool isText =
        type == GEN_DNS || type == GEN_IPADD || type == GEN_URI || type == GEN_EMAIL;
    if (isText) result.push_back(altNameText(type, bytesOf(string)));
  });
  if (!readable) result.emplace_back(kUnreadableAltNames);
  return result;
}
