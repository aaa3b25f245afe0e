#ifndef SERVICES_CERTMGR_STORES_STOREREPORT_H
#define SERVICES_CERTMGR_STORES_STOREREPORT_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// One name in a store's directory. All texts are printable.
struct StoreFile {
  std::string name;
  std::string target;                 // of a symbolic link, as it stands there; else empty
  std::vector<std::string> content;   // what it holds, a line each
  std::vector<std::string> problems;  // each says what to do
  std::vector<std::string> notes;     // worth knowing, and nothing wrong
};

// What a store's directory holds, and what is wrong with it.
struct StoreReport {
  std::string directory;
  std::int64_t now = 0;               // the moment that it is about, in seconds since 1970
  std::vector<std::string> problems;  // of the directory itself
  std::vector<StoreFile> files;       // in the order of their names
  std::size_t certificates = 0;       // that the service sees, each once
  std::size_t lists = 0;

  std::size_t problemCount() const;
  // For people, ended by a line feed. The same directory gives the same text.
  std::string text() const;
};

#endif
