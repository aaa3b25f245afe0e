#ifndef TESTS_SERVICES_CERTMGR_PATH_LISTMAKER_H
#define TESTS_SERVICES_CERTMGR_PATH_LISTMAKER_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "services/certmgr/path/RevocationList.h"
#include "tests/support/CertificateMaker.h"

// Makes revocation lists of any shape, byte by byte: version 2, in force 2020-01-01 to
// 2029-12-31, empty. Every setter returns *this.
class ListMaker {
 public:
  explicit ListMaker(const TestCertificate& issuer);

  // The serial number is an INTEGER's content; `extensions` are whole Extension elements.
  ListMaker& revoke(std::string_view serial, std::string_view extensions = {});
  ListMaker& revoke(std::string_view serial, unsigned reason);
  ListMaker& entry(std::string_view content);  // of any bytes
  ListMaker& extension(std::string_view oid, bool critical, std::string_view value);
  ListMaker& number(unsigned number);
  ListMaker& changesTo(unsigned baseNumber);          // makes it a list of changes
  ListMaker& scope(std::string_view content);         // an issuing distribution point, critical
  ListMaker& thisUpdate(std::string_view utcTime);    // "YYMMDDHHMMSSZ"
  ListMaker& nextUpdate(std::string_view utcTime);    // empty: none
  ListMaker& version(std::optional<unsigned> value);  // nothing: version 1
  ListMaker& signedWith(const TestKey& key);

  std::string der() const;
  RevocationListPtr make() const;

 private:
  std::string issuer_;
  TestKey key_;
  std::string entries_;
  std::string extensions_;
  std::string thisUpdate_ = "200101000000Z";
  std::string nextUpdate_ = "291231235959Z";
  std::optional<unsigned> version_ = 1;
};

// An Extension element.
std::string extensionDer(std::string_view oid, bool critical, std::string_view value);
// One that says of a list's entry, and of those after it, whose certificate it is.
std::string certificateIssuer(const TestCertificate& issuer);
// The subject's Name element.
std::string subjectOf(const TestCertificate& certificate);

#endif
