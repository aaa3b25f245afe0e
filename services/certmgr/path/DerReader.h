#ifndef SERVICES_CERTMGR_PATH_DERREADER_H
#define SERVICES_CERTMGR_PATH_DERREADER_H

#include <stdexcept>
#include <string>
#include <string_view>

// Bytes that are no DER, or not the DER that is expected.
class DerError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

// Reads DER element by element. Strict: definite lengths in their shortest form only, tags of
// one byte, object identifiers that are some. Keeps no copy: what it returns points into the
// bytes it was given.
class DerReader {
 public:
  // The tags of X.509; whole identifier bytes.
  static constexpr unsigned char kBoolean = 0x01;
  static constexpr unsigned char kInteger = 0x02;
  static constexpr unsigned char kBitString = 0x03;
  static constexpr unsigned char kOctetString = 0x04;
  static constexpr unsigned char kNull = 0x05;
  static constexpr unsigned char kOid = 0x06;
  static constexpr unsigned char kEnumerated = 0x0a;
  static constexpr unsigned char kUtcTime = 0x17;
  static constexpr unsigned char kGeneralizedTime = 0x18;
  static constexpr unsigned char kSequence = 0x30;
  static constexpr unsigned char kSet = 0x31;
  // [number] of the context, primitive or constructed.
  static constexpr unsigned char context(unsigned number, bool constructed = false) {
    return static_cast<unsigned char>((constructed ? 0xa0U : 0x80U) | number);
  }

  struct Element {
    unsigned char tag = 0;
    std::string_view content;
    std::string_view whole;  // with its header
  };

  explicit DerReader(std::string_view bytes) : left_(bytes) {}

  bool atEnd() const { return left_.empty(); }
  bool nextIs(unsigned char tag) const {
    return !left_.empty() && static_cast<unsigned char>(left_.front()) == tag;
  }
  // The next element; of that tag, where one is given. Throws DerError.
  Element take();
  Element take(unsigned char tag);
  // Its content alone.
  std::string_view content(unsigned char tag) { return take(tag).content; }
  // Throws DerError when something is left.
  void expectEnd() const;

 private:
  std::string_view left_;
};

// The content of one element of that tag that is all of `bytes`. Throws DerError.
std::string_view derContent(std::string_view bytes, unsigned char tag);

// A BOOLEAN's content as DER writes it. Throws DerError.
bool derBoolean(std::string_view content);

// The bits of a BIT STRING's content, those left over in its last byte being 0. Throws DerError.
std::string_view derBits(std::string_view content);

// A BIT STRING's content as whole bytes. Throws DerError when its length is no multiple of eight.
std::string_view derWholeBytes(std::string_view content);

// The content of an INTEGER that is not negative, at most `most`; larger ones come out as `most`.
// Throws DerError for a negative one and one with superfluous bytes.
unsigned derNumber(std::string_view content, unsigned most);

// An algorithm's parameters where it has none: NULL, or nothing at all, which some write instead.
// Throws DerError when anything else is left in `algorithm`.
void expectNoParameters(DerReader& algorithm);

// The content of an OBJECT IDENTIFIER as "2.5.29.19"; "unreadable" for what is none, and for one
// of more than 64 bytes or with an arc beyond 64 bits.
std::string oidText(std::string_view content);

#endif
