#include "tests/services/certmgr/differential/DifferentialRun.h"

#include <algorithm>

#include "tests/services/certmgr/differential/ChainMaker.h"
#include "tests/services/certmgr/differential/DisagreementClasses.h"
#include "tests/services/certmgr/differential/Judges.h"
#include "tests/services/certmgr/differential/Random.h"

namespace {

MadeChain chainOf(const World& world, const DifferentialOptions& options, std::uint64_t number) {
  Random random((options.seed << 32U) ^ number);
  return makeChain(world, random);
}

std::string describe(std::uint64_t number, const MadeChain& chain, const Judgement& ours,
                     const Judgement& theirs, const Classified& classified) {
  std::string text = "chain " + std::to_string(number) + ":";
  for (const std::string& feature : chain.features) text += " " + feature;
  text += "\n  we: " + (ours.accepts() ? std::string("accept") : ours.details);
  text += "\n  GnuTLS: " + (theirs.accepts() ? std::string("accepts") : theirs.details);
  text += "\n  in no class:";
  for (const std::string& finding : classified.unexplained) text += " " + finding;
  return text;
}

}  // namespace

void runDifferential(const DifferentialOptions& options, DifferentialReport& report) {
  const World world;
  OurJudge we(world);
  GnuTlsJudge they(world);
  const std::vector<DisagreementClass> classes = readDisagreementClasses();
  for (std::uint64_t i = 0; i < options.count; ++i) {
    const std::uint64_t number = options.first + i;
    const MadeChain chain = chainOf(world, options, number);
    const Judgement ours = we.judge(chain.certificates);
    const Judgement theirs = they.judge(chain.certificates);
    if (ours.accepts() == theirs.accepts()) {
      ++(ours.accepts() ? report.bothAccept : report.bothRefuse);
      continue;
    }
    const Classified classified = classify(classes, chain.features, ours, theirs);
    for (const std::string& name : classified.classes) ++report.disagreements[name];
    if (!classified.unexplained.empty()) {
      report.unexplained.push_back(describe(number, chain, ours, theirs, classified));
    }
  }
}

std::vector<std::uint64_t> chainsJudgedByTheirOrder(const DifferentialOptions& options) {
  const World world;
  OurJudge warm(world);
  std::vector<std::uint64_t> numbers;
  for (std::uint64_t i = 0; i < options.count; ++i) {
    const std::uint64_t number = options.first + i;
    MadeChain chain = chainOf(world, options, number);
    const Judgement one = warm.judge(chain.certificates);
    std::reverse(chain.certificates.begin() + 1, chain.certificates.end());
    OurJudge cold(world);
    const Judgement other = cold.judge(chain.certificates);
    if (one.findings != other.findings || one.details != other.details) numbers.push_back(number);
  }
  return numbers;
}
