#include "services/certmgr/path/NameForms.h"

#include <arpa/inet.h>

#include <algorithm>
#include <array>
#include <cstddef>

#include "services/certmgr/path/DerReader.h"
#include "services/common/PrintableText.h"

namespace {

bool isPrintable(char c) {
  return c > ' ' && c <= '~';
}

char toLower(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLetter(char c) {
  return toLower(c) >= 'a' && toLower(c) <= 'z';
}

bool isHostCharacter(char c) {
  return isLetter(c) || isDigit(c) || c == '-' || c == '_' || c == '.';
}

// What a byte of a host name is in its key; 0 for those that no host name has.
constexpr std::array<char, 256> makeKeyBytes() {
  std::array<char, 256> bytes{};
  for (const char c : std::string_view("abcdefghijklmnopqrstuvwxyz0123456789-_.*")) {
    bytes[static_cast<unsigned char>(c)] = c;
  }
  for (char c = 'A'; c <= 'Z'; ++c) {
    bytes[static_cast<unsigned char>(c)] = static_cast<char>(c - 'A' + 'a');
  }
  return bytes;
}
constexpr std::array<char, 256> kKeyBytes = makeKeyBytes();

// Whether somebody might read the host as an address: no top-level domain is a number.
bool looksLikeAddress(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  const std::string_view last = host.substr(host.rfind('.') + 1);  // npos + 1 is 0
  return !last.empty() && (std::all_of(last.begin(), last.end(), isDigit) ||
                           last.starts_with("0x") || last.starts_with("0X"));
}

bool isScheme(std::string_view text) {
  return !text.empty() && isLetter(text.front()) &&
         std::all_of(text.begin(), text.end(), [](char c) {
           return isLetter(c) || isDigit(c) || c == '+' || c == '-' || c == '.';
         });
}

void appendBits(std::string& key, std::string_view octets) {
  for (const char octet : octets) {
    for (unsigned bit = 0x80; bit != 0; bit >>= 1) {
      key += (static_cast<unsigned char>(octet) & bit) != 0 ? '1' : '0';
    }
  }
}

std::string addressText(std::string_view octets) {
  std::array<char, INET6_ADDRSTRLEN> text{};
  const int family = octets.size() == 4 ? AF_INET : AF_INET6;
  return inet_ntop(family, octets.data(), text.data(), text.size()) != nullptr ? text.data() : "";
}

// Nobody reads the end of a name that is longer than a page, and escaping it takes its time.
std::string shownText(std::string_view bytes) {
  constexpr std::size_t kMostBytes = 1024;
  return printableText(bytes.substr(0, kMostBytes));
}

// An address, or with a mask behind it a network.
std::string addressOrNetworkText(std::string_view octets) {
  if (octets.size() == 4 || octets.size() == 16) return addressText(octets);
  if (octets.size() != 8 && octets.size() != 32) return shownText(octets);
  const std::string_view address = octets.substr(0, octets.size() / 2);
  const std::string_view mask = octets.substr(octets.size() / 2);
  const auto network = networkKey(octets);
  return addressText(address) + "/" +
         (network ? std::to_string(network->size() - 1) : addressText(mask));
}

std::string directoryText(std::string_view der) {
  try {
    return fitLines(DistinguishedName(der).text(), 120, 1).front();
  } catch (const DerError&) {
    return shownText(der);
  }
}

}  // namespace

std::optional<std::string> hostKey(std::string_view host) {
  if (host.ends_with('.')) host.remove_suffix(1);
  if (host.empty() || host.front() == '.' || host.back() == '.') return std::nullopt;
  if (host.find("..") != std::string_view::npos) return std::nullopt;
  std::string key(host.size() + 1, '.');
  char* out = key.data();
  for (auto c = host.rbegin(); c != host.rend(); ++c, ++out) {
    *out = kKeyBytes[static_cast<unsigned char>(*c)];
    if (*out == 0) return std::nullopt;
  }
  return key;
}

std::optional<std::string> mailboxKey(std::string_view mailbox) {
  const std::size_t at = mailbox.rfind('@');
  if (at == 0 || at == std::string_view::npos) return std::nullopt;
  const std::string_view local = mailbox.substr(0, at);
  if (!std::all_of(local.begin(), local.end(), isPrintable)) return std::nullopt;
  if (local.find_first_of("\"\\@") != std::string_view::npos) return std::nullopt;
  std::optional<std::string> key = hostKey(mailbox.substr(at + 1));
  if (key) key->append("@").append(local).push_back('\0');
  return key;
}

std::optional<std::string> uriHostKey(std::string_view uri) {
  const std::size_t colon = uri.find(':');
  if (colon == std::string_view::npos || !isScheme(uri.substr(0, colon))) return std::nullopt;
  std::string_view authority = uri.substr(colon + 1);
  if (!authority.starts_with("//")) return std::nullopt;
  authority.remove_prefix(2);
  const std::string_view rest =
      authority.substr(std::min(authority.size(), authority.find_first_of("/?#")));
  if (!std::all_of(rest.begin(), rest.end(), isPrintable)) return std::nullopt;
  authority.remove_suffix(rest.size());

  std::string_view host = authority.substr(authority.find('@') + 1);  // npos + 1 is 0
  const std::size_t port = host.find(':');
  if (port != std::string_view::npos) {
    const std::string_view digits = host.substr(port + 1);
    if (!std::all_of(digits.begin(), digits.end(), isDigit)) return std::nullopt;
    host = host.substr(0, port);
  }
  if (!std::all_of(host.begin(), host.end(), isHostCharacter)) return std::nullopt;
  if (looksLikeAddress(host)) return std::nullopt;
  std::optional<std::string> key = hostKey(host);
  if (key) key->push_back('@');
  return key;
}

std::optional<std::string> addressKey(std::string_view octets) {
  if (octets.size() != 4 && octets.size() != 16) return std::nullopt;
  std::string key(1, octets.size() == 4 ? '4' : '6');
  appendBits(key, octets);
  return key;
}

std::optional<std::string> networkKey(std::string_view octets) {
  if (octets.size() != 8 && octets.size() != 32) return std::nullopt;
  std::string mask;
  appendBits(mask, octets.substr(octets.size() / 2));
  const std::size_t ones = std::min(mask.find('0'), mask.size());
  if (mask.find('1', ones) != std::string::npos) return std::nullopt;
  std::optional<std::string> key = addressKey(octets.substr(0, octets.size() / 2));
  if (key) key->resize(1 + ones);
  return key;
}

std::string nameText(GeneralName::Kind kind, std::string_view bytes) {
  using Kind = GeneralName::Kind;
  switch (kind) {
    case Kind::dns:
      return "DNS:" + shownText(bytes);
    case Kind::email:
      return "email:" + shownText(bytes);
    case Kind::uri:
      return "URI:" + shownText(bytes);
    case Kind::address:
      return "IP Address:" + addressOrNetworkText(bytes);
    case Kind::directory:
      return "DirName:" + directoryText(bytes);
    case Kind::other:
      return "a name of another kind";
    case Kind::x400:
      return "an X.400 name";
    case Kind::ediParty:
      return "a name of an EDI party";
    case Kind::registeredId:
      return "a registered identifier";
  }
  return {};
}
