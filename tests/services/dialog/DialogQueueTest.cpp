#include "services/dialog/DialogQueue.h"

#include <algorithm>
#include <condition_variable>
#include <functional>
#include <future>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <stop_token>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::Each;
using testing::ElementsAre;

DialogQuestion about(const std::string& domain, uid_t user = 1) {
  DialogQuestion question;
  question.user = user;
  question.domain = domain;
  question.chain = {{1, 2, 3}};
  return question;
}

// A user who answers when the test says so, and a queue before him.
class DialogQueueTest : public testing::Test {
 protected:
  DialogQueueTest() : queue_([this](uid_t, std::size_t) { note(arrived_); }) {}

  // Asks on a thread of its own, and returns when the queue has taken the request in.
  std::future<DialogChoice> ask(const DialogQuestion& question, const std::stop_token& stop = {}) {
    return started([this, question, stop] {
      return queue_.ask(
          question, [&](const std::stop_token& token) { return show(*question.domain, token); },
          stop);
    });
  }

  // The same for an asker who cannot be shown anything.
  std::future<DialogChoice> askUnseen(const DialogQuestion& question,
                                      const std::stop_token& stop = {}) {
    return started([this, question, stop] { return queue_.ask(question, {}, stop); });
  }

  // Answers the next dialog that is shown, or the one on screen.
  void answer(DialogChoice choice) {
    const std::lock_guard lock(mutex_);
    answers_.push_back(choice);
    changed_.notify_all();
  }

  void waitUntilShown(std::size_t count) {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return shown_.size() >= count; });
  }

  std::vector<std::string> shown() {
    const std::lock_guard lock(mutex_);
    return shown_;
  }

  std::vector<DialogChoice> answersOf(std::vector<std::future<DialogChoice>>& asked) {
    std::vector<DialogChoice> choices;
    for (auto& one : asked) choices.push_back(one.get());
    return choices;
  }

  int onScreenAtMost() {
    const std::lock_guard lock(mutex_);
    return most_;
  }

  std::future<DialogChoice> started(std::function<DialogChoice()> call) {
    const std::size_t before = countOf(arrived_);
    auto asked = std::async(std::launch::async, std::move(call));
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [&] { return arrived_ > before; });
    return asked;
  }

  std::optional<DialogChoice> show(const std::string& domain, const std::stop_token& token) {
    std::unique_lock lock(mutex_);
    shown_.push_back(domain);
    most_ = std::max(most_, ++onScreen_);
    changed_.notify_all();
    changed_.wait(lock, token, [&] { return !answers_.empty(); });
    --onScreen_;
    if (answers_.empty()) return std::nullopt;
    const DialogChoice choice = answers_.front();
    answers_.erase(answers_.begin());
    return choice;
  }

  std::size_t countOf(const std::size_t& counter) {
    const std::lock_guard lock(mutex_);
    return counter;
  }

  void note(std::size_t& counter) {
    const std::lock_guard lock(mutex_);
    ++counter;
    changed_.notify_all();
  }

  std::mutex mutex_;
  std::condition_variable_any changed_;
  std::vector<std::string> shown_;
  std::vector<DialogChoice> answers_;
  std::size_t arrived_ = 0;
  int onScreen_ = 0;
  int most_ = 0;
  DialogQueue queue_;
};

TEST_F(DialogQueueTest, AnswerIsTheOneThatWasChosen) {
  answer(DialogChoice::always);
  EXPECT_EQ(DialogChoice::always, ask(about("a")).get());
}

TEST_F(DialogQueueTest, EqualQuestionsGetOneAnswer) {
  std::vector<std::future<DialogChoice>> asked;
  for (int i = 0; i < 30; ++i) asked.push_back(ask(about("a")));
  answer(DialogChoice::once);
  EXPECT_THAT(answersOf(asked), Each(DialogChoice::once));
  EXPECT_THAT(shown(), ElementsAre("a"));
}

TEST_F(DialogQueueTest, EqualQuestionAfterTheAnswerIsAsked) {
  answer(DialogChoice::once);
  ask(about("a")).get();
  answer(DialogChoice::decline);
  EXPECT_EQ(DialogChoice::decline, ask(about("a")).get());
}

TEST_F(DialogQueueTest, OtherQuestionsWaitInTheirOrder) {
  std::vector<std::future<DialogChoice>> asked;
  for (const char* domain : {"a", "b", "c", "a", "d"}) asked.push_back(ask(about(domain)));
  for (int i = 0; i < 4; ++i) answer(DialogChoice::once);
  answersOf(asked);
  EXPECT_THAT(shown(), ElementsAre("a", "b", "c", "d"));
}

TEST_F(DialogQueueTest, OneDialogOfAUserIsOnScreenAtATime) {
  std::vector<std::future<DialogChoice>> asked;
  for (const char* domain : {"a", "b", "c", "d", "e"}) asked.push_back(ask(about(domain)));
  for (int i = 0; i < 5; ++i) answer(DialogChoice::once);
  answersOf(asked);
  EXPECT_EQ(1, onScreenAtMost());
}

TEST_F(DialogQueueTest, RequestJoinsAQuestionThatIsNotOnScreenYet) {
  auto first = ask(about("a"));
  auto second = ask(about("b"));
  auto third = ask(about("b"));
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, first.get());
  answer(DialogChoice::always);
  EXPECT_EQ(DialogChoice::always, second.get());
  EXPECT_EQ(DialogChoice::always, third.get());
}

