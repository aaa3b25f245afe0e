#include "services/certmgr/records/RequestRecords.h"

#include <cstdint>
#include <string>

void RequestRecords::decided(const Decision& decision) {
  const Evaluation& evaluation = decision.evaluation;
  counters_.add(evaluation.isValid() ? Counters::valid : Counters::invalid);
  counters_.addWarnings(evaluation.warnings());
  if (decision.remembered) counters_.add(Counters::remembered);
  if (evaluation.gaveUp) counters_.add(Counters::gaveUp);
  counters_.add(Counters::evaluationMicroseconds,
                static_cast<std::uint64_t>(decision.took.count()));

  const LogLevel level = evaluation.gaveUp ? LogLevel::warning : LogLevel::info;
  if (!log_.takes(level)) return;
  log_.write(level, decisionLine(decision));
  if (!log_.takes(LogLevel::debug)) return;
  for (const std::string& line : findingLines(evaluation)) log_.write(LogLevel::debug, line);
}

void RequestRecords::refused(const Asker& asker, std::string_view error,
                             std::chrono::microseconds took, bool isOurs) {
  counters_.add(Counters::errors);
  const LogLevel level = isOurs ? LogLevel::error : LogLevel::warning;
  if (log_.takes(level)) log_.write(level, refusalLine(asker, error, took));
}

void RequestRecords::unrestricted(const std::vector<std::string>& missing) const {
  if (missing.empty()) return;
  std::string parts;
  for (const std::string& part : missing) parts += (parts.empty() ? "" : ", ") + part;
  log_.write(LogLevel::warning, "this system does not offer " + parts + "; going on without");
}
