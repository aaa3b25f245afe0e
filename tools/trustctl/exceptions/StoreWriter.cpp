#include "tools/trustctl/exceptions/StoreWriter.h"

#include <errno.h>
#include <sys/stat.h>

#include <stdexcept>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "tools/trustctl/CommandError.h"
#include "tools/trustctl/Interruption.h"
#include "trustlib/util/FileUtilities.h"

namespace {

constexpr const char* asideName = "set-aside";
constexpr mode_t asideMode = 0700;

[[noreturn]] void fail(const std::string& text) {
  throw CommandError(ExitStatus::undecided, text);
}

const std::string& makeDirectory(const std::string& directory) {
  try {
    FileUtilities::createCertificateExceptionStoreDir(&directory);
  } catch (const TrustManagerException& error) {
    fail(fmt::format("cannot make the store '{}': {}; give another with --store",
                     printableText(directory), printableText(error.what(), 300)));
  }
  return directory;
}

ExceptionRecord readRival(const ExceptionStore& store, const std::string& fileName) {
  try {
    return store.read(fileName);
  } catch (const std::runtime_error& error) {
    fail(
        fmt::format("'{}' is in the way and cannot be read: {}; mend the store with: trustctl "
                    "exceptions doctor --repair",
                    printableText(fileName), printableText(error.what(), 300)));
  }
}

// False when another program took the name first.
bool createRecord(const std::string& path, const std::string& bytes) {
  const InterruptionBlocker whole;
  try {
    return FileUtilities::createFile(&path, reinterpret_cast<const unsigned char*>(bytes.data()),
                                     static_cast<unsigned>(bytes.size()));
  } catch (const TrustManagerException& error) {
    fail(fmt::format("cannot write '{}': {}; check the disk and who may write there",
                     printableText(path, 300), printableText(error.what(), 300)));
  }
}

std::string encode(const ExceptionRecord& record) {
  try {
    return writeRecord(record);
  } catch (const std::runtime_error& error) {
    fail(fmt::format("the decision cannot be written: {}", printableText(error.what(), 300)));
  }
}

// True when it was not there.
bool makeAside(const DirectoryEntries& store) {
  const bool made = mkdirat(store.fd(), asideName, asideMode) == 0;
  if (!made && errno != EEXIST) {
    store.fail("make", asideName, errno);
  }
  return made;
}

// The name, or the name with a number behind it.
std::string numbered(const std::string& name, int number) {
  return number == 0 ? name : fmt::format("{}.{}", name, number);
}

}  // namespace

StoreWriter::StoreWriter(const std::string& directory)
    : entries_(makeDirectory(directory), true),
      lock_(entries_, StoreLock::Kind::change),
      store_(directory) {}

StoreWriter::Added StoreWriter::add(const ExceptionRecord& record) {
  const std::string bytes = encode(record);
  RecordName name{hashOf(record), 0};
  while (name.number < numbersPerHash) {
    const std::string fileName = fileNameOf(name);
    if (entries_.has(fileName)) {
      if (isSameDecision(readRival(store_, fileName), record)) {
        return Added::alreadyThere;
      }
      ++name.number;
    } else if (createRecord(store_.pathOf(fileName), bytes)) {
      return Added::stored;
    }
  }
  fail(
      fmt::format("ten other decisions of the hash {} are stored, and there is room for no more; "
                  "remove one of them with: trustctl exceptions remove",
                  name.hash));
}

void StoreWriter::remove(const std::string& fileName) {
  removeSoon(fileName);
  makeLasting();
}

void StoreWriter::removeSoon(const std::string& fileName) {
  const auto status = entries_.find(fileName);
  if (status && S_ISDIR(status->st_mode)) {
    fail(fmt::format("'{}' is a directory; set it aside with: trustctl exceptions doctor --repair",
                     printableText(store_.pathOf(fileName), 300)));
  }
  takeOut(fileName);
}

std::string StoreWriter::setAside(const std::string& fileName) {
  const bool made = makeAside(entries_);
  const DirectoryEntries aside(entries_.pathOf(asideName), false);
  if (made) {
    entries_.giveToOwner(aside.fd());
    entries_.sync();
  }
  std::string name = linkAside(fileName, aside);
  if (!name.empty()) {
    aside.sync();
    takeOut(fileName);
    entries_.sync();
  } else {
    name = moveAside(fileName, aside);
    aside.sync();
    fillGap(fileName);
  }
  return std::string(asideName) + "/" + name;
}

int StoreWriter::closeGaps(const std::string& hash) {
  int moved = 0;
  RecordName low{hash, 0};
  RecordName high{hash, numbersPerHash - 1};
  while (low.number < high.number) {
    if (has(low)) {
      ++low.number;
    } else if (!has(high)) {
      --high.number;
    } else if (entries_.moveIfFree(fileNameOf(high), entries_, fileNameOf(low))) {
      ++moved;
    }
  }
  entries_.sync();
  return moved;
}

bool StoreWriter::has(const RecordName& name) const {
  return name.number < numbersPerHash && entries_.has(fileNameOf(name));
}

// The last number that is taken together with all between; the first's own without one.
int StoreWriter::lastOfRun(const RecordName& first) const {
  RecordName next{first.hash, first.number + 1};
  while (has(next)) {
    ++next.number;
  }
  return next.number - 1;
}

void StoreWriter::takeOut(const std::string& fileName) {
  const auto name = parseRecordName(fileName);
  const int last = name ? lastOfRun(*name) : 0;
  if (!name || last == name->number) {
    entries_.unlink(fileName);
  } else {
    entries_.putInPlaceOf(fileName, fileNameOf({name->hash, last}));
  }
  if (name) {
    followUp({name->hash, last});
  }
}

// Where an entry was moved away.
void StoreWriter::fillGap(const std::string& fileName) {
  const auto name = parseRecordName(fileName);
  if (!name) {
    entries_.sync();
    return;
  }
  const int last = lastOfRun(*name);
  if (last != name->number) {
    entries_.moveIfFree(fileNameOf({name->hash, last}), entries_, fileName);
  }
  entries_.sync();
  followUp({name->hash, last});
}

// A library that looked before the last number became free has put its record behind it.
void StoreWriter::followUp(RecordName gap) const {
  for (RecordName next{gap.hash, gap.number + 1}; has(next); ++gap.number, ++next.number) {
    entries_.moveIfFree(fileNameOf(next), entries_, fileNameOf(gap));
    entries_.sync();
  }
}

// Gives the file a second name aside, so that there is no moment without one; empty where that
// cannot be, as for a directory. A run that was killed may have done so before.
std::string StoreWriter::linkAside(const std::string& fileName,
                                   const DirectoryEntries& aside) const {
  const auto status = entries_.find(fileName);
  if (!status) {
    entries_.fail("set aside", fileName, ENOENT);
  }
  for (int number = 0;; ++number) {
    std::string name = numbered(fileName, number);
    const int error = entries_.link(fileName, aside, name);
    if (error == EEXIST) {
      const auto there = aside.find(name);
      if (!there || !isSameFile(*there, *status)) {
        continue;
      }
    } else if (error != 0) {
      return {};
    }
    return name;
  }
}

std::string StoreWriter::moveAside(const std::string& fileName, const DirectoryEntries& aside) {
  int number = 0;
  while (!entries_.moveIfFree(fileName, aside, numbered(fileName, number))) {
    ++number;
  }
  return numbered(fileName, number);
}
