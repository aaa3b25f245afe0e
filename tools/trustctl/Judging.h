#ifndef TOOLS_TRUSTCTL_JUDGING_H
#define TOOLS_TRUSTCTL_JUDGING_H

#include <optional>
#include <string>
#include <vector>

#include "tools/trustctl/PrivateServices.h"
#include "tools/trustctl/ServiceSettings.h"
#include "tools/trustctl/TerminalTurn.h"
#include "tools/trustctl/Verification.h"

namespace CLI {
class App;
}

// How chains are judged and the user is asked: the options of all commands that do.
struct JudgingOptions {
  std::vector<std::string> altDomains;
  std::string application;  // with className: the trust store; empty for the usual one
  std::string className;
  std::optional<std::string> at;  // as typed
  int timeoutSeconds = 30;
  bool ownServices = false;
  bool json = false;
  std::optional<std::string> dialog;  // the face to ask by; nothing: as it fits
  bool noDialog = false;
  std::string store;         // of the user's decisions; empty for the user's own
  ServiceSettings settings;  // requireSound sets its time
};

// Adds those that judge to a command, and those that ask; `options` must outlive the parse.
void addJudgingOptions(CLI::App* command, JudgingOptions* options,
                       const char* timeoutMeans = "Wait so long for the services (30)");
void addAskingOptions(CLI::App* command, JudgingOptions* options);

// Checks what the parser cannot, and reads the time. Throws CommandError (wrongUse).
void requireSound(JudgingOptions* options);

// Throws CommandError (wrongUse) when the text cannot be a server's name or address.
void requireDomain(const std::string& domain);

// The services that judge and ask, for the chains of one run: those that run, else private ones.
// Its operations throw CommandError and Interrupted. Main thread only.
class Judging {
 public:
  // Starts what is missing. The options must be sound and outlive the object.
  explicit Judging(const JudgingOptions& options);

  // The question to put about a chain, for a Verification.
  Question questionAbout(std::vector<CertificateDer> chain,
                         const std::optional<std::string>& domain) const;

  // Judges the chain, and asks the user about it where the options and the terminal allow it.
  Verdict judge(std::vector<CertificateDer> chain, const std::optional<std::string>& domain);

 private:
  void ask(Verification* verification);

  const JudgingOptions& options_;
  bool isPrivate_;
  std::string store_;
  bool hasDialog_ = false;
  TerminalTurn turn_;  // outlives the service that puts the terminal right
  PrivateServices services_;
};

#endif
