#include "trustlib/DefaultTrustManager.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "tests/support/ServiceWorld.h"
#include "tests/support/Throws.h"
#include "tests/trustlib/Chains.h"
#include "trustlib/CertificateExceptionStoreFactory.h"
#include "trustlib/CertificateTrustInfoImpl.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/TrustManagerFactory.h"

namespace {

using testing::ElementsAre;

// What happened, in order.
using Log = std::vector<std::string>;

class Info : public CertificateTrustInfoImpl {
 public:
  Info(Log* log, bool valid, unsigned long long warnings)
      : CertificateTrustInfoImpl(valid, warnings, nullptr, nullptr, false), log(log) {}
  ~Info() override { log->push_back("~info"); }

 private:
  Log* log;
};

class Engine : public TrustEngine {
 public:
  Engine(Log* log, bool valid, unsigned long long warnings)
      : log(log), valid(valid), warnings(warnings) {}
  ~Engine() override { log->push_back("~engine"); }

  void setDomainName(const std::string* name) override { log->push_back("domain " + *name); }
  void setAltDomainName(const std::list<std::string>*) override { log->push_back("alt"); }
  void setTrustStore(const std::string*, const std::string*) override { log->push_back("trust"); }
  void setCertificateExceptionStore(CertificateExceptionStore*) override {
    log->push_back("set store");
  }
  void setCertificateBlacklist(CertificateBlacklist*) override { log->push_back("set blacklist"); }
  CertificateTrustInfo* verify() const override {
    log->push_back("verify");
    if (fails) {
      throw TrustManagerException("no service");
    }
    return new Info(log, valid, warnings);
  }

  bool fails = false;

 private:
  Log* log;
  bool valid;
  unsigned long long warnings;
};

class ScriptedDialog : public TrustDialog {
 public:
  ScriptedDialog(Log* log, bool accepts, bool fails) : log(log), accepts(accepts), fails(fails) {}
  ~ScriptedDialog() override { log->push_back("~dialog"); }

  void setDialogInvocationTimeout(int) override { log->push_back("timeout"); }
  void setDialogMinimumDisplayTimeout(int) override { log->push_back("timeout"); }
  bool display() override {
    log->push_back("display");
    if (fails) {
      throw TrustManagerException("no screen");
    }
    return accepts;
  }

 private:
  Log* log;
  bool accepts;
  bool fails;
};

// Hands out scripted parts.
class Manager : public DefaultTrustManager {
 public:
  CertificateExceptionStore* getLocalExceptionStore() override {
    log.push_back("store");
    return DefaultTrustManager::getLocalExceptionStore();
  }
  CertificateBlacklist* getDefaultCertificateBlacklist() override {
    log.push_back("blacklist");
    return DefaultTrustManager::getDefaultCertificateBlacklist();
  }
  TrustEngine* createTrustEngine(const std::list<Certificate*>*) override {
    log.push_back("engine");
    auto* engine = new Engine(&log, valid, warnings);
    engine->fails = engineFails;
    return engine;
  }
  TrustDialog* createDefaultTrustDialog(CertificateTrustInfo*,
                                        CertificateExceptionStore* store) override {
    EXPECT_EQ(store, DefaultTrustManager::getLocalExceptionStore());
    return new ScriptedDialog(&log, accepts, dialogFails);
  }

  bool valid = false;
  unsigned long long warnings = 0x2108;
  bool accepts = false;
  bool engineFails = false;
  bool dialogFails = false;
  Log log;
};

class TrustManagers : public testing::Test {
 protected:
  // Stores live until then, and a leak checker looks at the end of the process.
  ~TrustManagers() override { CertificateExceptionStoreFactory::clean(); }

  bool verify() { return manager.verify(&domain, chain.list()); }

