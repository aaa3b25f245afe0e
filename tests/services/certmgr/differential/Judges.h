#ifndef TESTS_SERVICES_CERTMGR_DIFFERENTIAL_JUDGES_H
#define TESTS_SERVICES_CERTMGR_DIFFERENTIAL_JUDGES_H

#include <memory>
#include <set>
#include <string>
#include <vector>

#include "services/certmgr/Evaluator.h"
#include "tests/services/certmgr/differential/World.h"

// What a judge says about a chain: nothing found means that it accepts.
struct Judgement {
  std::set<std::string> findings;  // its own names for them
  std::string details;             // for people
  bool accepts() const { return findings.empty(); }
};

// The service's evaluator.
class OurJudge {
 public:
  explicit OurJudge(const World& world);
  // "unreadable" where a certificate is none.
  Judgement judge(const std::vector<std::string>& chain);

 private:
  Evaluator evaluator_;
  std::shared_ptr<const TrustStore> store_;
};

// GnuTLS with the same anchors, for servers, at its profile of 112 bits. There can be one at a
// time: GnuTLS has one clock a process.
class GnuTlsJudge {
 public:
  explicit GnuTlsJudge(const World& world);
  ~GnuTlsJudge();
  GnuTlsJudge(const GnuTlsJudge&) = delete;
  GnuTlsJudge& operator=(const GnuTlsJudge&) = delete;
  // "unreadable" where a certificate is none.
  Judgement judge(const std::vector<std::string>& chain);

 private:
  struct TrustList;
  std::unique_ptr<TrustList> list_;
};

#endif
