#ifndef TESTS_SYSTEM_ROAD_H
#define TESTS_SYSTEM_ROAD_H

#include <list>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/CertificateMaker.h"
#include "tests/support/ServiceProcess.h"
#include "tests/support/ServiceWorld.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateTrustInfo.h"
#include "trustlib/TrustEngineImpl.h"

// The whole road: the real library, the real service and the real socket between them, in a
// world of its own with one trusted root.
class Road {
 public:
  Road()
      : root(CertificateMaker("root").asCa().make()),
        interByRoot(CertificateMaker("inter").asCa().issuedBy(root).make()) {
    addToHashedDirectory(world.root() + "/stores/common/user_trusted", root);
  }

  // Starts the service; further arguments follow the program's own.
  void start(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(),
                     {"--root=" + world.root() + "/stores", "--no-system-anchors"});
    service.reset();  // there is one place to listen at
    service = std::make_unique<ServiceProcess>(arguments);
  }

  // A leaf for that host, as a server would present it.
  TestCertificate leafFor(const std::string& host) const {
    return CertificateMaker(host).asServer().dns(host).issuedBy(interByRoot).make();
  }

  // The same with a serial number that the built-in blacklist has.
  TestCertificate blacklistedLeafFor(const std::string& host) const {
    return CertificateMaker(host)
        .asServer()
        .dns(host)
        .issuedBy(interByRoot)
        .serial({0x95, 0x32, 0x18, 0xb7, 0x04, 0xcc, 0x62, 0xb2, 0x40, 0xa4, 0xd0, 0x18, 0x0e, 0x81,
                 0x93, 0xf2})
        .make();
  }

  std::unique_ptr<CertificateTrustInfo> verify(const TestCertificate& leaf,
                                               const std::string& domain) const {
    Chain chain{leaf.derString(), interByRoot.derString()};
    TrustEngineImpl engine(chain.list());
    engine.setDomainName(&domain);
    return std::unique_ptr<CertificateTrustInfo>(engine.verify());
  }

  ServiceWorld world;
  TestCertificate root;
  TestCertificate interByRoot;
  std::unique_ptr<ServiceProcess> service;
};

#endif
