#ifndef TESTS_TOOLS_CONNECT_CONNECTFIXTURE_H
#define TESTS_TOOLS_CONNECT_CONNECTFIXTURE_H

#include <string>
#include <vector>

#include "tests/tools/TrustctlFixture.h"

// Runs "connect" against servers on loopback, with the authority's root as only anchor.
class ConnectTest : public AuthorityTest {
 protected:
  // "connect" to the target ("127.0.0.1:40001") for www.example.test, and `more`.
  std::vector<std::string> connectWords(const std::string& target,
                                        const std::vector<std::string>& more = {}) const;

  ProgramRun connect(const std::string& target, const std::vector<std::string>& more = {});

  // What the server sends that all is well with.
  std::vector<TestCertificate> goodChain() const { return {leaf_, inter_}; }

  // A leaf for www.example.test like the good one, to be changed and made.
  CertificateMaker leafMaker() const;

  // The names of the warnings in a report for people.
  static std::vector<std::string> reasonsIn(const std::string& report);
};

#endif
