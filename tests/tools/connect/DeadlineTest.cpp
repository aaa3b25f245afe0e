#include "tools/trustctl/connect/Deadline.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "tools/trustctl/FileDescriptor.h"

namespace {

TEST(Deadline, HasComeEvenWhereThereIsSomethingToReceive) {
  const FileDescriptor endless(open("/dev/zero", O_RDONLY | O_CLOEXEC));
  ASSERT_NE(-1, endless.get());
  EXPECT_TRUE(Deadline(60).await(endless.get(), POLLIN));
  EXPECT_FALSE(Deadline(0).await(endless.get(), POLLIN));
}

}  // namespace
