#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_DECISIONDIFFERENCE_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_DECISIONDIFFERENCE_H

#include <optional>
#include <string>
#include <vector>

#include "services/dialog/model/ExceptionComparison.h"
#include "tools/trustctl/exceptions/LikelyDecisions.h"

// Why a verdict's chain is asked about in spite of what is stored.
struct DecisionAnswer {
  enum class State {
    notNeeded,   // trusted without a decision
    inForce,     // a stored decision covers it
    outOfSight,  // one would, but lies where the library does not look
    differs,     // what is stored is another decision
    none         // nothing is stored that comes near
  };
  State state = State::none;
  ExceptionRecord now;                            // what a decision would have to be
  std::vector<ChainMember> chain;                 // of now, read
  LikelyDecisions likely;                         // of differs and outOfSight
  std::optional<StoredRecord> stored;             // the one in force, out of sight or nearest
  std::optional<ExceptionDifference> difference;  // of differs, where the chain can be read
};

// Finds the answer for a verdict of now; `isTrusted` is the verdict without any decision. Throws
// CommandError (undecided) when the store cannot be read, and Interrupted.
DecisionAnswer explainDecision(const ExceptionStore& store, const ExceptionRecord& now,
                               bool isTrusted);

// The answer for people and for programs; see docs/exceptions.md.
std::string answerText(const DecisionAnswer& answer);
std::string answerJson(const DecisionAnswer& answer);

// How the domain of what is stored stands to the one asked about: a sentence; empty for the same.
std::string relationText(const LikelyDecisions& likely, const std::string& domain);

// The same in a word: "other_spelling".
const char* relationWord(DomainRelation relation);

#endif
