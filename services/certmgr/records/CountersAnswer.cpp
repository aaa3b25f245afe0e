#include "services/certmgr/records/CountersAnswer.h"

#include <array>

#include "services/common/TextWriter.h"

namespace {

// In the order of Counters::Name.
constexpr std::array<const char*, Counters::nameCount> kNames = {
    "requests",   "errors", "valid",      "invalid",
    "remembered", "gaveUp", "storeLoads", "evaluationMicroseconds"};

}  // namespace

std::string encodeCounters(const Counters& counters, const std::optional<std::string>& id) {
  TextWriter writer(TextWriter::Form::attributes);
  writer.add("res", "getcounters");
  if (id) writer.add("id", *id);
  writer.startObject("dat");
  for (std::size_t i = 0; i < kNames.size(); ++i) {
    writer.add(kNames[i], std::to_string(counters.value(static_cast<Counters::Name>(i))));
  }
  writer.add("uptimeSeconds", std::to_string(counters.uptimeSeconds()));
  writer.startObject("warnings");
  for (int i = 0; i < CertificateWarnings::serviceNameCount; ++i) {
    const auto& [flag, name] = CertificateWarnings::names()[i];
    writer.add(name, std::to_string(counters.warningCount(flag)));
  }
  writer.endObject();
  writer.endObject();
  return writer.text();
}
