#include "services/dialog/model/DialogModelCodec.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace {

DialogModel makeModel() {
  DialogModel model;
  model.title = "A \"title\"";
  model.sections = {{"warning",
                     "Grüße",
                     DialogTone::danger,
                     {{"label", "text", DialogTone::doubt, true}, {"", "words", {}, false}}},
                    {"certificate", "empty", DialogTone::good, {}}};
  model.options = {{DialogChoice::decline, "no"}, {DialogChoice::always, "ever"}};
  model.confirmation = {"sure?", {{"", "this", DialogTone::plain, true}}, "yes", "back"};
  model.armMilliseconds = 1500;
  model.timeoutSeconds = 60;
  return model;
}

TEST(DialogModelCodec, EveryMemberSurvivesARoundTrip) {
  const std::string json = encodeDialogModel(makeModel());
  const DialogModel back = decodeDialogModel(json);
  EXPECT_EQ(json, encodeDialogModel(back));
  EXPECT_EQ("A \"title\"", back.title);
  ASSERT_EQ(2U, back.sections.size());
  EXPECT_EQ("Grüße", back.sections[0].heading);
  EXPECT_EQ(DialogTone::danger, back.sections[0].tone);
  ASSERT_EQ(2U, back.sections[0].lines.size());
  EXPECT_EQ("label", back.sections[0].lines[0].label);
  EXPECT_EQ(DialogTone::doubt, back.sections[0].lines[0].tone);
  EXPECT_TRUE(back.sections[0].lines[0].foreign);
  EXPECT_FALSE(back.sections[0].lines[1].foreign);
  EXPECT_EQ("certificate", back.sections[1].kind);
  ASSERT_EQ(2U, back.options.size());
  EXPECT_EQ(DialogChoice::always, back.options[1].choice);
  EXPECT_EQ("ever", back.options[1].label);
  EXPECT_EQ("sure?", back.confirmation.heading);
  EXPECT_EQ("this", back.confirmation.lines.at(0).text);
  EXPECT_EQ("yes", back.confirmation.acceptLabel);
  EXPECT_EQ("back", back.confirmation.backLabel);
  EXPECT_EQ(1500, back.armMilliseconds);
  EXPECT_EQ(60, back.timeoutSeconds);
}

TEST(DialogModelCodec, ATextIsNotCutAtANul) {
  DialogModel model = makeModel();
  model.title = std::string("a\0b", 3);
  EXPECT_THROW(encodeDialogModel(model), std::runtime_error);
}

TEST(DialogModelCodec, AWordThatNobodyKnowsIsRefused) {
  std::string json = encodeDialogModel(makeModel());
  json.replace(json.find("\"always\""), 8, "\"maybe!\"");
  EXPECT_THROW(decodeDialogModel(json), std::runtime_error);
}

TEST(DialogModelCodec, ATextThatIsNoModelIsRefused) {
  EXPECT_THROW(decodeDialogModel("{}"), std::runtime_error);
  EXPECT_THROW(decodeDialogModel(""), std::runtime_error);
}

}  // namespace
