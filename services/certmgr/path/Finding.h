#ifndef SERVICES_CERTMGR_PATH_FINDING_H
#define SERVICES_CERTMGR_PATH_FINDING_H

#include <cstddef>
#include <string>
#include <string_view>
#include <tuple>

#include "services/certmgr/Warnings.h"

// What can be wrong with a path. Each reason is one row of the table in Finding.cpp, which says
// under which warning clients hear of it and how it is told to people.
enum class Reason {
  basicConstraintsNotCritical,
  pathTooLong,
  unknownCriticalExtension,
  expired,
  notYetValid,
  timeUnreadable,
  keyUsageMissing,
  mayNotSignCertificates,
  mayNotServeTls,
  otherPurpose,
  basicConstraintsMissing,
  notCa,
  noAnchor,
  anchorRefuses,
  extensionUnreadable,
  policyMissing,
  gaveUp,
  signatureWrong,
  signatureUnsupported,
  signatureWeak,
  algorithmsDiffer,
  keyWeak,
  keyUnreadable,
  revoked,
  nameNotPermitted,
  nameExcluded,
  constraintNotUnderstood,
  otherKeyIdentifier,
};

// One thing wrong with one certificate of a path.
struct Finding {
  Reason reason;
  std::size_t member = 0;  // its place in the path, 0 being the leaf
  std::string evidence;    // what was seen, printable: "not after 2025-12-31T23:59:59Z"

  bool operator==(const Finding&) const = default;
  bool operator<(const Finding& other) const {
    return std::tie(reason, member, evidence) <
           std::tie(other.reason, other.member, other.evidence);
  }
};

// The bit that clients know it by.
Warnings warningOf(Reason reason);
// Its name in logs and documents: "expired".
std::string_view nameOf(Reason reason);
// A sentence for people, without the full stop: "the certificate has expired".
std::string_view sentenceOf(Reason reason);

#endif
