#include "services/dialog/model/DialogModelBuilder.h"

#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/common/WarningTexts.h"
#include "services/dialog/model/DialogModelCodec.h"
#include "tests/services/dialog/model/ModelReading.h"

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using Warning = CertificateWarnings;

TestCertificate someLeaf() {
  return CertificateMaker("a.example").dns("a.example").make();
}

DialogModel modelOf(unsigned long long warnings) {
  return buildDialogModel(inputOf({someLeaf()}, warnings));
}

DialogModel modelFor(const std::optional<std::string>& domain) {
  DialogInput input = inputOf({someLeaf()}, Warning::NO_TRUSTED);
  input.domain = domain;
  return buildDialogModel(input);
}

TEST(DialogModelBuilder, PutsTheSectionsInReadingOrder) {
  const TestCertificate expired = CertificateMaker("a.example").notBefore("20260602000000Z").make();
  DialogInput input = inputOf({expired}, Warning::CERT_EXPIRY | Warning::NO_TRUSTED);
  addEarlier(&input, {someLeaf()}, Warning::NO_TRUSTED);
  std::vector<std::string> kinds;
  for (const DialogSection& section : buildDialogModel(input).sections) {
    kinds.push_back(section.kind);
  }
  EXPECT_THAT(kinds, ElementsAre("asker", "domain", "history", "clock", "warning", "warning",
                                 "certificate"));
}

TEST(DialogModelBuilder, SaysWhoAsksAsTheKernelTellsIt) {
  const auto asker = sectionsOf(modelOf(1), "asker").at(0);
  EXPECT_THAT(asker.heading, HasSubstr("as the kernel tells it"));
  EXPECT_THAT(valuesOf(asker, "program"), ElementsAre("/usr/bin/fetch"));
  EXPECT_THAT(valuesOf(asker, "process"), ElementsAre("4711"));
  EXPECT_THAT(valuesOf(asker, "user"), ElementsAre("ada"));
}

TEST(DialogModelBuilder, SaysThatTheProgramCannotBeTold) {
  DialogInput input = inputOf({someLeaf()}, 1);
  input.asker.program = "";
  const auto asker = sectionsOf(buildDialogModel(input), "asker").at(0);
  EXPECT_THAT(valuesOf(asker, "program"), ElementsAre("(cannot be told)"));
}

TEST(DialogModelBuilder, OffersTheSafeChoiceFirst) {
  const DialogModel model = modelOf(1);
  ASSERT_EQ(3U, model.options.size());
  EXPECT_EQ(DialogChoice::decline, model.options[0].choice);
  EXPECT_EQ("Do not connect", model.options[0].label);
  EXPECT_EQ(DialogChoice::once, model.options[1].choice);
  EXPECT_EQ("Connect this once", model.options[1].label);
  EXPECT_EQ(DialogChoice::always, model.options[2].choice);
  EXPECT_EQ("Always trust exactly this", model.options[2].label);
}

TEST(DialogModelBuilder, ArmsAfterASecondAndLeavesTheTimeOutToTheService) {
  EXPECT_EQ(1000, modelOf(1).armMilliseconds);
  EXPECT_EQ(0, modelOf(1).timeoutSeconds);
}

TEST(DialogModelBuilder, TheSecondQuestionNamesExactlyWhatIsAccepted) {
  const TestCertificate root = CertificateMaker("Root").asCa().make();
  const TestCertificate leaf = CertificateMaker("a.example").issuedBy(root).make();
  const DialogModel model =
      buildDialogModel(inputOf({leaf, root}, Warning::NO_TRUSTED | Warning::CERT_EXPIRY));
  const DialogSection confirmation{"", "", {}, model.confirmation.lines};
  EXPECT_THAT(valuesOf(confirmation, "domain"), ElementsAre("a.example"));
  EXPECT_THAT(valuesOf(confirmation, "subject"), ElementsAre("CN=a.example"));
  EXPECT_THAT(valuesOf(confirmation, "issued by"), ElementsAre("CN=Root"));
  EXPECT_THAT(valuesOf(confirmation, "valid to"), ElementsAre("2099-12-31T23:59:59Z"));
  EXPECT_EQ(valuesOf(sectionsOf(model, "certificate").at(0), "SHA-256"),
            valuesOf(confirmation, "SHA-256"));
  EXPECT_THAT(valuesOf(confirmation, "certificates"), ElementsAre(HasSubstr("and the 1 above it")));
  EXPECT_THAT(valuesOf(confirmation, "in spite of"),
              ElementsAre(textsOf(Warning::NO_TRUSTED).front()->summary,
                          textsOf(Warning::CERT_EXPIRY).front()->summary));
  EXPECT_THAT(model.confirmation.lines.back().text, HasSubstr("asked about again"));
}

