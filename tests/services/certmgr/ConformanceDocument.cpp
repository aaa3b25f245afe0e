#include "tests/services/certmgr/ConformanceDocument.h"

#include <fstream>
#include <iterator>
#include <stdexcept>

std::string conformanceDocumentPart(const std::string& name) {
  std::ifstream in(CONFORMANCE_DOCUMENT, std::ios::binary);
  const std::string text{std::istreambuf_iterator<char>(in), {}};
  const std::string opening = "<!-- " + name + " -->\n";
  const auto begin = text.find(opening);
  const auto end = text.find("<!-- /" + name + " -->\n");
  if (begin == std::string::npos || end == std::string::npos || end < begin) {
    throw std::runtime_error("no part " + name + " in " + CONFORMANCE_DOCUMENT);
  }
  return text.substr(begin + opening.size(), end - begin - opening.size());
}
