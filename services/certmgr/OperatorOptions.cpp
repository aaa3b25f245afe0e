#include "services/certmgr/OperatorOptions.h"

#include <cstdio>
#include <exception>
#include <stdexcept>

#include <CLI/CLI.hpp>

#include "services/certmgr/StoreCheck.h"
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

}  // namespace

void describeOperatorOptions(CLI::App& app, OperatorOptions& options) {
  app.add_option_function<std::string>(
         "--log-level", [&options](const std::string& name) { options.logLevel = levelOf(name); },
         "Least important lines on stderr: error, warning, info (one a decision), debug (info; "
         "error with --ephemeral)")
      ->type_name("LEVEL");
  app.add_option("--check-store", options.checkStore,
                 "Tell what a store's directory holds and what is wrong with it, and end: status "
                 "0 nothing, 1 something, 2 it cannot be read")
      ->type_name("DIR");
  // For the processes that a service starts of itself.
  app.add_option("--counters-fd", options.countersFd)->check(whyNoDescriptor)->group("");
}

RequestRecords makeRecords(const OperatorOptions& options, bool isPrivate) {
  const LogLevel level = options.logLevel.value_or(isPrivate ? LogLevel::error : LogLevel::info);
  return {Log(level),
          options.countersFd == -1 ? Counters::create() : Counters::attach(options.countersFd)};
}

std::optional<int> runInsteadOfServing(const OperatorOptions& options, std::int64_t now) {
  if (options.checkStore.empty()) return {};
  try {
    return tellOfStore(options.checkStore, now);
  } catch (const std::exception& failure) {
    (void)std::fprintf(stderr, "trust-certmgrd: %s\n", failure.what());
    return kUnusable;
  }
}
