#include "services/dialog/terminal/Key.h"

#include <gtest/gtest.h>

namespace {

struct Case {
  char32_t character;
  Key key;
};

class KeyForCharacter : public testing::TestWithParam<Case> {};

TEST_P(KeyForCharacter, MeansTheSameOnEveryTerminal) {
  EXPECT_EQ(GetParam().key, keyForCharacter(GetParam().character));
}

INSTANTIATE_TEST_SUITE_P(Accepting, KeyForCharacter,
                         testing::Values(Case{U'o', Key::once}, Case{U'a', Key::always},
                                         Case{U'y', Key::accept}));

INSTANTIATE_TEST_SUITE_P(Declining, KeyForCharacter,
                         testing::Values(Case{U'\r', Key::decline}, Case{U'\n', Key::decline},
                                         Case{U'd', Key::decline}, Case{U'n', Key::decline},
                                         Case{U'q', Key::decline}, Case{U'\x1b', Key::decline},
                                         Case{U'\x03', Key::decline}, Case{U'\x04', Key::decline},
                                         Case{U'\x1c', Key::decline}));

INSTANTIATE_TEST_SUITE_P(Moving, KeyForCharacter,
                         testing::Values(Case{U'j', Key::lineDown}, Case{U'k', Key::lineUp},
                                         Case{U' ', Key::pageDown}, Case{U'b', Key::back}));

INSTANTIATE_TEST_SUITE_P(Meaningless, KeyForCharacter,
                         testing::Values(Case{U'O', Key::other}, Case{U'A', Key::other},
                                         Case{U'Y', Key::other}, Case{U'x', Key::other},
                                         Case{U'\x1a', Key::other}, Case{U'\x01', Key::other},
                                         Case{U'о', Key::other}, Case{U'\0', Key::other}));

}  // namespace
