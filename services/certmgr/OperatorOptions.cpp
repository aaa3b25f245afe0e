#include "services/certmgr/OperatorOptions.h"

#include <csignal>
#include <cstdio>
#include <exception>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "platform/objects/ControlServer.h"
#include "services/certmgr/CertDetailsRequest.h"
#include "services/certmgr/Evaluator.h"
#include "services/certmgr/Explanation.h"
#include "services/certmgr/stores/StoreCheck.h"
#include "services/certmgr/stores/TrustStores.h"
#include "services/common/ServiceMain.h"

namespace {

constexpr int kNothingWrong = 0;
constexpr int kSomethingWrong = 1;
constexpr int kUnusable = 2;

LogLevel levelOf(const std::string& name) {
  const auto level = logLevelNamed(name);
  if (!level) throw CLI::ValidationError("--log-level", "not error, warning, info or debug");
  return *level;
}

void tell(const std::string& text) {
  if (std::fputs(text.c_str(), stdout) < 0 || std::fflush(stdout) != 0) {
    throw std::runtime_error("cannot write to the standard output");
  }
}

int tellOfStore(const std::string& directory, std::int64_t now) {
  const StoreReport report = checkStore(directory, now);
  tell(report.text());
  return report.problemCount() == 0 ? kNothingWrong : kSomethingWrong;
}

int tellOfChain(const OperatorOptions& options, const JudgingOptions& judging) {
  ExplanationInput input;
  input.now = judging.now;
  input.given = readChain(options.explain);
  if (input.given.size() > CertDetailsRequest::kMaxCertificates) {
    throw std::runtime_error("the files hold more than " +
                             std::to_string(CertDetailsRequest::kMaxCertificates) +
                             " certificates, which is all that a request may name");
  }
  requireUsable(judging.trust);
  TrustStores stores(judging.trust);
  input.store = stores.directoryOf(options.application, options.className);
  const auto store = stores.get(options.application, options.className);
  input.anchors = store->anchorCount();
  const std::string runtime =
      judging.runtimeDirectory.empty() ? defaultRuntimeDirectory() : judging.runtimeDirectory;
  input.chainDirectory = runtime + "/services/certmgr/chain";

  std::vector<std::string> chain;
  for (const GivenCertificate& given : input.given) chain.push_back(given.der);
  const Verdict verdict = Evaluator().evaluate(chain, store, judging.now);
  tell(explain(input, *verdict.evaluation));
  return verdict.evaluation->isValid() ? kNothingWrong : kSomethingWrong;
}

}  // namespace

void describeOperatorOptions(CLI::App& app, OperatorOptions& options) {
  app.add_option_function<std::string>(
         "--log-level", [&options](const std::string& name) { options.logLevel = levelOf(name); },
         "Least important lines on stderr: error, warning, info (one a decision), debug (info; "
         "error with --ephemeral)")
      ->type_name("LEVEL");
  CLI::Option* check =
      app.add_option("--check-store", options.checkStore,
                     "Tell what a store's directory holds and what is wrong with it, and end: "
                     "status 0 nothing, 1 something, 2 it cannot be read")
          ->type_name("DIR");
  CLI::Option* explain =
      app.add_option("--explain", options.explain,
                     "Judge the chain of these files (PEM or DER, the leaf first), tell how, and "
                     "end: status 0 valid, 1 invalid, 2 it cannot be judged")
          ->type_name("FILE...")
          ->excludes(check);
  app.add_option("--application", options.application, "With --explain: whose store")
      ->type_name("NAME")
      ->needs(explain)
      ->capture_default_str();
  app.add_option("--class", options.className, "With --explain: which of its stores")
      ->type_name("NAME")
      ->needs(explain)
      ->capture_default_str();
  // For the processes that a service starts of itself.
  app.add_option("--counters-fd", options.countersFd)->check(whyNoDescriptor)->group("");
}

RequestRecords makeRecords(const OperatorOptions& options, bool isPrivate) {
  // Whoever read stderr may go while the service stays.
  (void)std::signal(SIGPIPE, SIG_IGN);
  const LogLevel level = options.logLevel.value_or(isPrivate ? LogLevel::error : LogLevel::info);
  return {Log(level),
          options.countersFd == -1 ? Counters::create() : Counters::attach(options.countersFd)};
}

std::optional<int> runInsteadOfServing(const OperatorOptions& options,
                                       const JudgingOptions& judging) {
  if (options.checkStore.empty() && options.explain.empty()) return {};
  releaseSignals();  // nobody handles them here, and whoever waits may want to end it
  try {
    if (!options.checkStore.empty()) return tellOfStore(options.checkStore, judging.now);
    return tellOfChain(options, judging);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "trust-certmgrd: %s\n", failure.what());
    return kUnusable;
  }
}
