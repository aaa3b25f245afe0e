#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_MEMBER_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_MEMBER_H

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tests/services/certmgr/differential/CertificateParts.h"
#include "tests/services/certmgr/differential/Random.h"
#include "tests/services/certmgr/differential/World.h"
#include "tests/support/CertificateMaker.h"

// What one certificate of a chain is going to be.
struct Member {
  // Changes a certificate that is signed already.
  using Edit = std::function<void(CertificateParts&, Random&)>;

  explicit Member(TestKey itsKey) : key(std::move(itsKey)) {}

  CertificateMaker maker;
  TestKey key;
  std::string digest = "SHA256";
  std::optional<TestKey> signer;  // where it is not the issuer's key
  Edit beforeSigning;             // the signature is made again after it
  Edit afterSigning;
  std::string rest;  // bytes behind the certificate
};

// One thing to do to a certificate before it is made.
struct Mutation {
  enum class Target { leaf, authority, any };
  const char* name;
  Target target;
  void (*apply)(Member& member, const World& world, Random& random);
};

// All of them.
const std::vector<Mutation>& mutations();

#endif
