#ifndef SERVICES_CERTMGR_PATH_DISTINGUISHEDNAME_H
#define SERVICES_CERTMGR_PATH_DISTINGUISHEDNAME_H

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// A name of a subject or issuer, in a form that makes two names equal exactly when they are the
// same name: case of ASCII letters, runs of spaces and the kind of string do not count.
class DistinguishedName {
 public:
  DistinguishedName() = default;
  // Reads a whole Name element of at most 256 attributes. Throws DerError.
  explicit DistinguishedName(std::string_view der);
  // Throws DerError where reading it would; quicker.
  static void expect(std::string_view der);

  bool isEmpty() const { return ends_.empty(); }
  bool operator==(const DistinguishedName& other) const { return key_ == other.key_; }
  // Equal for equal names, and different for others: a key for maps. Starts with the key of
  // every name in whose subtree this one lies, and of no other.
  const std::string& key() const { return key_; }
  // Whether this name starts with all the relative names of `base`: lies in its subtree.
  bool isWithin(const DistinguishedName& base) const;
  // The element as it was read.
  const std::string& der() const { return der_; }
  std::size_t relativeNames() const { return ends_.size(); }

  // The values of an attribute (its OBJECT IDENTIFIER's content) as UTF-8 or, where the string
  // does not decode, as its bytes; in the order of the name.
  std::vector<std::string> values(std::string_view oid) const;

  // For people: "CN=Root, O=Maker", made printable by escapeText(); "(empty name)". "..." stands
  // for what follows the first thousand bytes or so.
  std::string text() const;

 private:
  std::string der_;
  std::string key_;
  std::vector<std::size_t> ends_;  // of each relative name in key_
};

#endif
