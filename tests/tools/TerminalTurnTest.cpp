#include "tools/trustctl/TerminalTurn.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>

#include <gtest/gtest.h>

#include "tests/support/PseudoTerminal.h"

namespace {

// Standard error is a terminal of the test's own; `other_` is what another run would open.
class Turn : public testing::Test {
 protected:
  void SetUp() override { ASSERT_NE(-1, dup2(other_.get(), STDERR_FILENO)); }
  void TearDown() override { dup2(errors_.get(), STDERR_FILENO); }

  PseudoTerminal terminal_;
  FileDescriptor errors_{fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 0)};
  FileDescriptor other_{open(terminal_.path().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC)};
};

TEST_F(Turn, IsKeptFromOthersAsLongAsItLives) {
  TerminalTurn turn;
  turn.await();
  EXPECT_EQ(-1, flock(other_.get(), LOCK_EX | LOCK_NB));
  EXPECT_EQ(EWOULDBLOCK, errno);
}

TEST_F(Turn, IsFreeForOthersAfterwards) {
  {
    TerminalTurn turn;
    turn.await();
  }
  EXPECT_EQ(0, flock(other_.get(), LOCK_EX | LOCK_NB));
}

}  // namespace
