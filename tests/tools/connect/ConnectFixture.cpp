#include "tests/tools/connect/ConnectFixture.h"

#include <sstream>

std::vector<std::string> ConnectTest::connectWords(const std::string& target,
                                                   const std::vector<std::string>& more) const {
  std::vector<std::string> words = {"connect",  "--cafile",         rootFile_,
                                    "--domain", "www.example.test", target};
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

ProgramRun ConnectTest::connect(const std::string& target, const std::vector<std::string>& more) {
  return run(connectWords(target, more));
}

CertificateMaker ConnectTest::leafMaker() const {
  return CertificateMaker("www.example.test")
      .asServer()
      .serial({0x0b})
      .dns("www.example.test")
      .subjectKeyId({4})
      .authorityKeyId({2})
      .issuedBy(inter_);
}

std::vector<std::string> ConnectTest::reasonsIn(const std::string& report) {
  std::vector<std::string> reasons;
  std::istringstream lines(report);
  for (std::string line; std::getline(lines, line);) {
    const bool isName = line.size() > 2 && line.compare(0, 2, "  ") == 0 && line[2] >= 'A' &&
                        line[2] <= 'Z' && line.find(' ', 2) == std::string::npos;
    if (isName) {
      reasons.push_back(line.substr(2));
    }
  }
  return reasons;
}
