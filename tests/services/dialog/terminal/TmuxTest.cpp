#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "services/dialog/model/DialogModelCodec.h"
#include "tests/services/dialog/terminal/SampleDialog.h"
#include "tests/support/TemporaryDirectory.h"

namespace {

using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;

constexpr int kMostCaptures = 5000;  // before it counts as hanging

// A real terminal emulator of 80x24, on a socket of its own, in which a shell runs the program.
class TmuxTest : public testing::Test {
 protected:
  void SetUp() override {
    if (tmux({"-V"}).empty()) GTEST_SKIP() << "no tmux";
    files_.write("model", encodeDialogModel(makeSampleDialog()));
    const std::string script =
        files_.write("ask", "echo before the dialog\n" DIALOG_TERMINAL " --tty \"$(tty)\" <" +
                                files_.path("model") + " >" + files_.path("answer") +
                                "\necho ended\nread line\n");
    tmux({"new-session", "-d", "-x", "80", "-y", "24", "/bin/sh " + script});
    ASSERT_THAT(waitFor("Always trust exactly this"), HasSubstr("Always trust exactly this"));
  }
  void TearDown() override { tmux({"kill-server"}); }

  // Runs one command and returns what it prints; nothing where there is no tmux.
  std::string tmux(std::vector<std::string> command) const {
    const std::vector<std::string> start = {"tmux", "-u",       "-S", files_.path("socket"),
                                            "-f",   "/dev/null"};
    command.insert(command.begin(), start.begin(), start.end());
    std::vector<char*> arguments;
    for (std::string& argument : command) arguments.push_back(argument.data());
    arguments.push_back(nullptr);
    std::vector<std::string> environment = {"LC_ALL=C.UTF-8", "TERM=xterm", "SHELL=/bin/sh",
                                            "PATH=/usr/bin:/bin", "HOME=" + files_.path()};
    std::vector<char*> variables;
    for (std::string& variable : environment) variables.push_back(variable.data());
    variables.push_back(nullptr);

    const std::string printed = files_.path("printed");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, printed.c_str(),
                                     O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t pid = -1;
    const int failed =
        posix_spawnp(&pid, "tmux", &actions, nullptr, arguments.data(), variables.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failed != 0) return "";
    waitpid(pid, nullptr, 0);
    return read("printed");
  }

  std::string read(const std::string& name) const {
    std::ostringstream text;
    text << std::ifstream(files_.path(name)).rdbuf();
    return text.str();
  }

  // The screen once the text stands on it; the last one seen when it never comes.
  std::string waitFor(const std::string& text) const {
    std::string screen;
    for (int i = 0; i < kMostCaptures && screen.find(text) == std::string::npos; ++i) {
      screen = tmux({"capture-pane", "-p"});
    }
    return screen;
  }

  void type(const std::string& key) const { tmux({"send-keys", key}); }

  static std::vector<std::string> rowsOf(const std::string& screen) {
    std::vector<std::string> rows;
    std::istringstream text(screen);
    for (std::string row; std::getline(text, row);) rows.push_back(row);
    return rows;
  }

  TemporaryDirectory files_;
};

TEST_F(TmuxTest, TheTitleStandsAboveAndTheChoicesBelow) {
  const std::vector<std::string> rows = rowsOf(waitFor("Always trust exactly this"));
  ASSERT_EQ(24U, rows.size());
  EXPECT_EQ(" The certificate of this server is not trusted", rows[0]);
  EXPECT_THAT(rows[20], StartsWith("── more below ("));
  EXPECT_EQ(" Enter    Do not connect", rows[21]);
  EXPECT_EQ(" o        Connect this once", rows[22]);
  EXPECT_EQ(" a        Always trust exactly this", rows[23]);
}

TEST_F(TmuxTest, HostileTextStaysBehindItsBar) {
  std::string screens = tmux({"capture-pane", "-p"});
  type("End");
  screens += waitFor("end of text");
  int found = 0;
  for (const std::string& row : rowsOf(screens)) {
    const std::size_t evil = std::min({row.find("EVIL"), row.find("悪"), row.find("-----")});
    if (evil == std::string::npos) continue;
    ++found;
    EXPECT_LT(row.find("│"), evil) << row;
    EXPECT_THAT(row, StartsWith("   "));
  }
  EXPECT_GT(found, 5);
}

TEST_F(TmuxTest, AlwaysIsAskedTwiceAndTheScreenComesBack) {
  type("a");
  EXPECT_THAT(waitFor("Yes, trust it"), StartsWith(" Always trust this certificate?"));
  type("y");
  const std::string screen = waitFor("ended");
  EXPECT_THAT(screen, StartsWith("before the dialog\nended\n"));
  EXPECT_THAT(screen, Not(HasSubstr("trust it")));
  EXPECT_EQ("always\n", read("answer"));
}

}  // namespace