  ServiceWorld world;
  std::string domain{"host.test"};
  Chain chain{"leaf"};
  Manager manager;
};

TEST_F(TrustManagers, ValidChainIsTrustedWithoutAQuestion) {
  manager.valid = true;
  EXPECT_TRUE(verify());
  EXPECT_THAT(manager.log, testing::Not(testing::Contains("display")));
}

TEST_F(TrustManagers, ValidChainIsTrustedWhateverItsWarnings) {
  manager.valid = true;
  manager.warnings = CertificateWarnings::REVOKED;
  EXPECT_TRUE(verify());
}

TEST_F(TrustManagers, RevokedChainIsRefusedWithoutAQuestion) {
  manager.warnings = CertificateWarnings::REVOKED | 0x2108;
  manager.accepts = true;
  EXPECT_FALSE(verify());
  EXPECT_THAT(manager.log, testing::Not(testing::Contains("display")));
}

TEST_F(TrustManagers, AnyOtherChainIsTheUsersDecision) {
  manager.accepts = true;
  EXPECT_TRUE(verify());
  manager.accepts = false;
  EXPECT_FALSE(verify());
}

TEST_F(TrustManagers, RejectionWithoutAnyWarningIsAskedAboutToo) {
  manager.warnings = 0;
  manager.accepts = true;
  EXPECT_TRUE(verify());
}

TEST_F(TrustManagers, PartsAreTakenAndReleasedInOrder) {
  verify();
  EXPECT_THAT(manager.log,
              ElementsAre("store", "engine", "domain host.test", "set store", "blacklist",
                          "set blacklist", "verify", "display", "~engine", "~info", "~dialog"));
}

TEST_F(TrustManagers, FailedVerificationIsReportedAndLeavesNothing) {
  manager.engineFails = true;
  EXPECT_THROWS(verify(), TrustManagerException, "no service");
  EXPECT_EQ("~engine", manager.log.back());
}

TEST_F(TrustManagers, FailedQuestionIsReportedAndLeavesNothing) {
  manager.dialogFails = true;
  EXPECT_THROWS(verify(), TrustManagerException, "no screen");
  EXPECT_THAT(manager.log, testing::IsSupersetOf({"~engine", "~info", "~dialog"}));
}

TEST_F(TrustManagers, MissingServiceIsReported) {
  DefaultTrustManager real;
  EXPECT_THROW(real.verify(&domain, chain.list()), TrustManagerException);
}

TEST_F(TrustManagers, StoreThatCannotBeMadeIsReportedBeforeAnythingElse) {
  std::filesystem::remove_all(world.home());
  std::ofstream(world.home()).flush();
  DefaultTrustManager real;
  EXPECT_THROWS(real.verify(&domain, chain.list()), TrustManagerException,
                "FileUtilities::createDirectory - path is not a directory: " + world.home());
}

TEST_F(TrustManagers, CertificateCopiesItsBytesWithoutLookingAtThem) {
  unsigned char bytes[] = {1, 2, 3};
  const std::unique_ptr<Certificate> certificate(manager.createX509Certificate(bytes, 3));
  bytes[0] = 9;
  ASSERT_EQ(3U, certificate->getDerLength());
  EXPECT_EQ(1, certificate->getDer()[0]);
}

TEST_F(TrustManagers, CertificateOfNothingIsEmpty) {
  const std::unique_ptr<Certificate> certificate(manager.createX509Certificate(nullptr, 7));
  EXPECT_EQ(0U, certificate->getDerLength());
}

TEST_F(TrustManagers, StoresAndBlacklistAreShared) {
  const std::string path = world.root() + "/store";
  EXPECT_EQ(manager.getExceptionStore(&path), manager.getExceptionStore(&path));
  EXPECT_EQ(manager.getLocalExceptionStore(), manager.getLocalExceptionStore());
  EXPECT_EQ(manager.getDefaultCertificateBlacklist(), manager.getDefaultCertificateBlacklist());
}

TEST_F(TrustManagers, WhatTheFactoryMakesIsTheCallersAndItsPartsOutliveIt) {
  std::unique_ptr<TrustManager> made(TrustManagerFactory::createTrustManager());
  const std::unique_ptr<TrustEngine> engine(made->createTrustEngine(chain.list()));
  CertificateTrustInfoImpl info(false, 0x100, &domain, chain.list(), false);
  const std::unique_ptr<TrustDialog> dialog(made->createDefaultTrustDialog(&info, nullptr));
  CertificateExceptionStore* store = made->getLocalExceptionStore();
  made.reset();
  dialog->setDialogInvocationTimeout(0);
  EXPECT_FALSE(dialog->display());
  store->clear();
  EXPECT_THROW(delete engine->verify(), TrustManagerException);
}

}  // namespace
