#include "services/dialog/terminal/Conversation.h"

#include <gtest/gtest.h>

#include "tests/services/dialog/terminal/SampleDialog.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

class ConversationTest : public testing::Test {
 protected:
  ConversationTest() {
    model_.armMilliseconds = 1000;
    model_.timeoutSeconds = 0;
  }

  Conversation start() const { return {model_, begin_}; }
  Conversation startDrawn() const {
    Conversation conversation = start();
    conversation.drawn(begin_);
    return conversation;
  }
  // At the second question, which was drawn at `armed_`.
  Conversation startConfirming() const {
    Conversation conversation = startDrawn();
    conversation.press(Key::always, armed_);
    conversation.drawn(armed_);
    return conversation;
  }

  DialogModel model_ = makeSampleDialog();
  const Conversation::Time begin_{seconds(1000)};
  const Conversation::Time tooSoon_ = begin_ + milliseconds(999);
  const Conversation::Time armed_ = begin_ + milliseconds(1000);
  const Conversation::Time confirmTooSoon_ = armed_ + milliseconds(999);
  const Conversation::Time confirmArmed_ = armed_ + milliseconds(1000);
};

TEST_F(ConversationTest, StartsWithTheChoiceAndNoAnswer) {
  const Conversation conversation = start();
  EXPECT_EQ(Question::choice, conversation.question());
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, OnceIsTakenWhenArmed) {
  Conversation conversation = startDrawn();
  conversation.press(Key::once, armed_);
  EXPECT_EQ(DialogChoice::once, conversation.answer());
}

TEST_F(ConversationTest, OnceIsIgnoredBeforeItIsArmed) {
  Conversation conversation = startDrawn();
  conversation.press(Key::once, tooSoon_);
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, NothingIsAcceptedBeforeTheQuestionIsDrawnHoweverLate) {
  Conversation conversation = start();
  conversation.press(Key::once, begin_ + seconds(100));
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, DecliningNeedsNoArming) {
  Conversation conversation = start();
  conversation.press(Key::decline, begin_);
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, AlwaysAsksTheSecondQuestionWhenArmed) {
  Conversation conversation = startDrawn();
  conversation.press(Key::always, armed_);
  EXPECT_EQ(Question::confirmation, conversation.question());
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, AlwaysIsIgnoredBeforeItIsArmed) {
  Conversation conversation = startDrawn();
  conversation.press(Key::always, tooSoon_);
  EXPECT_EQ(Question::choice, conversation.question());
}

TEST_F(ConversationTest, AcceptingMeansNothingAtTheFirstQuestion) {
  Conversation conversation = startDrawn();
  conversation.press(Key::accept, armed_);
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, AcceptingTheSecondQuestionIsAlways) {
  Conversation conversation = startConfirming();
  conversation.press(Key::accept, confirmArmed_);
  EXPECT_EQ(DialogChoice::always, conversation.answer());
}

TEST_F(ConversationTest, TheSecondQuestionIsArmedAnew) {
  Conversation conversation = startConfirming();
  conversation.press(Key::accept, confirmTooSoon_);
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, TheSecondQuestionIsNotAcceptedBeforeItIsDrawn) {
  Conversation conversation = startDrawn();
  conversation.press(Key::always, armed_);
  conversation.press(Key::accept, armed_ + seconds(100));
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, DecliningTheSecondQuestionDeclines) {
  Conversation conversation = startConfirming();
  conversation.press(Key::decline, armed_);
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, OnceMeansNothingAtTheSecondQuestion) {
  Conversation conversation = startConfirming();
  conversation.press(Key::once, confirmArmed_);
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, AlwaysMeansNothingAtTheSecondQuestion) {
  Conversation conversation = startConfirming();
  conversation.press(Key::always, confirmArmed_);
  EXPECT_EQ(Question::confirmation, conversation.question());
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, BackReturnsToTheChoiceWithoutArming) {
  Conversation conversation = startConfirming();
  conversation.press(Key::back, armed_);
  EXPECT_EQ(Question::choice, conversation.question());
}

TEST_F(ConversationTest, TheChoiceIsArmedAnewAfterTheWayBack) {
  Conversation conversation = startConfirming();
  conversation.press(Key::back, confirmArmed_);
  conversation.drawn(confirmArmed_);
  conversation.press(Key::once, confirmArmed_ + milliseconds(999));
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, BackMeansNothingAtTheFirstQuestion) {
  Conversation conversation = startDrawn();
  conversation.press(Key::back, armed_);
  EXPECT_EQ(Question::choice, conversation.question());
  EXPECT_TRUE(conversation.isArmed(armed_));
}

