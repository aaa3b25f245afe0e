#include "services/common/DecisionStore.h"

#include <stdlib.h>

#include <filesystem>

#include <gtest/gtest.h>

#include "tests/support/TemporaryDirectory.h"

namespace {

TEST(DecisionStore, LiesInTheHomeDirectory) {
  EXPECT_EQ("/home/alice/vallorin/certexcept", decisionStoreIn("/home/alice"));
}

TEST(DecisionStore, OfAUserWithoutAHomeHasAFixedPlace) {
  EXPECT_EQ("/var/temp/vallorin/certexcept", decisionStoreIn(""));
}

TEST(DecisionStore, OfThisProcessFollowsHomeWithItsLinksResolved) {
  const TemporaryDirectory world;
  std::filesystem::create_directory_symlink(world.path(), world.path("link"));
  setenv("HOME", world.path("link").c_str(), 1);
  EXPECT_EQ(std::filesystem::canonical(world.path()).string() + "/vallorin/certexcept",
            ownDecisionStore());
}

TEST(DecisionStore, OfThisProcessWithoutAHomeHasTheFixedPlace) {
  unsetenv("HOME");
  EXPECT_EQ("/var/temp/vallorin/certexcept", ownDecisionStore());
  setenv("HOME", "/no/such/home", 1);
  EXPECT_EQ("/var/temp/vallorin/certexcept", ownDecisionStore());
}

}  // namespace
