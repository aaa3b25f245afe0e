#include "services/certmgr/path/PrefixSet.h"

#include <initializer_list>

#include <gtest/gtest.h>

namespace {

// Tags are the places in the list.
PrefixSet setOf(std::initializer_list<const char*> prefixes) {
  PrefixSet set;
  std::size_t tag = 0;
  for (const char* prefix : prefixes) set.add(prefix, tag++);
  set.seal();
  return set;
}

TEST(PrefixSet, FindsThePrefixAmongNeighbours) {
  EXPECT_EQ(1U, setOf({"aa.", "ab.", "ac."}).findPrefixOf("ab.x."));
}

TEST(PrefixSet, FindsTheTextItself) {
  EXPECT_EQ(0U, setOf({"ab."}).findPrefixOf("ab."));
}

TEST(PrefixSet, FindsNothingForATextThatOnlySortsBehindAPrefix) {
  EXPECT_EQ(PrefixSet::kNone, setOf({"ab.", "b."}).findPrefixOf("ac."));
}

TEST(PrefixSet, FindsNothingForATextBeforeAllPrefixes) {
  EXPECT_EQ(PrefixSet::kNone, setOf({"ab."}).findPrefixOf("aa."));
}

TEST(PrefixSet, FindsNothingWhenEmpty) {
  EXPECT_EQ(PrefixSet::kNone, setOf({}).findPrefixOf("a"));
}

TEST(PrefixSet, FindsAShortPrefixBehindALongerOneThatDoesNotFit) {
  EXPECT_EQ(1U, setOf({"ab.c.", "ab."}).findPrefixOf("ab.d."));
}

TEST(PrefixSet, EmptyPrefixIsOneOfEverything) {
  EXPECT_EQ(1U, setOf({"x", ""}).findPrefixOf("a"));
}

TEST(PrefixSet, OfEqualPrefixesTheFirstIsFound) {
  EXPECT_EQ(0U, setOf({"a", "a"}).findPrefixOf("ab"));
}

TEST(PrefixSet, ProperPrefixIsNotTheTextItself) {
  EXPECT_EQ(PrefixSet::kNone, setOf({"ab."}).findProperPrefixOf("ab."));
}

TEST(PrefixSet, ProperPrefixOfALongerTextIsFound) {
  EXPECT_EQ(0U, setOf({"ab."}).findProperPrefixOf("ab.c."));
}

TEST(PrefixSet, FindsWhatStartsWithAText) {
  EXPECT_EQ(1U, setOf({"aa.", "ab.c.", "ac."}).findStartingWith("ab."));
}

TEST(PrefixSet, FindsNothingThatStartsWithAnotherText) {
  EXPECT_EQ(PrefixSet::kNone, setOf({"aa.", "ac."}).findStartingWith("ab."));
}

}  // namespace
