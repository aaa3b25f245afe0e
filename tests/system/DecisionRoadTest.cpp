// Verdict, question, memory: the real library, both real services, and a face that is a script.

#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Fifo.h"
#include "tests/support/PseudoTerminal.h"
#include "tests/support/Throws.h"
#include "tests/system/Road.h"
#include "trustlib/CertificateExceptionStoreFactory.h"
#include "trustlib/TrustManagerFactory.h"

namespace fs = std::filesystem;

namespace {

class DecisionRoad : public testing::Test {
 protected:
  DecisionRoad() {
    // Whoever runs the test is not to be asked: this process gets a terminal of its own.
    setsid();
    close(open(terminal.path().c_str(), O_RDWR | O_CLOEXEC));
    road.start();
  }

  // The end of the terminal is not to be that of this process.
  ~DecisionRoad() override { signal(SIGHUP, SIG_IGN); }

  void TearDown() override {
    EXPECT_TRUE(temporaryFiles().empty()) << "temporary files left";
    // Stores live until then, and a leak checker looks at the end of the process.
    fs::create_directories(storePath());
    CertificateExceptionStoreFactory::clean();
  }

  // The dialog service, with a user who does what the script says; $log, $go and $store name files.
  void startDialog(const std::string& script) {
    const std::string path = road.world.root() + "/face";
    std::ofstream(path) << "#!/bin/sh\nlog='" << logPath << "'\ngo='" << go.path() << "'\nstore='"
                        << storePath() << "'\ncat >/dev/null\necho asked >>\"$log\"\n"
                        << script << "\n";
    fs::permissions(path, fs::perms(0755));
    dialog.reset();
    dialog = std::make_unique<ServiceProcess>(
        DIALOGD, std::vector<std::string>{"--verbose", "--face-program=" + path});
    ASSERT_TRUE(dialog->isReady()) << dialog->errors();
  }

  bool verify(const TestCertificate& leaf, std::string domain = "host.test") const {
    const std::unique_ptr<TrustManager> manager(TrustManagerFactory::createTrustManager());
    Chain chain{leaf.derString(), road.interByRoot.derString()};
    return manager->verify(&domain, chain.list());
  }

  std::size_t questions() const {
    std::ifstream log(logPath);
    std::size_t count = 0;
    for (std::string line; std::getline(log, line);) {
      ++count;
    }
    return count;
  }

  std::size_t stored() const { return entriesOf(storePath()); }
  std::string storePath() const { return road.world.home() + "/vallorin/certexcept"; }

  std::vector<std::string> temporaryFiles() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(road.world.home() + "/tmp")) {
      names.push_back(entry.path().filename());
    }
    return names;
  }

  static std::size_t entriesOf(const std::string& directory) {
    std::error_code missing;
    std::size_t count = 0;
    for (fs::directory_iterator entry(directory, missing); !missing && entry != fs::end(entry);
         entry.increment(missing)) {
      ++count;
    }
    return count;
  }

  void waitUntilSaid(const std::string& text) const {
    while (dialog->errors().find(text) == std::string::npos) {
      std::this_thread::yield();
    }
  }

  Road road;
  std::string logPath = road.world.root() + "/questions";
  Fifo go{road.world.root() + "/go"};
  PseudoTerminal terminal{geteuid()};
  TestCertificate good = road.leafFor("host.test");
  // Signed by nobody who is known.
  TestCertificate bad = CertificateMaker("host.test").asServer().dns("host.test").make();
  std::unique_ptr<ServiceProcess> dialog;
};

TEST_F(DecisionRoad, ValidChainIsTrustedWithoutAQuestion) {
  startDialog("echo decline");
  EXPECT_TRUE(verify(good));
  EXPECT_EQ(0U, questions());
}

TEST_F(DecisionRoad, RevokedChainIsRefusedWithoutAQuestion) {
  addToHashedDirectory(road.world.root() + "/stores/common/user_trusted",
                       CrlMaker(road.interByRoot).revoke(good));
  startDialog("echo once");
  EXPECT_FALSE(verify(good));
  EXPECT_EQ(0U, questions());
}

TEST_F(DecisionRoad, BlacklistedChainIsRefusedWithoutAQuestion) {
  startDialog("echo once");
  const TestCertificate leaf = road.blacklistedLeafFor("host.test");
  EXPECT_FALSE(verify(leaf));
  EXPECT_EQ(0U, questions());
}

TEST_F(DecisionRoad, OnceIsAskedAgain) {
  startDialog("echo once");
  EXPECT_TRUE(verify(bad));
  EXPECT_TRUE(verify(bad));
  EXPECT_EQ(2U, questions());
  EXPECT_EQ(0U, stored());
}