TEST_F(DialogQueueTest, OtherUsersDoNotWait) {
  auto first = ask(about("a", 1));
  auto second = ask(about("a", 2));
  waitUntilShown(2);
  EXPECT_EQ(2, onScreenAtMost());
  answer(DialogChoice::once);
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, first.get());
  EXPECT_EQ(DialogChoice::once, second.get());
}

class DialogQueueDifference : public DialogQueueTest,
                              public testing::WithParamInterface<DialogQuestion> {};

TEST_P(DialogQueueDifference, MakesAnotherQuestion) {
  auto first = ask(about("a"));
  auto second = ask(GetParam());
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, first.get());
  answer(DialogChoice::decline);
  EXPECT_EQ(DialogChoice::decline, second.get());
}

DialogQuestion changed(const std::function<void(DialogQuestion&)>& change) {
  DialogQuestion question = about("a");
  change(question);
  return question;
}

INSTANTIATE_TEST_SUITE_P(
    Any, DialogQueueDifference,
    testing::Values(changed([](auto& question) { question.domain = "A"; }),
                    changed([](auto& question) { question.warnings = 1; }),
                    changed([](auto& question) { question.chain[0].back() = 4; }),
                    changed([](auto& question) { question.chain.push_back({1}); })));

TEST_F(DialogQueueTest, WhoGivesUpOnScreenTakesTheDialogDown) {
  std::stop_source stop;
  auto asked = ask(about("a"), stop.get_token());
  waitUntilShown(1);
  stop.request_stop();
  EXPECT_EQ(DialogChoice::decline, asked.get());
}

TEST_F(DialogQueueTest, DialogOfOneWhoGaveUpIsShownAnewForTheNext) {
  std::stop_source stop;
  auto first = ask(about("a"), stop.get_token());
  auto second = ask(about("a"));
  waitUntilShown(1);
  stop.request_stop();
  EXPECT_EQ(DialogChoice::decline, first.get());
  waitUntilShown(2);
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, second.get());
}

TEST_F(DialogQueueTest, WhoGivesUpWhileJoinedLeavesTheDialogUp) {
  std::stop_source stop;
  auto first = ask(about("a"));
  auto second = ask(about("a"), stop.get_token());
  waitUntilShown(1);
  stop.request_stop();
  EXPECT_EQ(DialogChoice::decline, second.get());
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, first.get());
  EXPECT_THAT(shown(), ElementsAre("a"));
}

TEST_F(DialogQueueTest, WhoGivesUpInTheQueueIsNeverShown) {
  std::stop_source stop;
  auto first = ask(about("a"));
  auto second = ask(about("b"), stop.get_token());
  auto third = ask(about("c"));
  stop.request_stop();
  EXPECT_EQ(DialogChoice::decline, second.get());
  answer(DialogChoice::once);
  answer(DialogChoice::once);
  first.get();
  third.get();
  EXPECT_THAT(shown(), ElementsAre("a", "c"));
}

TEST_F(DialogQueueTest, WhoHasGivenUpBeforeIsDeclined) {
  std::stop_source stop;
  stop.request_stop();
  EXPECT_EQ(DialogChoice::decline, ask(about("a"), stop.get_token()).get());
  EXPECT_TRUE(shown().empty());
}

TEST_F(DialogQueueTest, WhoCannotBeShownAnythingIsDeclinedAtOnce) {
  auto first = ask(about("a"));
  EXPECT_EQ(DialogChoice::decline, queue_.ask(about("b"), {}, {}));
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, first.get());
}

TEST_F(DialogQueueTest, WhoCannotBeShownAnythingSharesTheAnswerOfAnother) {
  auto first = ask(about("a"));
  auto second = askUnseen(about("a"));
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, first.get());
  EXPECT_EQ(DialogChoice::once, second.get());
}

TEST_F(DialogQueueTest, WhoCannotBeShownAnythingIsDeclinedWhenTheOtherGivesUp) {
  std::stop_source stop;
  auto first = ask(about("a"), stop.get_token());
  auto second = askUnseen(about("a"));
  waitUntilShown(1);
  stop.request_stop();
  EXPECT_EQ(DialogChoice::decline, second.get());
}

TEST_F(DialogQueueTest, FailureOfOneLeavesTheQuestionToTheNext) {
  std::promise<void> failing;
  auto first = started([&] {
    return queue_.ask(about("a"),
                      [&](const std::stop_token&) -> std::optional<DialogChoice> {
                        failing.get_future().wait();
                        throw std::runtime_error("no memory");
                      },
                      {});
  });
  auto second = ask(about("a"));
  failing.set_value();
  EXPECT_THROW(first.get(), std::runtime_error);
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, second.get());
}

TEST_F(DialogQueueTest, TooManyRequestsOfAUserAreRefused) {
  std::vector<std::future<DialogChoice>> asked;
  for (std::size_t i = 0; i < DialogQueue::kMaxWaiting; ++i) asked.push_back(ask(about("a")));
  EXPECT_THROW(queue_.ask(about("a"), {}, {}), std::runtime_error);
  answer(DialogChoice::once);
  answersOf(asked);
}

TEST_F(DialogQueueTest, FullQueueOfAUserKeepsNobodyElseOut) {
  std::vector<std::future<DialogChoice>> asked;
  for (std::size_t i = 0; i < DialogQueue::kMaxWaiting; ++i) asked.push_back(ask(about("a", 1)));
  auto other = ask(about("b", 2));
  waitUntilShown(2);
  answer(DialogChoice::once);
  answer(DialogChoice::once);
  EXPECT_EQ(DialogChoice::once, other.get());
  answersOf(asked);
}

}  // namespace