TEST_F(ConversationTest, ScrollingNeitherAnswersNorDisarms) {
  Conversation conversation = startDrawn();
  conversation.press(Key::pageDown, armed_);
  EXPECT_FALSE(conversation.answer());
  EXPECT_TRUE(conversation.isArmed(armed_));
}

TEST_F(ConversationTest, DrawingAgainDoesNotArmAnew) {
  Conversation conversation = startDrawn();
  conversation.drawn(tooSoon_);
  EXPECT_TRUE(conversation.isArmed(armed_));
}

TEST_F(ConversationTest, AHiddenQuestionAcceptsNothing) {
  Conversation conversation = startDrawn();
  conversation.hidden();
  conversation.press(Key::once, armed_);
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, AHiddenQuestionCanBeDeclined) {
  Conversation conversation = startDrawn();
  conversation.hidden();
  conversation.press(Key::decline, armed_);
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, AQuestionThatIsSeenAgainIsArmedAnew) {
  Conversation conversation = startDrawn();
  conversation.hidden();
  conversation.drawn(armed_);
  EXPECT_FALSE(conversation.isArmed(confirmTooSoon_));
  EXPECT_TRUE(conversation.isArmed(confirmArmed_));
}

TEST_F(ConversationTest, AnAnswerIsFinal) {
  Conversation conversation = startDrawn();
  conversation.press(Key::decline, armed_);
  conversation.press(Key::once, armed_);
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, WhatIsNotOfferedCannotBeChosen) {
  model_.options.resize(1);
  Conversation conversation = startDrawn();
  conversation.press(Key::once, armed_);
  conversation.press(Key::always, armed_);
  EXPECT_FALSE(conversation.answer());
  EXPECT_EQ(Question::choice, conversation.question());
}

TEST_F(ConversationTest, ItIsShownAsWaitingUntilArmed) {
  const Conversation conversation = startDrawn();
  EXPECT_TRUE(conversation.isWaiting(tooSoon_));
  EXPECT_FALSE(conversation.isWaiting(armed_));
}

TEST_F(ConversationTest, WithoutArmingTimeItNeverWaits) {
  model_.armMilliseconds = 0;
  EXPECT_FALSE(start().isWaiting(begin_));
}

TEST_F(ConversationTest, WithoutArmingTimeNothingIsAcceptedUnseen) {
  model_.armMilliseconds = 0;
  Conversation conversation = start();
  conversation.press(Key::once, begin_);
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, TheTimeOutDeclines) {
  model_.timeoutSeconds = 30;
  Conversation conversation = startDrawn();
  conversation.pass(begin_ + seconds(30));
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, ItGoesOnUntilTheTimeOut) {
  model_.timeoutSeconds = 30;
  Conversation conversation = startDrawn();
  conversation.pass(begin_ + milliseconds(29999));
  EXPECT_FALSE(conversation.answer());
}

TEST_F(ConversationTest, AKeyAtTheTimeOutComesTooLate) {
  model_.timeoutSeconds = 30;
  Conversation conversation = startDrawn();
  conversation.press(Key::once, begin_ + seconds(30));
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, TheSecondQuestionGetsNoMoreTime) {
  model_.timeoutSeconds = 30;
  Conversation conversation = startConfirming();
  conversation.pass(begin_ + seconds(30));
  EXPECT_EQ(DialogChoice::decline, conversation.answer());
}

TEST_F(ConversationTest, WithoutTimeOutItWaitsForDays) {
  Conversation conversation = startDrawn();
  conversation.pass(begin_ + std::chrono::hours(1000));
  EXPECT_FALSE(conversation.answer());
  EXPECT_FALSE(conversation.secondsLeft(begin_));
}

TEST_F(ConversationTest, SecondsLeftAreRoundedUp) {
  model_.timeoutSeconds = 30;
  EXPECT_EQ(30, start().secondsLeft(begin_ + milliseconds(1)));
  EXPECT_EQ(1, start().secondsLeft(begin_ + milliseconds(29999)));
}

TEST_F(ConversationTest, SecondsLeftEndAtZero) {
  model_.timeoutSeconds = 30;
  EXPECT_EQ(0, start().secondsLeft(begin_ + seconds(31)));
}

}  // namespace
