#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_CHAINMAKER_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_CHAINMAKER_H

#include <set>
#include <string>
#include <vector>

#include "tests/services/certmgr/differential/Random.h"
#include "tests/services/certmgr/differential/World.h"

// A chain as a server might send it, and by what names its oddities go: "leaf:expired",
// "authority:not-ca", "anchor:weak", "shuffled", ...
struct MadeChain {
  std::vector<std::string> certificates;  // DER, the leaf first
  std::set<std::string> features;
};

// Assembles a chain of one to four members below an anchor or a stranger, does up to three
// things to its members, and adds other certificates. The same numbers give the same chain,
// but for keys and signatures of RSA and ECDSA.
MadeChain makeChain(const World& world, Random& random);

#endif
