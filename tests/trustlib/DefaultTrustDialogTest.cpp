#include "trustlib/DefaultTrustDialog.h"

#include <filesystem>
#include <fstream>
#include <future>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ScriptedService.h"
#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateTrustInfoImpl.h"
#include "trustlib/FileCertificateExceptionStore.h"

namespace fs = std::filesystem;

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

const std::string domain("host.test");

std::string answerOf(bool accepted, bool always) {
  return std::string("dat:json:{\"resp_obj\":{\"accepted\":") + (accepted ? "true" : "false") +
         ",\"alwaysTrust\":" + (always ? "true" : "false") + "}}\n";
}

// The bytes of the files that a request names.
std::vector<std::string> filesOf(const std::string& request) {
  std::vector<std::string> contents;
  std::size_t at = request.find("\"chain\":[");
  while ((at = request.find("\"/", at)) != std::string::npos) {
    const std::size_t end = request.find('"', at + 1);
    std::ifstream file(request.substr(at + 1, end - at - 1), std::ios::binary);
    contents.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    at = end;
  }
  return contents;
}

class Dialog : public testing::Test {
 protected:
  bool display(const std::string& answer) {
    const ScriptedService service(world.runtime(), "dialog", answer);
    const bool accepted = dialog.display();
    requests = service.requests();
    return accepted;
  }

  std::vector<std::string> temporaryFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(world.home() + "/tmp")) {
      names.push_back(entry.path().filename());
    }
    return names;
  }

  bool isStored() const { return store.exceptionExists(&record); }

  ServiceWorld world;
  Chain chain{"leaf", "root"};
  CertificateTrustInfoImpl info{false, 0x100, &domain, chain.list(), false};
  CertificateExceptionImpl record{0x100, &domain, chain.list()};
  std::string directory = world.root() + "/store";
  FileCertificateExceptionStore store{&directory};
  DefaultTrustDialog dialog{&info, &store};
  std::vector<std::string> requests;
};

TEST_F(Dialog, OnceIsAcceptedAndNotRemembered) {
  EXPECT_TRUE(display(answerOf(true, false)));
  EXPECT_FALSE(isStored());
}

TEST_F(Dialog, DeclinedIsNotAccepted) {
  EXPECT_FALSE(display(answerOf(false, false)));
  EXPECT_FALSE(isStored());
}

TEST_F(Dialog, AlwaysIsAcceptedAndRemembered) {
  EXPECT_TRUE(display(answerOf(true, true)));
  EXPECT_TRUE(isStored());
}

TEST_F(Dialog, AlwaysCountsEvenWhereAcceptedIsFalse) {
  EXPECT_TRUE(display(answerOf(false, true)));
  EXPECT_TRUE(isStored());
}

TEST_F(Dialog, RequestNamesDomainAndWarningsOfTheVerdict) {
  display(answerOf(false, false));
  EXPECT_THAT(
      requests,
      ElementsAre(HasSubstr(R"("domain":"host.test","import":false,"warnings":["NO_TRUSTED"],)")));
}

