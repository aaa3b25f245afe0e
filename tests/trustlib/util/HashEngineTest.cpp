#include "trustlib/util/HashEngine.h"

#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "trustlib/util/Utilities.h"

namespace {

const char* const sha1OfAbc = "a9993e364706816aba3e25717850c26c9cd0d89d";

const unsigned char* bytes(const char* text) {
  return reinterpret_cast<const unsigned char*>(text);
}

std::string finish(HashEngine& engine) {
  unsigned char digest[HashEngine::digestLength];
  unsigned int length = 0;
  EXPECT_EQ(0, engine.getHash(digest, &length));
  EXPECT_EQ(20U, length);
  std::string hex;
  Utilities::binaryToHex(digest, length, &hex);
  return hex;
}

TEST(HashEngine, ComputesSha1) {
  HashEngine engine;
  EXPECT_EQ(0, engine.init());
  EXPECT_EQ(0, engine.update(bytes("abc"), 3));
  EXPECT_EQ(sha1OfAbc, finish(engine));
}

TEST(HashEngine, BytesMayComeInPieces) {
  HashEngine engine;
  engine.init();
  engine.update(bytes("a"), 1);
  engine.update(bytes(""), 0);
  engine.update(bytes("bc"), 2);
  EXPECT_EQ(sha1OfAbc, finish(engine));
}

TEST(HashEngine, UpdateWithoutInitFails) {
  HashEngine engine;
  EXPECT_EQ(-1, engine.update(bytes("abc"), 3));
}

TEST(HashEngine, GetHashWithoutInitFailsButStillTellsTheLength) {
  HashEngine engine;
  unsigned char digest[HashEngine::digestLength];
  unsigned int length = 0;
  EXPECT_NE(0, engine.getHash(digest, &length));
  EXPECT_EQ(20U, length);
}

TEST(HashEngine, SecondInitLeavesTheRunningComputationAlone) {
  HashEngine engine;
  engine.init();
  engine.update(bytes("a"), 1);
  EXPECT_EQ(0, engine.init());
  engine.update(bytes("bc"), 2);
  EXPECT_EQ(sha1OfAbc, finish(engine));
}

TEST(HashEngine, AfterASuccessItStartsAfresh) {
  HashEngine engine;
  engine.init();
  engine.update(bytes("other"), 5);
  finish(engine);
  EXPECT_EQ(-1, engine.update(bytes("abc"), 3));
  engine.init();
  engine.update(bytes("abc"), 3);
  EXPECT_EQ(sha1OfAbc, finish(engine));
}

TEST(HashEngine, LengthPointerMayBeNull) {
  HashEngine engine;
  engine.init();
  unsigned char digest[HashEngine::digestLength];
  EXPECT_EQ(0, engine.getHash(digest, nullptr));
}

TEST(HashEngine, LengthIsAlwaysTwenty) {
  EXPECT_EQ(20, HashEngine().getHashLength());
}

TEST(HashEngine, ComputationStillRunningAtTheEndIsDiscarded) {
  HashEngine engine;
  engine.init();
  engine.update(bytes("abc"), 3);
}

TEST(HashEngine, EnginesOfManyThreadsDoNotDisturbEachOther) {
  std::vector<std::thread> threads;
  std::vector<std::string> digests(8);
  threads.reserve(digests.size());
  for (std::string& digest : digests) {
    threads.emplace_back([&digest] {
      HashEngine engine;
      engine.init();
      engine.update(bytes("abc"), 3);
      digest = finish(engine);
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  EXPECT_EQ(std::vector<std::string>(8, sha1OfAbc), digests);
}

}  // namespace
