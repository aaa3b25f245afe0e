#include "tests/tools/connect/OpensslServer.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <stdexcept>

#include "tests/support/SendSignal.h"

namespace {

[[noreturn]] void become(std::vector<std::string>& words, int output) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // no server may outlive a test that is killed
  std::vector<char*> argv;
  argv.reserve(words.size() + 1);
  for (std::string& word : words) {
    argv.push_back(word.data());
  }
  argv.push_back(nullptr);
  const int nothing = open("/dev/null", O_RDWR);
  dup2(nothing, STDIN_FILENO);
  dup2(output, STDOUT_FILENO);
  dup2(nothing, STDERR_FILENO);
  execv(argv[0], argv.data());
  _exit(127);
}

}  // namespace

OpensslServer::OpensslServer(const TemporaryDirectory& directory,
                             const std::vector<TestCertificate>& chain,
                             const std::vector<std::string>& more, const std::string& host) {
  // -www, since without it the server ends with its standard input.
  std::vector<std::string> words = {OPENSSL_PROGRAM,
                                    "s_server",
                                    "-accept",
                                    host + ":0",
                                    "-www",
                                    "-cert",
                                    directory.write("server.pem", chain.front().pem()),
                                    "-key",
                                    directory.write("server.key", chain.front().keyPem())};
  std::string rest;
  for (std::size_t i = 1; i < chain.size(); ++i) {
    rest += chain[i].pem();
  }
  if (!rest.empty()) {
    words.insert(words.end(), {"-cert_chain", directory.write("server-chain.pem", rest)});
  }
  words.insert(words.end(), more.begin(), more.end());
  int output[2];
  if (pipe2(output, O_CLOEXEC) != 0) {
    throw std::runtime_error("no pipe");
  }
  pid_ = fork();
  if (pid_ == 0) {
    become(words, output[1]);
  }
  close(output[1]);
  awaitListening(output[0]);
  close(output[0]);
}

OpensslServer::~OpensslServer() {
  end();
}

void OpensslServer::awaitListening(int output) {
  std::string said;
  char piece[1024];
  for (;;) {
    const std::size_t start = said.find("ACCEPT ");
    const std::size_t stop = start == std::string::npos ? start : said.find('\n', start);
    if (stop != std::string::npos) {
      target_ = said.substr(start + 7, stop - start - 7);
      return;
    }
    const ssize_t count = read(output, piece, sizeof piece);
    if (count <= 0) {
      close(output);
      end();
      throw std::runtime_error("openssl s_server does not listen: " + said);
    }
    said.append(piece, static_cast<std::size_t>(count));
  }
}

void OpensslServer::end() {
  sendSignal(pid_, SIGKILL);
  waitpid(pid_, nullptr, 0);
}
