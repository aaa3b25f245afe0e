#ifndef TOOLS_TRUSTCTL_VERIFICATION_H
#define TOOLS_TRUSTCTL_VERIFICATION_H

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "services/common/CertificateView.h"
#include "tools/trustctl/CertificateInput.h"
#include "trustlib/CertificateExceptionStore.h"
#include "trustlib/CertificateTrustInfo.h"

// What is asked about a chain.
struct Question {
  std::vector<CertificateDer> chain;  // leaf first
  std::optional<std::string> domain;  // nothing: no name is checked
  std::vector<std::string> altDomains;
  std::string application;  // with className: the trust store; empty for the usual one
  std::string className;
  int timeoutSeconds = 30;  // how long to wait for the service
  bool isPrivate = false;   // the services are this run's own
  std::string store;        // directory of the user's decisions; made when one is asked for
};

// What the user said to a question.
enum class Decision { declined, once, always };

// The library's verdict, ready for showing.
struct Verdict {
  bool trusted = false;
  bool byException = false;
  bool revoked = false;
  unsigned long long warnings = 0;        // CertificateWarnings
  std::vector<CertificateView> chain;     // leaf first, as the service settled on it
  std::optional<Decision> decision = {};  // nothing where nobody was asked
};

// One verification by the library, over the services that PPS_RUNTIME_DIR leads to.
class Verification {
 public:
  // Judges the chain. Throws CommandError (undecided) when there can be no verdict, Interrupted
  // on a signal.
  explicit Verification(const Question& question);
  ~Verification();

  Verification(const Verification&) = delete;
  Verification& operator=(const Verification&) = delete;

  // The verdict, and what the user made of it since.
  const Verdict& verdict() const { return verdict_; }

  // The chain that the service settled on, leaf first: what a decision is about.
  std::vector<CertificateDer> chain() const;

  // True when the user may be asked to trust the chain all the same.
  bool mayAsk() const { return !verdict_.trusted && !verdict_.revoked; }

  // Asks, by the dialog service, and remembers "always" in the store, which is made where
  // missing. Throws as above when there can be no question, and when the decision cannot be
  // stored.
  void ask();

 private:
  bool isStored() const;

  std::string storeDirectory_;
  std::unique_ptr<CertificateExceptionStore> store_;  // none as long as it is not there
  std::unique_ptr<CertificateTrustInfo> info_;
  Verdict verdict_;
};

#endif
