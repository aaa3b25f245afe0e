#include "services/certmgr/workers/WorkerMessage.h"

#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

namespace {

using Groups = std::optional<std::vector<gid_t>>;

WorkerMessage sample(Groups groups) {
  WorkerMessage message;
  message.generation = 1ULL << 40;
  message.request.text = std::string("msg::x\n\0y", 9);
  message.request.pid = 42;
  message.request.uid = 4000000000U;
  message.request.gid = 7;
  message.request.groups = std::move(groups);
  return message;
}

WorkerMessage sent(const WorkerMessage& message) {
  return WorkerMessage::decode(message.encode());
}

TEST(WorkerMessage, TextArrivesByteForByte) {
  EXPECT_EQ(std::string("msg::x\n\0y", 9), sent(sample({})).request.text);
}

TEST(WorkerMessage, GenerationArrives) {
  EXPECT_EQ(1ULL << 40, sent(sample({})).generation);
}

TEST(WorkerMessage, WhoAsksArrives) {
  const ControlRequest request = sent(sample({})).request;
  EXPECT_EQ(42, request.pid);
  EXPECT_EQ(4000000000U, request.uid);
  EXPECT_EQ(7U, request.gid);
}

TEST(WorkerMessage, GroupsArrive) {
  EXPECT_EQ((Groups{{3, 4000000000U}}), sent(sample({{3, 4000000000U}})).request.groups);
}

TEST(WorkerMessage, NoGroupsAreNotUnknownGroups) {
  EXPECT_EQ(Groups{std::vector<gid_t>{}}, sent(sample(std::vector<gid_t>{})).request.groups);
  EXPECT_EQ(std::nullopt, sent(sample(std::nullopt)).request.groups);
}

TEST(WorkerMessage, AsManyGroupsAsFitArrive) {
  const std::vector<gid_t> groups(4096, 5);
  EXPECT_EQ(Groups{groups}, sent(sample(groups)).request.groups);
}

TEST(WorkerMessage, MoreGroupsAreUnknownAndNotCut) {
  EXPECT_EQ(std::nullopt, sent(sample(std::vector<gid_t>(4097, 5))).request.groups);
}

TEST(WorkerMessage, LargestRequestWithAllGroupsFits) {
  WorkerMessage message = sample(std::vector<gid_t>(4096, 5));
  message.request.text.assign(65536, 'x');
  EXPECT_LE(message.encode().size(), WorkerMessage::kMaxBytes);
}

TEST(WorkerMessage, IsReadFromAnyAddress) {
  const std::string bytes = "x" + sample({{3, 4000000000U}}).encode();
  const WorkerMessage message = WorkerMessage::decode(std::string_view(bytes).substr(1));
  EXPECT_EQ(1ULL << 40, message.generation);
  EXPECT_EQ((Groups{{3, 4000000000U}}), message.request.groups);
}

TEST(WorkerMessage, CutMessageIsRefused) {
  WorkerMessage message = sample({{1, 2, 3}});
  message.request.text.clear();
  const std::string bytes = message.encode();
  EXPECT_THROW(WorkerMessage::decode(bytes.substr(0, bytes.size() - 1)), std::runtime_error);
  EXPECT_THROW(WorkerMessage::decode(""), std::runtime_error);
}

}  // namespace
