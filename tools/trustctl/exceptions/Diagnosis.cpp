#include "tools/trustctl/exceptions/Diagnosis.h"

#include <errno.h>
#include <sys/stat.h>
#include <unistd.h>

#include <optional>
#include <stdexcept>
#include <utility>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/exceptions/EntryCheck.h"
#include "tools/trustctl/exceptions/RecordName.h"

namespace {

std::optional<struct stat> statusOf(const std::string& path) {
  struct stat status {};
  if (lstat(path.c_str(), &status) == 0) {
    return status;
  }
  return {};
}

Finding unreadable(const std::string& name, const std::string& reason) {
  return {Problem::unreadable, name,
          fmt::format("cannot be read ({}): every check that meets its hash fails, instead of "
                      "finding a decision or asking for one",
                      printableText(reason, 200))};
}

void append(std::vector<Finding> more, std::vector<Finding>* findings) {
  findings->insert(findings->end(), more.begin(), more.end());
}

// The files of one hash, in the order in which the library looks for a record among them.
class HashExamination {
 public:
  HashExamination(const ExceptionStore& store, uid_t expectedOwner)
      : store_(store), expectedOwner_(expectedOwner) {}

  std::optional<Finding> examine(const RecordName& name) {
    const std::string fileName = fileNameOf(name);
    const auto status = statusOf(store_.pathOf(fileName));
    if (!status) {
      hasGap_ = true;
      return {};
    }
    if (auto finding = checkEntry(fileName, *status, expectedOwner_)) {
      return finding;
    }
    try {
      return examineRecord(name, store_.read(fileName));
    } catch (const std::runtime_error& error) {
      return unreadable(fileName, error.what());
    }
  }

 private:
  std::optional<Finding> examineRecord(const RecordName& name, ExceptionRecord record) {
    const std::string fileName = fileNameOf(name);
    if (hashOf(record) != name.hash) {
      return Finding{Problem::wrongHash, fileName,
                     "is named for another hash: the library does not find the decision in it"};
    }
    for (const ExceptionRecord& other : before_) {
      if (isSameDecision(other, record)) {
        return Finding{Problem::duplicate, fileName,
                       "holds the same decision as one with a lower number: the library would not "
                       "miss it, but removing the other would not end the decision"};
      }
    }
    before_.push_back(std::move(record));
    if (hasGap_) {
      return Finding{Problem::beyondGap, fileName,
                     "lies beyond a free number: the library does not get there, and asks about "
                     "what was decided"};
    }
    return {};
  }

  const ExceptionStore& store_;
  uid_t expectedOwner_;
  std::vector<ExceptionRecord> before_;
  bool hasGap_ = false;
};

}  // namespace

const char* problemWord(Problem problem) {
  switch (problem) {
    case Problem::directoryOwner:
      return "directory_owner";
    case Problem::directoryMode:
      return "directory_mode";
    case Problem::notPlain:
      return "not_plain";
    case Problem::owner:
      return "owner";
    case Problem::mode:
      return "mode";
    case Problem::unreadable:
      return "unreadable";
    case Problem::duplicate:
      return "duplicate";
    case Problem::beyondGap:
      return "beyond_gap";
    case Problem::wrongHash:
      return "wrong_hash";
    case Problem::wrongName:
      return "wrong_name";
    case Problem::foreign:
      return "foreign";
    case Problem::leftover:
      break;
  }
  return "leftover";
}

Diagnosis::Diagnosis(const ExceptionStore& store) : store_(store) {}

std::vector<Finding> Diagnosis::examineDirectory() const {
  struct stat status {};
  if (stat(store_.directory().c_str(), &status) == 0) {
    if (auto finding = checkStoreDirectory(status, expectedOwner())) {
      return {*std::move(finding)};
    }
  }
  return {};
}

std::vector<std::string> Diagnosis::hashes() const {
  std::vector<std::string> all;
  for (const std::string& fileName : store_.fileNames()) {
    auto name = parseRecordName(fileName);
    if (name && (all.empty() || all.back() != name->hash)) {
      all.push_back(std::move(name->hash));
    }
  }
  return all;
}

std::vector<Finding> Diagnosis::examineHash(const std::string& hash) const {
  std::vector<Finding> findings;
  HashExamination examination(store_, expectedOwner());
  for (RecordName name{hash, 0}; name.number < numbersPerHash; ++name.number) {
    if (auto finding = examination.examine(name)) {
      findings.push_back(*std::move(finding));
    }
  }
  return findings;
}

std::vector<Finding> Diagnosis::examineOthers() const {
  std::vector<Finding> findings;
  for (const std::string& name : store_.fileNames()) {
    if (!parseRecordName(name)) {
      findings.push_back(describeStray(name));
    }
  }
  for (const std::string& name : store_.fileNames(".new")) {
    findings.push_back({Problem::leftover, name,
                        "was left by a writer that was killed, or is being written: nothing reads "
                        "it, and it does no harm"});
  }
  return findings;
}

std::vector<Finding> Diagnosis::examineAll() const {
  std::vector<Finding> findings = examineDirectory();
  const std::vector<std::string> all = hashes();
  Progress progress("examining", all.size());
  for (const std::string& hash : all) {
    progress.advance();
    append(examineHash(hash), &findings);
  }
  append(examineOthers(), &findings);
  return findings;
}

Finding Diagnosis::describeStray(const std::string& name) const {
  const auto status = statusOf(store_.pathOf(name));
  bool isRecord = status && !checkEntry(name, *status, expectedOwner());
  if (isRecord) {
    try {
      (void)store_.read(name);
    } catch (const std::runtime_error&) {
      isRecord = false;
    }
  }
  if (isRecord) {
    return {Problem::wrongName, name,
            "holds a decision under a name that the library does not look for"};
  }
  return {Problem::foreign, name,
          "is no decision, but the library would remove it together with all decisions, as its "
          "name ends in .json"};
}

// Root looks after the stores of others.
uid_t Diagnosis::expectedOwner() const {
  struct stat status {};
  if (geteuid() == 0 && stat(store_.directory().c_str(), &status) == 0) {
    return status.st_uid;
  }
  return geteuid();
}
