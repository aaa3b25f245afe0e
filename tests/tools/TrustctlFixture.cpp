#include "tests/tools/TrustctlFixture.h"

#include <errno.h>
#include <fcntl.h>
#include <sched.h>
#include <stdlib.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <thread>

#include "tests/support/SlowBuild.h"

namespace {

// Only this, the sanitizers' settings and what a test adds reach the program.
std::vector<std::string> plainEnvironment() {
  std::vector<std::string> kept;
  for (const char* name : {"PATH", "ASAN_OPTIONS", "UBSAN_OPTIONS", "LSAN_OPTIONS", "TSAN_OPTIONS",
                           "TRUST_CERTMGRD"}) {
    const char* value = getenv(name);
    if (value != nullptr) {
      kept.push_back(std::string(name) + "=" + value);
    }
  }
  return kept;
}

std::vector<char*> pointersTo(std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (std::string& text : texts) {
    pointers.push_back(text.data());
  }
  pointers.push_back(nullptr);
  return pointers;
}

void redirect(const std::string& path, int flags, int to) {
  const int fd = open(path.c_str(), flags, 0600);
  if (fd == -1 || dup2(fd, to) == -1) {
    _exit(126);
  }
  close(fd);
}

}  // namespace

TrustctlTest::TrustctlTest() : home_(directory_.path("home")), temporary_(directory_.path("tmp")) {
  std::filesystem::create_directory(home_);
  std::filesystem::create_directory(temporary_);
  environment_ = {
      {"HOME", home_}, {"TMPDIR", temporary_}, {"PPS_RUNTIME_DIR", directory_.path("no-services")}};
}

void TrustctlTest::SetUp() {
  // Whoever outlives the program becomes this process's child and is found. The emulator does not
  // know of that.
  if (!kEmulated) {
    ASSERT_EQ(0, prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0));
  }
}

void TrustctlTest::TearDown() {
  EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG)) << "a process was left behind";
  EXPECT_EQ(ECHILD, errno);
  EXPECT_EQ(std::vector<std::string>(), filesBelow(home_));
  EXPECT_TRUE(std::filesystem::is_empty(temporary_)) << "something was left in TMPDIR";
}

ProgramRun TrustctlTest::run(const std::vector<std::string>& arguments, const std::string& input) {
  return finish(start(arguments, input));
}

pid_t TrustctlTest::start(const std::vector<std::string>& arguments, const std::string& input,
                          const std::string& outPath) {
  const std::string in = directory_.write("stdin", input);
  const std::string out = outPath.empty() ? directory_.path("stdout") : outPath;
  const std::string err = directory_.path("stderr");
  std::vector<std::string> words = {TRUSTCTL_PROGRAM};
  words.insert(words.end(), arguments.begin(), arguments.end());
  std::vector<std::string> variables = plainEnvironment();
  for (const auto& [name, value] : environment_) {
    variables.push_back(name);
    variables.back().append("=").append(value);
  }
  const std::vector<char*> argv = pointersTo(words);
  const std::vector<char*> envp = pointersTo(variables);
  const pid_t child = fork();
  if (child == 0) {
    const rlimit none = {0, 0};
    setrlimit(RLIMIT_CORE, &none);  // SIGQUIT would leave a core file
    setsid();                       // whoever runs the tests is not to be asked
    redirect(in, O_RDONLY, STDIN_FILENO);
    redirect(out, O_WRONLY | O_CREAT | O_TRUNC, STDOUT_FILENO);
    redirect(err, O_WRONLY | O_CREAT | O_TRUNC, STDERR_FILENO);
    if (inChild_) {
      inChild_();
    }
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  return child;
}

ProgramRun TrustctlTest::finish(pid_t child) {
  int status = 0;
  if (waitpid(child, &status, 0) != child) {
    throw std::runtime_error("the program cannot be waited for");
  }
  ProgramRun result;
  result.status = WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status);
  result.out = readFile(directory_.path("stdout"));
  result.err = readFile(directory_.path("stderr"));
  return result;
}

std::string TrustctlTest::readFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::string> TrustctlTest::filesBelow(const std::string& directory) {
  std::vector<std::string> files;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(directory)) {
    if (!entry.is_directory()) {
      files.push_back(entry.path().string());
    }
  }
  return files;
}

void TrustctlTest::awaitControlObjectBelow(const std::string& directory) {
  for (;;) {
    std::error_code vanished;  // the service is at work in there
    std::filesystem::recursive_directory_iterator entry(directory, vanished);
    for (; !vanished && entry != std::filesystem::end(entry); entry.increment(vanished)) {
      if (entry->path().filename() == "control") {
        return;
      }
    }
    sched_yield();
  }
}

void TrustctlTest::awaitOrphans() const {
  while (waitpid(-1, nullptr, 0) > 0) {
  }
  // Those that the emulator gave to others are known by what they leave.
  while (kEmulated && !std::filesystem::is_empty(temporary_)) {
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
}

std::string TrustctlTest::script(const std::string& lines) const {
  std::string path = directory_.write("script", "#!/bin/sh\n" + lines);
  std::filesystem::permissions(path, std::filesystem::perms::owner_all);
  return path;
}

AuthorityTest::AuthorityTest()
    : root_(CertificateMaker("Test Root").asCa().subjectKeyId({1}).make()),
      inter_(CertificateMaker("Test Intermediate")
                 .asCa()
                 .serial({2})
                 .subjectKeyId({2})
                 .authorityKeyId({1})
                 .issuedBy(root_)
                 .make()),
      leaf_(CertificateMaker("www.example.test")
                .asServer()
                .organization("Example Ltd")
                .serial({0x0a, 0xbc})
                .dns("www.example.test")
                .dns("example.test")
                .subjectKeyId({3})
                .authorityKeyId({2})
                .issuedBy(inter_)
                .make()),
      rootFile_(directory_.write("root.pem", root_.pem())),
      chainFile_(directory_.write("chain.pem", leaf_.pem() + inter_.pem())) {}

std::vector<std::string> AuthorityTest::verifyWithRoot(const std::vector<std::string>& more) const {
  std::vector<std::string> arguments = {"verify", "--cafile", rootFile_};
  arguments.insert(arguments.end(), more.begin(), more.end());
  return arguments;
}

rapidjson::Document parseLine(const std::string& out) {
  rapidjson::Document document;
  if (out.empty() || out.find('\n') != out.size() - 1) {
    ADD_FAILURE() << "not one line: " << out;
  }
  document.Parse<rapidjson::kParseValidateEncodingFlag>(out.c_str());
  if (document.HasParseError() || !document.IsObject()) {
    ADD_FAILURE() << "not a JSON object: " << out;
    document.SetObject();
  }
  return document;
}

testing::AssertionResult isComplaint(const std::string& err, const std::string& part) {
  const bool isOneLine = !err.empty() && err.find('\n') == err.size() - 1;
  if (isOneLine && err.rfind("trustctl: ", 0) == 0 && err.find(part) != std::string::npos) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "not one line with '" << part << "': " << err;
}
