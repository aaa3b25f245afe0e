#ifndef TOOLS_TRUSTCTL_EXCEPTIONS_FINDING_H
#define TOOLS_TRUSTCTL_EXCEPTIONS_FINDING_H

#include <string>

// What may be wrong in a store. The words in docs/exceptions.md and problemWord() name them.
enum class Problem {
  directoryOwner,  // the store is somebody else's
  directoryMode,   // others may write there, or its owner may not
  notPlain,        // a link, a directory, a pipe
  owner,           // the file is somebody else's
  mode,            // others may write it, or its owner may not read it
  unreadable,      // no record for the library
  duplicate,       // the same decision as under a lower number
  beyondGap,       // a lower number is free, so that the library does not get there
  wrongHash,       // a record under the hash of another
  wrongName,       // a record under a name that the library does not look for
  foreign,         // no record, under a name that the library's clear() takes for one
  leftover         // of a writer that was killed: harmless
};

struct Finding {
  Problem problem;
  std::string entry;  // the name in the store; empty for the directory itself
  std::string text;   // what it is and what it means for the library; escaped
};

// "beyond_gap"
const char* problemWord(Problem problem);

// Whether the store is as good as clean with it.
inline bool isNote(const Finding& finding) {
  return finding.problem == Problem::leftover;
}

#endif
