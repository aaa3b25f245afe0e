// Stack and heap of one verification over the whole road. Each road is measured in a process of
// its own, since what a first verification costs is seen once in a process, and a second time
// with every symbol bound from the start. Exits with 1 when a stack passes the goal.

#include <spawn.h>
#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>
#include <openssl/crypto.h>

#include "bench/HeapMeter.h"
#include "bench/PaintedStack.h"
#include "tests/system/Road.h"
#include "trustlib/CertificateExceptionImpl.h"
#include "trustlib/CertificateManager.h"
#include "trustlib/CertificateUtilities.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/DefaultCertificateBlacklist.h"
#include "trustlib/FileCertificateExceptionStore.h"
#include "trustlib/openssl/OpenSslUtilities.h"
#include "trustlib/util/TemporaryFiles.h"

namespace {

constexpr std::size_t stackGoal = 48UL * 1024UL;
constexpr const char* host = "host.test";
constexpr const char* otherHost = "other.test";

// How both processes name what is measured, below the root of the road's world.
constexpr const char* leafFile = "/leaf.der";
constexpr const char* interFile = "/inter.der";
constexpr const char* storeDirectory = "/decisions";

std::string contents(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

struct Measured {
  StackUse stack;
  HeapUse heap;
};

Measured measure(const std::function<void()>& work) {
  Measured measured{};
  measured.stack = onPaintedStack([&work, &measured] {
    startHeapMeter();
    work();
    OPENSSL_thread_stop();  // what it keeps for a thread goes with the thread
    measured.heap = stopHeapMeter();
  });
  return measured;
}

void printColumns(const char* title) {
  fmt::print("{}:\n  {:<26}{:>7}{:>11}{:>8}{:>16}{:>16}{:>16}{:>16}\n", title, "", "stack",
             "heap peak", "kept", "blocks, bytes", "OpenSSL", "operator new", "malloc alone");
}

void print(const std::string& name, const Measured& measured) {
  const HeapUse& heap = measured.heap;
  fmt::print("  {:<26}{:>7}{:>11}{:>8}", name, measured.stack.work, heap.peak, heap.live);
  for (const HeapUse::Share& share :
       {heap.total(), heap.of(HeapUser::OpenSsl), heap.of(HeapUser::OperatorNew),
        heap.of(HeapUser::CLibrary)}) {
    fmt::print("{:>8}{:>8}", share.allocations, share.bytes);
  }
  fmt::print("\n");
}

// What the measuring processes find below the road's root.
struct Subject {
  explicit Subject(const std::string& root)
      : chain{contents(root + leafFile), contents(root + interFile)},
        decisions(root + storeDirectory),
        store(&decisions) {}

  Chain chain;
  const std::string decisions;
  FileCertificateExceptionStore store;
};

// TrustEngine::verify() and the deletion of its verdict, three times. Whether all verdicts were
// as they should be and no stack too deep.
bool measureVerifications(const std::string& root, const std::string& domain) {
  Subject subject(root);
  TrustEngineImpl engine(subject.chain.list());
  engine.setDomainName(&domain);
  engine.setCertificateExceptionStore(&subject.store);
  engine.setCertificateBlacklist(DefaultCertificateBlacklist::getInstance());

  bool good = true;
  const auto verify = [&engine, &good] {
    const std::unique_ptr<CertificateTrustInfo> info(engine.verify());
    good = good && info->isValid();
  };
  for (const char* name : {"first verification", "second verification", "third verification"}) {
    const Measured measured = measure(verify);
    print(name, measured);
    good = good && measured.stack.work <= stackGoal;
  }
  return good;
}

// The steps of a verification one by one, none of them for the first time in the process, and a
// verification that fails. Whether a decision was found.
bool measureParts(const std::string& root, const std::string& domain) {
  Subject subject(root);
  const std::string application = "common";
  const std::string storeClass = "user_trusted";
  const std::string directory = "/var/certmgr/" + application + "/" + storeClass;
  const auto build = [&subject, &directory] {
    Chain built;
    OpenSslUtilities::buildTrustChain(&directory, subject.chain.list(), built.list());
  };
  const auto writeFiles = [&subject] {
    TemporaryFiles files;
    files.createTemporaryCertificateFiles(subject.chain.list());
  };
  TemporaryFiles files;
  files.createTemporaryCertificateFiles(subject.chain.list());
  std::unique_ptr<CertificateDetails> details;
  const auto ask = [&] {
    details.reset(CertificateManager().verifyCertificateTrust(files.getTemporaryFilePaths(),
                                                              &application, &storeClass, 30));
  };
  Chain settled;
  const auto matchNames = [&details, &domain] {
    CertificateUtilities::certificateDomainMatches(&domain, details->getCommonNames(),
                                                   details->getSubjectAltNames());
  };
  bool found = false;
  const auto findDecision = [&subject, &domain, &settled, &found] {
    const CertificateExceptionImpl decision(CertificateWarnings::DOMAINNAME_MISMATCH, &domain,
                                            settled.list());
    found = subject.store.exceptionExists(&decision);
  };
  const TrustEngineImpl engine(subject.chain.list());
  const auto fail = [&engine, &found] {
    try {
      engine.verify();
      found = false;
    } catch (const TrustManagerException&) {
    }
  };
  build();
  ask();
  CertificateUtilities::loadCertificateChain(details->getCertificateChain(), settled.list());
  findDecision();

  print("building the chain", measure(build));
  print("temporary files", measure(writeFiles));
  print("asking the service", measure(ask));
  print("matching the host name", measure(matchNames));
  print("finding a decision", measure(findDecision));
  setenv("PPS_RUNTIME_DIR", "/nowhere", 1);
  print("failing without a service", measure(fail));

  startHeapMeter();
  DefaultCertificateBlacklist::getInstance();
  const HeapUse heap = stopHeapMeter();
  print("the blacklist, once", {{}, heap});
  fmt::print("  A thread's own start takes {} bytes of stack besides.\n",
             onPaintedStack([] {}).threadStart);
  return found;
}

// Leaves behind what the measuring processes read: the chain, and a user's decision to trust it
// for the other host.
void prepare(const Road& road) {
  const TestCertificate leaf = road.leafFor(host);
  std::ofstream(road.world.root() + leafFile, std::ios::binary) << leaf.derString();
  std::ofstream(road.world.root() + interFile, std::ios::binary) << road.interByRoot.derString();
  const std::unique_ptr<CertificateTrustInfo> info = road.verify(leaf, otherHost);
  const CertificateExceptionImpl decision(info->getWarnings(), info->getDomainName(),
                                          info->getCertificateChain());
  const std::string decisions = road.world.root() + storeDirectory;
  FileCertificateExceptionStore(&decisions).addException(&decision);
}

bool runAgain(const std::vector<std::string>& arguments) {
  std::vector<char*> argv;
  for (const std::string& argument : arguments) argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  static_cast<void>(std::fflush(stdout));  // before what the child writes
  pid_t child = -1;
  int status = -1;
  return posix_spawn(&child, argv[0], nullptr, nullptr, argv.data(), environ) == 0 &&
         waitpid(child, &status, 0) == child && status == 0;
}

bool runAll(const std::string& program) {
  Road road;
  road.start();
  prepare(road);
  const std::string root = road.world.root();
  printColumns("A trusted chain");
  bool good = runAgain({program, "--verify", root, host});
  printColumns("A wrong host name, and a decision for it");
  good = runAgain({program, "--verify", root, otherHost}) && good;
  setenv("LD_BIND_NOW", "1", 1);
  printColumns("The same with every symbol bound at the start of the process");
  good = runAgain({program, "--verify", root, otherHost}) && good;
  printColumns("Its parts");
  return runAgain({program, "--parts", root, otherHost}) && good;
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> arguments(argv, argv + argc);
  if (arguments.size() != 4) {
    return runAll(arguments[0]) ? 0 : 1;
  }
  if (!meterOpenSsl()) {
    return 1;
  }
  const auto measureAll = arguments[1] == "--parts" ? measureParts : measureVerifications;
  return measureAll(arguments[2], arguments[3]) ? 0 : 1;
}