TEST(DialogModelBuilder, TheSecondQuestionSaysHowFarOutsideItsValidityACertificateIs) {
  DialogInput input = inputOf({someLeaf()}, Warning::CERT_EXPIRY);
  input.now = 0;
  const DialogSection confirmation{"", "", {}, buildDialogModel(input).confirmation.lines};
  EXPECT_THAT(valuesOf(confirmation, "now"), ElementsAre(HasSubstr("not valid yet")));
}

TEST(DialogModelBuilder, TheSecondQuestionWeighsTheWarningsAsTheFirstOneDoes) {
  const DialogModel model = modelOf(Warning::REVOKED | Warning::CERT_EXPIRY);
  std::vector<DialogTone> tones;
  for (const DialogLine& line : model.confirmation.lines) {
    if (line.label == "in spite of") tones.push_back(line.tone);
  }
  EXPECT_THAT(tones, ElementsAre(DialogTone::danger, DialogTone::doubt));
}

TEST(DialogModelBuilder, TheSecondQuestionSaysWhatAcceptingWithoutADomainMeans) {
  const DialogSection confirmation{"", "", {}, modelFor(std::nullopt).confirmation.lines};
  EXPECT_THAT(valuesOf(confirmation, ""),
              testing::Contains(HasSubstr("wherever a program names no domain")));
}

TEST(DialogModelBuilder, TheSecondQuestionMarksALookAlikeToo) {
  const DialogSection confirmation{"", "", {}, modelFor("xn--bnk-6cd.example").confirmation.lines};
  EXPECT_THAT(valuesOf(confirmation, "looks like"), ElementsAre("bank.example"));
}

TEST(DialogModelBuilder, ReadsRightWithoutADomain) {
  const DialogModel model = modelFor(std::nullopt);
  const auto domain = sectionsOf(model, "domain").at(0);
  EXPECT_THAT(valuesOf(domain, ""), ElementsAre(HasSubstr("named no domain")));
  EXPECT_THAT(valuesOf(domain, "domain"), IsEmpty());
  EXPECT_EQ(DialogTone::doubt, domain.tone);
}

TEST(DialogModelBuilder, TellsAnEmptyDomainFromNone) {
  EXPECT_THAT(valuesOf(sectionsOf(modelFor(""), "domain").at(0), ""),
              ElementsAre(HasSubstr("an empty domain")));
}

TEST(DialogModelBuilder, SaysThatAnAddressIsOne) {
  EXPECT_THAT(valuesOf(sectionsOf(modelFor("192.0.2.1"), "domain").at(0), ""),
              ElementsAre(HasSubstr("numeric address")));
}

TEST(DialogModelBuilder, CutsAnOverlongDomainWithAMark) {
  const auto domain = sectionsOf(modelFor(std::string(1U << 20U, 'a')), "domain").at(0);
  ASSERT_EQ(1U, valuesOf(domain, "domain").size());
  EXPECT_LE(valuesOf(domain, "domain")[0].size(), 600U);
  EXPECT_THAT(valuesOf(domain, "domain")[0], HasSubstr("more bytes]"));
  EXPECT_THAT(valuesOf(domain, ""), ElementsAre(HasSubstr("longer than any real domain")));
}

TEST(DialogModelBuilder, SpeaksOfNoOptionOfAnotherProgram) {
  for (const DialogLine& line : allLines(modelOf(0x3fff))) {
    EXPECT_THAT(line.text, Not(HasSubstr(" --")));
    EXPECT_THAT(line.text, Not(HasSubstr("trustctl")));
  }
}

TEST(DialogModelBuilder, MakesWhatAFaceCanRead) {
  const std::string json = encodeDialogModel(modelOf(0x3fff));
  EXPECT_EQ(json, encodeDialogModel(decodeDialogModel(json)));
}

TEST(DialogModelBuilder, RefusesAnEmptyChain) {
  EXPECT_THROW(buildDialogModel(inputOf({}, 1)), std::runtime_error);
}

TEST(DialogModelBuilder, RefusesWhatIsNoCertificate) {
  DialogInput input = inputOf({someLeaf()}, 1);
  input.chain.push_back({0x30, 0x00});
  EXPECT_THROW(buildDialogModel(input), std::runtime_error);
}

}  // namespace
