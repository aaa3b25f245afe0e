#include <string>

#include <gtest/gtest.h>

#include "platform/toolkit/toolkit.h"

namespace {

constexpr unsigned int digestLength = 20;

class HashTest : public testing::Test {
 protected:
  HashTest() { EXPECT_EQ(TOOLKIT_OK, toolkit_context_create(&context_)); }
  ~HashTest() override { toolkit_context_destroy(context_); }

  void makeReady() {
    ASSERT_EQ(TOOLKIT_OK, toolkit_provider_register(context_));
    ASSERT_EQ(TOOLKIT_OK, toolkit_provider_initialize(context_));
  }

  toolkit_hash_t* begin() {
    toolkit_hash_t* hash = nullptr;
    EXPECT_EQ(TOOLKIT_OK, toolkit_sha1_begin(context_, digestLength, nullptr, nullptr, &hash));
    return hash;
  }

  toolkit_context_t* context_ = nullptr;
};

void feed(toolkit_hash_t* hash, const std::string& data) {
  const auto* const bytes = reinterpret_cast<const unsigned char*>(data.data());
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_update(hash, bytes, static_cast<unsigned int>(data.size())));
}

std::string end(toolkit_hash_t* hash) {
  unsigned char digest[digestLength] = {};
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_end(hash, digest));
  constexpr char hex[] = "0123456789abcdef";
  std::string text;
  for (const unsigned char byte : digest) {
    text += hex[byte >> 4U];
    text += hex[byte & 0xfU];
  }
  return text;
}

void count(void* argument) {
  ++*static_cast<int*>(argument);
}

TEST_F(HashTest, EmptyInputGivesTheKnownDigest) {
  makeReady();
  EXPECT_EQ("da39a3ee5e6b4b0d3255bfef95601890afd80709", end(begin()));
}

TEST_F(HashTest, ShortInputGivesTheKnownDigest) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  feed(hash, "abc");
  EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", end(hash));
}

TEST_F(HashTest, InputOfTwoBlocksGivesTheKnownDigest) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  feed(hash, "abcdbcdecdefdefgefghfghighijhijkijkljklmklmnlmnomnopnopq");
  EXPECT_EQ("84983e441c3bd26ebaae4aa1f95129e5e54670f1", end(hash));
}

TEST_F(HashTest, AMillionBytesGiveTheKnownDigest) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  feed(hash, std::string(1000000, 'a'));
  EXPECT_EQ("34aa973cd4c4daa4f61eeb2bdbad27316534016f", end(hash));
}

TEST_F(HashTest, InputInPiecesGivesTheDigestOfTheWhole) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  feed(hash, "a");
  feed(hash, "");
  feed(hash, "bc");
  EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", end(hash));
}

TEST_F(HashTest, TwoHashesOfOneContextDoNotDisturbEachOther) {
  makeReady();
  toolkit_hash_t* const first = begin();
  toolkit_hash_t* const second = begin();
  feed(first, "a");
  feed(second, "other");
  feed(first, "bc");
  EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", end(first));
  EXPECT_EQ("d0941e68da8f38151ff86a61fc59f7c5cf9fcaa2", end(second));
}

TEST_F(HashTest, EndWithoutADigestDiscardsTheComputation) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  feed(hash, "abc");
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_end(hash, nullptr));
}

TEST_F(HashTest, ALongUpdateYieldsBetweenItsPieces) {
  makeReady();
  int yields = 0;
  toolkit_hash_t* hash = nullptr;
  ASSERT_EQ(TOOLKIT_OK, toolkit_sha1_begin(context_, digestLength, count, &yields, &hash));
  feed(hash, std::string(3 * 64 * 1024, 'a'));
  EXPECT_EQ(2, yields);
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_end(hash, nullptr));
}

TEST_F(HashTest, AShortUpdateDoesNotYield) {
  makeReady();
  int yields = 0;
  toolkit_hash_t* hash = nullptr;
  ASSERT_EQ(TOOLKIT_OK, toolkit_sha1_begin(context_, digestLength, count, &yields, &hash));
  feed(hash, std::string(64 * 1024, 'a'));
  EXPECT_EQ(0, yields);
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_end(hash, nullptr));
}

