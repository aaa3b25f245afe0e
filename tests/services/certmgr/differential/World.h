#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_WORLD_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_WORLD_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "tests/support/CertificateMaker.h"

// The keys that all chains share, since making keys is what costs most. Those of Ed25519 are
// the same in every run, and so are their signatures.
struct KeyPool {
  KeyPool();

  std::vector<TestKey> edwards;
  std::vector<TestKey> curve;
  std::vector<TestKey> rsa;
  TestKey weak;  // RSA of 1024 bits
};

// The anchors that both judges trust, and roots that neither does.
struct World {
  struct Root {
    std::string name;
    TestCertificate certificate;
    unsigned weight;  // how often chains end here
  };

  World();

  // 2026-01-01, the moment at which both judge.
  static constexpr std::int64_t kNow = 1767225600;

  KeyPool keys;
  std::vector<Root> anchors;
  std::vector<TestCertificate> strangers;
};

// The identifier that certificates of this world name a key by.
Bytes identifierOf(const TestKey& key);

#endif