TEST_F(DecisionRoad, AlwaysIsSilentFromThenOn) {
  startDialog("echo always");
  EXPECT_TRUE(verify(bad));
  EXPECT_TRUE(verify(bad));
  EXPECT_EQ(1U, questions());
  EXPECT_EQ(1U, stored());
}

TEST_F(DecisionRoad, AlwaysHoldsForThisDomainAlone) {
  startDialog("echo always");
  EXPECT_TRUE(verify(bad));
  startDialog("echo decline");
  EXPECT_FALSE(verify(bad, "www.host.test"));
  EXPECT_EQ(2U, questions());
}

TEST_F(DecisionRoad, AlwaysHoldsForThisChainAlone) {
  startDialog("echo always");
  EXPECT_TRUE(verify(bad));
  startDialog("echo decline");
  EXPECT_FALSE(verify(CertificateMaker("host.test").asServer().dns("host.test").make()));
  EXPECT_EQ(2U, questions());
}

TEST_F(DecisionRoad, OneWarningMoreIsAskedAgain) {
  startDialog("echo always");
  EXPECT_TRUE(verify(bad));
  road.start({"--verification-time=2150-01-01T00:00:00Z"});
  startDialog("echo decline");
  EXPECT_FALSE(verify(bad));
  EXPECT_EQ(2U, questions());
}

TEST_F(DecisionRoad, DeclinedIsAskedAgainAndNotStored) {
  startDialog("echo decline");
  EXPECT_FALSE(verify(bad));
  EXPECT_FALSE(verify(bad));
  EXPECT_EQ(2U, questions());
  EXPECT_EQ(0U, stored());
}

TEST_F(DecisionRoad, CrashOfTheFaceIsDeclined) {
  startDialog("kill -9 $$");
  EXPECT_FALSE(verify(bad));
  EXPECT_EQ(1U, questions());
}

TEST_F(DecisionRoad, UserWhoDoesNotAnswerInTimeHasDeclined) {
  startDialog("exec sleep 1000");
  const std::unique_ptr<TrustManager> manager(TrustManagerFactory::createTrustManager());
  const std::string domain("host.test");
  const std::unique_ptr<CertificateTrustInfo> info(road.verify(bad, domain));
  const std::unique_ptr<TrustDialog> question(
      manager->createDefaultTrustDialog(info.get(), manager->getLocalExceptionStore()));
  question->setDialogMinimumDisplayTimeout(1);
  question->setDialogInvocationTimeout(1);
  EXPECT_FALSE(question->display());
  // The question went with its client, so the next one is shown.
  startDialog("echo once");
  EXPECT_TRUE(verify(bad));
}

TEST_F(DecisionRoad, MissingDialogServiceIsAnError) {
  EXPECT_THROWS(verify(bad), TrustManagerException,
                "PpsConnection - failed to open PPS: /pps/services/dialog/control?wait");
}

TEST_F(DecisionRoad, DialogServiceThatDiesUnderTheQuestionIsAnError) {
  startDialog("kill -9 $PPID; exec sleep 1000");
  EXPECT_THROWS(verify(bad), TrustManagerException,
                "CertificateManager: unsupported showtrustdialog PPS response");
}

TEST_F(DecisionRoad, DecisionOutlivesTheDialogService) {
  startDialog("echo always");
  EXPECT_TRUE(verify(bad));
  dialog.reset();
  EXPECT_TRUE(verify(bad));
}

TEST_F(DecisionRoad, DecisionThatCannotBeStoredIsAnError) {
  startDialog("rm -r \"$store\"; echo always");
  EXPECT_THROWS(verify(bad), TrustManagerException, "FileUtilities::write - failed to open file");
}

// Each in a process of its own; how many of them were told to trust.
TEST_F(DecisionRoad, ThirtyProcessesThatAskTheSameAreOneQuestion) {
  constexpr int count = 30;
  startDialog("read line <\"$go\"; echo always");
  std::vector<pid_t> children;
  for (int i = 0; i < count; ++i) {
    const pid_t child = fork();
    if (child == 0) {
      bool trusted = false;
      try {
        trusted = verify(bad);
      } catch (const std::exception&) {
        _exit(2);
      }
      _exit(trusted ? 0 : 1);
    }
    children.push_back(child);
  }
  waitUntilSaid("that wait: 30\n");
  go.writeLine("go");
  for (const pid_t child : children) {
    int status = -1;
    waitpid(child, &status, 0);
    EXPECT_EQ(0, status);
  }
  EXPECT_EQ(1U, questions());
  EXPECT_EQ(1U, stored());
}

}  // namespace
