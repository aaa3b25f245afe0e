#include "tools/trustctl/exceptions/DecisionDifference.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "services/dialog/model/DialogInput.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/exceptions/StoredDecision.h"

namespace {

// In the form that the dialog compares by: it knows decisions on one domain only.
DialogInput inputFor(const ExceptionRecord& now, const LikelyDecisions& likely) {
  DialogInput input;
  input.domain = now.domain;
  input.warnings = now.warnings;
  input.chain = now.chain;
  for (const StoredRecord& stored : likely.records) {
    input.earlier.push_back({stored.record.domain, stored.record.warnings, stored.record.chain});
  }
  return input;
}

void compareWithLikely(DecisionAnswer* answer) {
  const auto& records = answer->likely.records;
  const auto same = std::find_if(
      records.begin(), records.end(),
      [answer](const StoredRecord& stored) { return isSameDecision(stored.record, answer->now); });
  if (same != records.end()) {
    answer->state = DecisionAnswer::State::outOfSight;
    answer->stored = *same;
    return;
  }
  answer->state = DecisionAnswer::State::differs;
  answer->difference = compareWithNearest(inputFor(answer->now, answer->likely), answer->chain);
  answer->stored = records.at(answer->difference ? answer->difference->earlier : 0);
}

std::vector<ChainMember> readVerdictChain(const ExceptionRecord& now) {
  try {
    return readChain(now.chain);
  } catch (const std::runtime_error& error) {
    throw CommandError(ExitStatus::undecided,
                       std::string("a certificate that the service settled on cannot be read: ") +
                           error.what() + "; try --private");
  }
}

}  // namespace

DecisionAnswer explainDecision(const ExceptionStore& store, const ExceptionRecord& now,
                               bool isTrusted) {
  DecisionAnswer answer;
  answer.now = now;
  answer.chain = readVerdictChain(now);
  if (isTrusted) {
    answer.state = DecisionAnswer::State::notNeeded;
    return answer;
  }
  answer.stored = findStored(store, now);
  if (answer.stored) {
    answer.state = DecisionAnswer::State::inForce;
    return answer;
  }
  answer.likely = findLikely(store, now.domain.value_or(""), now.chain.front());
  if (!answer.likely.records.empty()) {
    compareWithLikely(&answer);
  }
  return answer;
}
