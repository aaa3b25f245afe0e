#include "tests/tools/exceptions/ExchangeFixture.h"

#include <utility>

#include "tools/trustctl/exceptions/DocumentWriter.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"

std::string documentOf(const std::vector<ExceptionRecord>& records) {
  std::string document = documentStart;
  for (const ExceptionRecord& record : records) {
    document += documentLine(record, &record == &records.front());
  }
  return document + documentEnd;
}

ProgramRun ExchangeTest::importText(const std::string& document, std::vector<std::string> more) {
  more.insert(more.begin(), "import");
  more.emplace_back("-");
  return run(commandLine(std::move(more)), document);
}

std::vector<ExceptionRecord> ExchangeTest::storedRecords() const {
  const ExceptionStore store(store_);
  std::vector<ExceptionRecord> records;
  for (const std::string& name : store.fileNames()) {
    records.push_back(store.read(name));
  }
  return records;
}