TEST_F(HashTest, ARegisteredProviderIsUninitialised) {
  ASSERT_EQ(TOOLKIT_OK, toolkit_provider_register(context_));
  int state = -1;
  EXPECT_EQ(TOOLKIT_OK, toolkit_provider_state(context_, &state));
  EXPECT_EQ(TOOLKIT_PROVIDER_UNINITIALISED, state);
}

TEST_F(HashTest, AnInitialisedProviderIsReady) {
  makeReady();
  int state = -1;
  EXPECT_EQ(TOOLKIT_OK, toolkit_provider_state(context_, &state));
  EXPECT_EQ(TOOLKIT_PROVIDER_READY, state);
}

TEST_F(HashTest, RegisteringAgainLeavesAReadyProviderReady) {
  makeReady();
  EXPECT_EQ(TOOLKIT_OK, toolkit_provider_register(context_));
  int state = -1;
  EXPECT_EQ(TOOLKIT_OK, toolkit_provider_state(context_, &state));
  EXPECT_EQ(TOOLKIT_PROVIDER_READY, state);
}

TEST_F(HashTest, InitialisingAgainDoesNotDisturbARunningHash) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  EXPECT_EQ(TOOLKIT_OK, toolkit_provider_initialize(context_));
  feed(hash, "abc");
  EXPECT_EQ("a9993e364706816aba3e25717850c26c9cd0d89d", end(hash));
}

TEST_F(HashTest, AContextWithoutAProviderHasNoState) {
  int state = -1;
  EXPECT_EQ(TOOLKIT_NO_PROVIDER, toolkit_provider_state(context_, &state));
  EXPECT_EQ(-1, state);
}

TEST_F(HashTest, AProviderMustBeRegisteredBeforeItIsInitialised) {
  EXPECT_EQ(TOOLKIT_NO_PROVIDER, toolkit_provider_initialize(context_));
}

TEST_F(HashTest, NothingBeginsBeforeTheProviderIsInitialised) {
  ASSERT_EQ(TOOLKIT_OK, toolkit_provider_register(context_));
  toolkit_hash_t* hash = nullptr;
  EXPECT_EQ(TOOLKIT_NO_PROVIDER,
            toolkit_sha1_begin(context_, digestLength, nullptr, nullptr, &hash));
  EXPECT_EQ(nullptr, hash);
}

TEST_F(HashTest, AnotherDigestLengthIsUnsupported) {
  makeReady();
  toolkit_hash_t* hash = nullptr;
  EXPECT_EQ(TOOLKIT_UNSUPPORTED, toolkit_sha1_begin(context_, 32, nullptr, nullptr, &hash));
  EXPECT_EQ(nullptr, hash);
}

TEST_F(HashTest, UpdateNeedsDataForItsBytes) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_hash_update(hash, nullptr, 1));
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_end(hash, nullptr));
}

TEST_F(HashTest, UpdateOfNoBytesNeedsNoData) {
  makeReady();
  toolkit_hash_t* const hash = begin();
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_update(hash, nullptr, 0));
  EXPECT_EQ(TOOLKIT_OK, toolkit_hash_end(hash, nullptr));
}

TEST_F(HashTest, StateNeedsAPlaceToGo) {
  ASSERT_EQ(TOOLKIT_OK, toolkit_provider_register(context_));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_provider_state(context_, nullptr));
}

TEST_F(HashTest, BeginNeedsAPlaceForTheHash) {
  makeReady();
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT,
            toolkit_sha1_begin(context_, digestLength, nullptr, nullptr, nullptr));
}

TEST(HashWithoutAContext, IsABadArgumentEverywhere) {
  int state = 0;
  toolkit_hash_t* hash = nullptr;
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_context_create(nullptr));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_provider_register(nullptr));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_provider_state(nullptr, &state));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_provider_initialize(nullptr));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT,
            toolkit_sha1_begin(nullptr, digestLength, nullptr, nullptr, &hash));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_hash_update(nullptr, nullptr, 0));
  EXPECT_EQ(TOOLKIT_BAD_ARGUMENT, toolkit_hash_end(nullptr, nullptr));
}

}  // namespace
