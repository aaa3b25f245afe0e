#ifndef TESTS_TOOLS_EXCEPTIONS_KILLFIXTURE_H
#define TESTS_TOOLS_EXCEPTIONS_KILLFIXTURE_H

#include <random>
#include <string>
#include <vector>

#include "tests/tools/exceptions/ExceptionsFixture.h"

// Kills runs of the program at random points of their work on a store: just before one of the
// system calls from the one on that locks the store. So every point there is can be met, however
// busy the machine is.
class KillTest : public ExceptionsTest {
 protected:
  KillTest();
  ~KillTest() override;
  void SetUp() override;

  // Lets a run end, which must succeed. Returns how many points there are in it.
  int complete(const std::vector<std::string>& arguments);

  // Kills a run at a random one of so many points. False when it ended before.
  bool runAndKill(const std::vector<std::string>& arguments, int points);

  // All that doctor finds but notes, found in this process to save time: a record that is torn,
  // beyond a gap, there twice, or of another hash.
  std::vector<std::string> findings() const;

 private:
  int runTo(const std::vector<std::string>& arguments, int point);

  std::string memory_;  // a directory in memory, where there is one: a disk would be slow
  std::mt19937 random_{std::random_device{}()};
};

#endif
