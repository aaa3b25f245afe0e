#include "services/dialog/DialogAnswer.h"

#include <gtest/gtest.h>

namespace {

TEST(DialogAnswer, DeclinedIsNeitherAcceptedNorTrusted) {
  EXPECT_EQ(
      "res::show\nid::321\ndat:json:{\"resp_obj\":{\"accepted\":false,\"alwaysTrust\":false}}\n",
      encodeDialogAnswer("321", DialogChoice::decline));
}

TEST(DialogAnswer, OnceIsAcceptedAndNotTrusted) {
  EXPECT_EQ(
      "res::show\nid::321\ndat:json:{\"resp_obj\":{\"accepted\":true,\"alwaysTrust\":false}}\n",
      encodeDialogAnswer("321", DialogChoice::once));
}

TEST(DialogAnswer, AlwaysIsBoth) {
  EXPECT_EQ(
      "res::show\nid::321\ndat:json:{\"resp_obj\":{\"accepted\":true,\"alwaysTrust\":true}}\n",
      encodeDialogAnswer("321", DialogChoice::always));
}

TEST(DialogAnswer, WithoutAnIdThereIsNone) {
  EXPECT_EQ("res::show\ndat:json:{\"resp_obj\":{\"accepted\":false,\"alwaysTrust\":false}}\n",
            encodeDialogAnswer({}, DialogChoice::decline));
}

}  // namespace
