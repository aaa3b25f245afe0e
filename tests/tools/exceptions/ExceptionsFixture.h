#ifndef TESTS_TOOLS_EXCEPTIONS_EXCEPTIONSFIXTURE_H
#define TESTS_TOOLS_EXCEPTIONS_EXCEPTIONSFIXTURE_H

#include <string>
#include <vector>

#include "tests/tools/TrustctlFixture.h"
#include "tests/tools/exceptions/Records.h"

// Runs `trustctl exceptions` over a store of the test's own.
class ExceptionsTest : public TrustctlTest {
 protected:
  // "exceptions", the command and its arguments, and the store.
  ProgramRun exceptions(std::vector<std::string> arguments);
  std::vector<std::string> commandLine(std::vector<std::string> arguments) const;

  // What the program says at a terminal where that is typed at its question.
  struct TerminalRun {
    int status = -1;
    std::string drawn;
  };
  TerminalRun atTerminal(std::vector<std::string> arguments, const std::string& typed);

  std::string place(const ExceptionRecord& record, int number = 0) const {
    return ::place(store_, record, number);
  }

  // A doctor that finds nothing.
  testing::AssertionResult isClean();

  std::string store_ = directory_.path("store");
};

// The parsed lines of an output, each one object.
std::vector<rapidjson::Document> parseLines(const std::string& out);

// The names of an object's members in their order, with a space between.
std::string memberNames(const rapidjson::Value& object);

#endif