TEST_F(Dialog, FilesHoldTheChainInOrderWhileTheQuestionStands) {
  std::vector<std::string> seen;
  {
    const ScriptedService service(world.runtime(), "dialog", [&](const std::string& request) {
      seen = filesOf(request);
      return answerOf(false, false);
    });
    dialog.display();
  }
  EXPECT_THAT(seen, ElementsAre("leaf", "root"));
  EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(Dialog, MayBeShownAgain) {
  EXPECT_FALSE(display(answerOf(false, false)));
  EXPECT_TRUE(display(answerOf(true, false)));
}

TEST_F(Dialog, EqualRecordMeansNoQuestionAndTheAnswerFalse) {
  store.addException(&record);
  EXPECT_FALSE(display(answerOf(true, true)));
  EXPECT_THAT(requests, IsEmpty());
}

TEST_F(Dialog, RecordWithOtherWarningsIsNoReasonNotToAsk) {
  const CertificateExceptionImpl other(0x108, &domain, chain.list());
  store.addException(&other);
  EXPECT_TRUE(display(answerOf(true, false)));
}

TEST_F(Dialog, WithoutAStoreAlwaysIsAcceptedAndForgotten) {
  DefaultTrustDialog storeless(&info, nullptr);
  const ScriptedService service(world.runtime(), "dialog", answerOf(true, true));
  EXPECT_TRUE(storeless.display());
  EXPECT_FALSE(isStored());
}

TEST_F(Dialog, EmptyChainIsNeverRemembered) {
  CertificateTrustInfoImpl empty(false, 0x100, &domain, nullptr, false);
  DefaultTrustDialog about(&empty, &store);
  const ScriptedService service(world.runtime(), "dialog", answerOf(true, true));
  EXPECT_TRUE(about.display());
  EXPECT_TRUE(fs::is_empty(directory));
}

TEST_F(Dialog, TimeBelowTheLeastDisplayTimeShowsNothing) {
  dialog.setDialogInvocationTimeout(5);
  EXPECT_FALSE(display(answerOf(true, true)));
  EXPECT_THAT(requests, IsEmpty());
  EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(Dialog, TimeOfTheLeastDisplayTimeIsEnough) {
  dialog.setDialogInvocationTimeout(10);
  EXPECT_TRUE(display(answerOf(true, false)));
}

TEST_F(Dialog, NegativeLeastDisplayTimeIsIgnored) {
  dialog.setDialogMinimumDisplayTimeout(-3);
  dialog.setDialogInvocationTimeout(5);
  EXPECT_FALSE(display(answerOf(true, false)));
}

TEST_F(Dialog, LeastDisplayTimeMayBeZero) {
  dialog.setDialogMinimumDisplayTimeout(0);
  dialog.setDialogInvocationTimeout(5);
  EXPECT_TRUE(display(answerOf(true, false)));
}

TEST_F(Dialog, NegativeInvocationTimeIsTakenAsNoLimit) {
  dialog.setDialogInvocationTimeout(5);
  dialog.setDialogInvocationTimeout(-3);
  EXPECT_TRUE(display(answerOf(true, false)));
}

TEST_F(Dialog, NoAnswerInTimeIsNotAccepted) {
  dialog.setDialogMinimumDisplayTimeout(0);
  dialog.setDialogInvocationTimeout(0);
  const ScriptedService service(world.runtime(), "dialog",
                                [](const std::string&) { return std::nullopt; });
  EXPECT_FALSE(dialog.display());
  EXPECT_THAT(temporaryFiles(), IsEmpty());
}

TEST_F(Dialog, GroupIdIsSentUpToItsFirstNul) {
  std::string group("7\0x", 3);
  dialog.setGroupId(&group);
  display(answerOf(false, false));
  EXPECT_THAT(requests, ElementsAre(HasSubstr(R"("groupId":"7",)")));
}

TEST_F(Dialog, GroupIdIsCopied) {
  std::string group("7");
  dialog.setGroupId(&group);
  group = "8";
  display(answerOf(false, false));
  EXPECT_THAT(requests, ElementsAre(HasSubstr(R"("groupId":"7",)")));
}

TEST_F(Dialog, NullGroupIdIsNoGroup) {
  std::string group("7");
  dialog.setGroupId(&group);
  dialog.setGroupId(nullptr);
  display(answerOf(false, false));
  EXPECT_THAT(requests, ElementsAre(Not(HasSubstr("groupId"))));
}

TEST_F(Dialog, ErrorOfTheServiceIsReportedAndLeavesNothing) {
  EXPECT_THROWS(display("err::no\n"), TrustManagerException,
                "CertificateManager: showtrustdialog returned error: no");
  EXPECT_THAT(temporaryFiles(), IsEmpty());
  EXPECT_TRUE(display(answerOf(true, false)));
}

TEST_F(Dialog, StoreThatCannotBeWrittenIsReported) {
  fs::remove(directory);
  EXPECT_THROWS(display(answerOf(true, true)), TrustManagerException,
                "FileUtilities::write - failed to open file");
  EXPECT_THAT(temporaryFiles(), IsEmpty());
}

// A dialog on screen for as long as a test wants.
class DialogOnScreen : public Dialog {
 protected:
  DialogOnScreen()
      : service(world.runtime(), "dialog", [this](const std::string&) {
          shown.set_value();
          answered.get_future().wait();
          return answer;
        }) {
    first = std::async(std::launch::async, [this] { return dialog.display(); });
    shown.get_future().wait();
  }

  std::string answer = answerOf(true, false);
  std::promise<void> shown;
  std::promise<void> answered;
  ScriptedService service;
  std::future<bool> first;
};

TEST_F(DialogOnScreen, KeepsAnotherOneOffThatCannotWait) {
  DefaultTrustDialog second(&info, &store);
  second.setDialogInvocationTimeout(10);
  EXPECT_FALSE(second.display());
  EXPECT_EQ(1U, service.requests().size());
  answered.set_value();
  EXPECT_TRUE(first.get());
}

TEST_F(DialogOnScreen, RemembersBeforeTheNextOneLooks) {
  answer = answerOf(true, true);
  DefaultTrustDialog second(&info, &store);
  std::future<bool> next = std::async(std::launch::async, [&] { return second.display(); });
  answered.set_value();
  EXPECT_TRUE(first.get());
  EXPECT_FALSE(next.get());
  EXPECT_EQ(1U, service.requests().size());
}

}  // namespace
