// What a stranger's first program looks like: asks the certificate-manager service about one
// file and says what came of it.
#include <iostream>
#include <list>
#include <memory>
#include <string>

#include "trustlib/CertificateManager.h"
#include "trustlib/CertificateWarnings.h"
#include "trustlib/util/Utilities.h"

int main(int argc, char** argv) {
  const std::list<std::string> paths(argv + 1, argv + argc);
  const std::string application("common");
  const std::string storeClass("user_trusted");
  std::cout << "length " << tp_StrLen("four") << '\n';
  try {
    CertificateManager manager;
    const std::unique_ptr<CertificateDetails> details(
        manager.verifyCertificateTrust(&paths, &application, &storeClass, 30));
    std::list<std::string> names;
    CertificateWarnings::appendNames(details->getWarnings(), &names);
    std::cout << (details->isValid() ? "valid" : "not valid") << '\n';
  } catch (const TrustManagerException& error) {
    std::cout << "error: " << error.what() << '\n';
  }
  return 0;
}
