#include "tools/trustctl/exceptions/Repair.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <stdexcept>
#include <system_error>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Progress.h"

namespace {

constexpr std::int64_t leftoverAge = 3600;  // no writer takes that long
constexpr mode_t othersWrite = S_IWGRP | S_IWOTH;

[[noreturn]] void failBecause(int error) {
  throw std::runtime_error(fmt::format("{}; run as the user whose store it is, or as root",
                                       std::generic_category().message(error)));
}

std::string modeText(mode_t mode) {
  return fmt::format("{:04o}", mode & 07777U);
}

// By which the mode of what was opened with O_PATH can be changed.
std::string descriptorPath(const FileDescriptor& file) {
  return fmt::format("/proc/self/fd/{}", file.get());
}

bool isRename(Problem problem) {
  return problem == Problem::wrongHash || problem == Problem::wrongName;
}

}  // namespace

RepairStep repairDirectory(const std::string& directory, const Finding& finding) {
  struct stat status {};
  // O_PATH opens what may not be read.
  const FileDescriptor opened(open(directory.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC));
  if (finding.problem != Problem::directoryMode || fstat(opened.get(), &status) == -1) {
    return {finding, false, "nothing can be done here; give the directory to its user, as root"};
  }
  const mode_t mode = (status.st_mode & 07777U & ~othersWrite) | S_IRWXU;
  if (chmod(descriptorPath(opened).c_str(), mode) == -1) {
    return {finding, false, std::generic_category().message(errno) + "; run as its owner"};
  }
  return {finding, true,
          fmt::format("changed its mode to {}; see that nothing was planted in it: trustctl "
                      "exceptions list",
                      modeText(mode))};
}

Repair::Repair(const ExceptionStore& store, StoreWriter* writer, std::int64_t now)
    : store_(store), writer_(writer), now_(now), diagnosis_(store) {}

// What gets its right name finds its hash in order by then.
std::vector<RepairStep> Repair::repairAll() {
  for (const Pass pass : {Pass::setAsideAndClose, Pass::rename}) {
    const std::vector<std::string> hashes = diagnosis_.hashes();
    Progress progress("repairing", hashes.size());
    for (const std::string& hash : hashes) {
      progress.advance();
      repairHash(hash, pass);
    }
  }
  repairOthers();
  return steps_;
}

// Every step may give other files of the hash other names, so each looks anew.
void Repair::repairHash(const std::string& hash, Pass pass) {
  for (;;) {
    const std::vector<Finding> findings = diagnosis_.examineHash(hash);
    const auto next = std::find_if(findings.begin(), findings.end(),
                                   [&](const Finding& finding) { return isToDo(finding, pass); });
    if (next == findings.end()) {
      return;
    }
    attempt(*next);
  }
}

void Repair::repairOthers() {
  for (const Finding& finding : diagnosis_.examineOthers()) {
    const bool isYoung = finding.problem == Problem::leftover &&
                         now_ - store_.writtenAt(finding.entry) <= leftoverAge;
    if (!isYoung) {
      attempt(finding);
    }
  }
}

bool Repair::isToDo(const Finding& finding, Pass pass) const {
  return isRename(finding.problem) == (pass == Pass::rename) &&
         hopeless_.count({finding.entry, finding.problem}) == 0;
}

void Repair::attempt(const Finding& finding) {
  try {
    steps_.push_back({finding, true, repair(finding)});
  } catch (const std::runtime_error& error) {
    hopeless_.insert({finding.entry, finding.problem});
    steps_.push_back({finding, false, error.what()});
  }
}

std::string Repair::repair(const Finding& finding) {
  switch (finding.problem) {
    case Problem::mode:
      return restrictMode(finding.entry);
    case Problem::wrongHash:
    case Problem::wrongName:
      return rename(finding.entry);
    case Problem::beyondGap:
      writer_->closeGaps(parseRecordName(finding.entry)->hash);
      return "gave it the free number";
    default:
      return setAside(finding.entry);
  }
}

std::string Repair::setAside(const std::string& entry) {
  return fmt::format("set aside as {}", printableText(writer_->setAside(entry)));
}

// Stored first and set aside after, so that there is no moment without the decision.
std::string Repair::rename(const std::string& entry) {
  const ExceptionRecord record = store_.read(entry);
  const bool stored = writer_->add(record) == StoreWriter::Added::stored;
  return fmt::format("{} under its right name; {}", stored ? "stored" : "it is there already",
                     setAside(entry));
}

// Only of a plain file that is one's own, so that nobody else's rights are changed.
std::string Repair::restrictMode(const std::string& entry) const {
  const std::string path = store_.pathOf(entry);
  struct stat status {};
  const FileDescriptor file(open(path.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
  if (file.get() == -1 || fstat(file.get(), &status) == -1) {
    failBecause(errno);
  }
  if (!S_ISREG(status.st_mode)) {
    throw std::runtime_error("it is no plain file any more; run it again");
  }
  const mode_t mode = (status.st_mode & 07777U & ~othersWrite) | S_IRUSR;
  if (chmod(descriptorPath(file).c_str(), mode) == -1) {
    failBecause(errno);
  }
  return fmt::format(
      "changed its mode to {}; see that nobody changed what it accepts: trustctl "
      "exceptions show {}",
      modeText(mode), printableText(entry));
}
