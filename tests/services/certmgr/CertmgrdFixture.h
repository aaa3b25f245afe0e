#ifndef TESTS_SERVICES_CERTMGR_CERTMGRDFIXTURE_H
#define TESTS_SERVICES_CERTMGR_CERTMGRDFIXTURE_H

#include <stdlib.h>
#include <unistd.h>

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "platform/objects/ControlObject.h"
#include "platform/objects/ControlSocket.h"
#include "tests/support/CertificateMaker.h"
#include "tests/support/ServiceProcess.h"
#include "tests/support/TemporaryDirectory.h"

// The real program over its real socket, with stores of the test's own.
class CertmgrdTest : public testing::Test {
 protected:
  CertmgrdTest() : root(CertificateMaker("Root").asCa().make()) {
    setenv("PPS_RUNTIME_DIR", files_.path("run").c_str(), 1);
    store_ = files_.path("stores/common/user_trusted");
  }

  // With empty system anchors, unless `arguments` say otherwise.
  void start(std::vector<std::string> arguments = {"--no-system-anchors"}) {
    arguments.push_back("--root=" + files_.path("stores"));
    service_ = std::make_unique<ServiceProcess>(arguments);
    ASSERT_TRUE(service_->isReady()) << service_->errors();
  }

  std::string write(const std::string& name, const TestCertificate& certificate) const {
    return files_.write(name, certificate.derString());
  }

  static std::string ask(const std::string& text) {
    const OwnedFd fd(openControlObject("/pps/services/certmgr/control?wait"));
    EXPECT_TRUE(fd);
    EXPECT_EQ(static_cast<ssize_t>(text.size()), ::write(fd.get(), text.data(), text.size()));
    std::string answer(16384, '\0');
    const ssize_t length = read(fd.get(), answer.data(), answer.size());
    answer.resize(length < 0 ? 0 : static_cast<size_t>(length));
    return answer;
  }

  static std::string request(const std::vector<std::string>& paths,
                             const std::string& application = "common",
                             const std::string& className = "user_trusted") {
    std::string text = "msg::getcertdetails\nid::789\ndat:json:{\"application\":\"" + application +
                       R"(","class":")" + className + R"(","certid":")" + paths.front() + "\",";
    std::string others;
    for (size_t i = 1; i < paths.size(); ++i) {
      others += std::string(i > 1 ? "," : "") + "\"" + paths[i] + "\"";
    }
    if (!others.empty()) text += "\"intermediateCerts\":[" + others + "],";
    return text + R"("fields":["validity","subjectCommonName","subjectAltNames","serial"]})"
                  "\n";
  }

  TestCertificate leafByRoot() const {
    return CertificateMaker("leaf.example")
        .asServer()
        .dns("leaf.example")
        .serial({0xab, 0x01})
        .issuedBy(root)
        .make();
  }

  TemporaryDirectory files_;
  std::string store_;
  TestCertificate root;
  std::unique_ptr<ServiceProcess> service_;
};

#endif
