#ifndef TESTS_TOOLS_TRUSTCTLFIXTURE_H
#define TESTS_TOOLS_TRUSTCTLFIXTURE_H

#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <rapidjson/document.h>

#include "tests/support/CertificateMaker.h"
#include "tests/support/TemporaryDirectory.h"

// What one run of the program left behind.
struct ProgramRun {
  int status = -1;  // exit status; minus the signal when one ended it
  std::string out;
  std::string err;
};

// Runs the real program in a world of its own: fresh HOME and TMPDIR, no services but those
// that a test makes. At the end of each test no file and no process may be left.
class TrustctlTest : public testing::Test {
 protected:
  TrustctlTest();
  void SetUp() override;
  void TearDown() override;

  // Runs the program with these arguments to its end.
  ProgramRun run(const std::vector<std::string>& arguments, const std::string& input = "");

  // The same in two steps, for tests that do something while it runs.
  // Standard output goes to the file `out`, which an empty name makes the usual one.
  pid_t start(const std::vector<std::string>& arguments, const std::string& input = "",
              const std::string& out = "");
  ProgramRun finish(pid_t child);

  // What is in a file; nothing where it cannot be read.
  static std::string readFile(const std::string& path);

  // The paths of regular files, sockets and pipes below a directory.
  static std::vector<std::string> filesBelow(const std::string& directory);

  // Waits until somebody listens on a control object below the directory.
  static void awaitControlObjectBelow(const std::string& directory);

  // Waits for processes that lost their parent to end, as long as the test may run.
  void awaitOrphans() const;

  // An executable shell script with these lines.
  std::string script(const std::string& lines) const;

  TemporaryDirectory directory_;
  std::string home_;
  std::string temporary_;
  std::map<std::string, std::string> environment_;  // additions for the next runs
  std::function<void()> inChild_;  // what the next runs do before the program begins
};

// A root, an intermediate and a server's leaf for www.example.test and example.test.
class AuthorityTest : public TrustctlTest {
 protected:
  AuthorityTest();

  // "verify", the root as only anchor, and `more`.
  std::vector<std::string> verifyWithRoot(const std::vector<std::string>& more) const;

  TestCertificate root_;
  TestCertificate inter_;
  TestCertificate leaf_;
  std::string rootFile_;
  std::string chainFile_;  // PEM, leaf first, without the root
};

// Parses a program's output, which must be one line with one JSON object.
rapidjson::Document parseLine(const std::string& out);

// Matches one complaint: one line, "trustctl: " first, that contains `part`.
testing::AssertionResult isComplaint(const std::string& err, const std::string& part);

#endif
