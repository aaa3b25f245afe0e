#include <string_view>

#include <fmt/format.h>
#include <openssl/asn1.h>
#include <openssl/err.h>

#include "tools/trustctl/connect/StartTls.h"

namespace {

constexpr std::size_t longestLdapAnswer = 65536;
constexpr unsigned char ldapSequence = 0x30;
constexpr int ldapExtendedResponse = 24;

// LDAPMessage { messageID 1, extendedReq { requestName "1.3.6.1.4.1.1466.20037" } }
constexpr std::string_view ldapRequest =
    "\x30\x1d\x02\x01\x01\x77\x18\x80\x16"
    "1.3.6.1.4.1.1466.20037";

// SSLRequest: its length 8, then 1234 and 5679.
constexpr std::string_view postgresRequest("\x00\x00\x00\x08\x04\xd2\x16\x2f", 8);

// The size of the value behind a first byte and a length byte, which has more bytes after it
// where its top bit is set.
std::size_t readLdapLength(Dialogue* dialogue, std::string* said) {
  const auto first = static_cast<unsigned char>(said->back());
  if (first < 0x80) {
    return first;
  }
  const std::size_t count = first & 0x7fU;
  if (count == 0 || count > 4) {
    dialogue->failAsOtherProtocol(*said);
  }
  const std::string bytes = dialogue->readBytes(count);
  *said += bytes;
  std::size_t length = 0;
  for (const char byte : bytes) {
    length = (length << 8U) | static_cast<unsigned char>(byte);
  }
  return length;
}

// One element at the front of [*at, end): moves on to its value. Its length, -1 where there is
// none of that class and tag.
long enterElement(const unsigned char** at, const unsigned char* end, int tagClass, int tag) {
  long length = 0;
  int foundTag = 0;
  int foundClass = 0;
  const int form = ASN1_get_object(at, &length, &foundTag, &foundClass, end - *at);
  ERR_clear_error();
  // 0x80 is an error, the bit 0x01 an element without a length of its own.
  const bool isGood = (form & 0x80) == 0 && (form & 0x01) == 0;
  return isGood && foundTag == tag && foundClass == tagClass ? length : -1;
}

// The result code of the answer to our request; -1 where it is no such answer.
int ldapResultCode(const std::string& message) {
  const auto* at = reinterpret_cast<const unsigned char*>(message.data());
  const unsigned char* end = at + message.size();
  const long idLength = enterElement(&at, end, V_ASN1_UNIVERSAL, V_ASN1_INTEGER);
  if (idLength != 1 || *at != 1) {
    return -1;
  }
  ++at;
  if (enterElement(&at, end, V_ASN1_APPLICATION, ldapExtendedResponse) < 0 ||
      enterElement(&at, end, V_ASN1_UNIVERSAL, V_ASN1_ENUMERATED) != 1) {
    return -1;
  }
  return *at;
}

}  // namespace

void askLdap(Dialogue* dialogue, const std::string& /*host*/) {
  dialogue->send(ldapRequest);
  std::string said = dialogue->readBytes(2);
  if (static_cast<unsigned char>(said.front()) != ldapSequence) {
    dialogue->failAsOtherProtocol(said + dialogue->takeRest());
  }
  const std::size_t length = readLdapLength(dialogue, &said);
  if (length > longestLdapAnswer) {
    dialogue->failAsOtherProtocol(said);
  }
  const std::string message = dialogue->readBytes(length);
  const int result = ldapResultCode(message);
  if (result < 0) {
    dialogue->failAsOtherProtocol(said + message);
  }
  if (result != 0) {
    dialogue->fail(fmt::format("refuses STARTTLS with result code {}; it said", result),
                   said + message);
  }
}

void askPostgres(Dialogue* dialogue, const std::string& /*host*/) {
  dialogue->send(postgresRequest);
  const std::string answer = dialogue->readBytes(1);
  if (answer == "N") {
    dialogue->fail("offers no TLS; it said", answer);
  }
  if (answer != "S") {
    dialogue->failAsOtherProtocol(answer + dialogue->takeRest());
  }
}
