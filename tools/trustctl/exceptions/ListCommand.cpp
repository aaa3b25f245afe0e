#include <algorithm>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include <fmt/format.h>

#include "services/common/LowerCase.h"
#include "services/common/PrintableText.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/Progress.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/exceptions/DomainPattern.h"
#include "tools/trustctl/exceptions/ExceptionStore.h"
#include "tools/trustctl/exceptions/ExceptionsCommands.h"
#include "tools/trustctl/exceptions/RecordJson.h"
#include "tools/trustctl/exceptions/RecordText.h"
#include "tools/trustctl/exceptions/StillStore.h"
#include "tools/trustctl/exceptions/StoreOption.h"

namespace {

constexpr const char* help =
    "One entry for each decision: the domain, the warnings that were accepted, the subject and\n"
    "the start of the SHA-256 of the server's certificate, and when the decision was stored; by\n"
    "domain. PATTERN is as for files: * stands for anything, ? for one letter; quote it.\n"
    "What cannot be read is named at the end; that alone is no failure.\n\n"
    "Examples:\n"
    "  trustctl exceptions list\n"
    "  trustctl exceptions list --domain '*.example.org'\n"
    "  trustctl exceptions list --json --store /etc/fleet/exceptions\n\n"
    "Exit status: 0 done, 2 wrong use, 3 the store cannot be read.\n";

struct ListOptions {
  StoreOption store;
  std::optional<std::string> domain;
  bool json = false;
};

// What is kept of a record, so that a store of any size fits.
struct Row {
  std::string domainKey;
  RecordSummary summary;
};

bool isBefore(const Row& left, const Row& right) {
  const auto key = [](const Row& row) {
    return std::tie(row.domainKey, row.summary.warnings, row.summary.fileName);
  };
  return key(left) < key(right);
}

struct Listing {
  std::vector<Row> rows;
  std::vector<std::string> unreadable;  // file names
};

Listing readListing(const ExceptionStore& store, const std::optional<DomainPattern>& pattern) {
  Listing listing;
  const std::vector<std::string> names = store.fileNames();
  Progress progress("reading", names.size());
  for (const std::string& name : names) {
    progress.advance();
    try {
      const ExceptionRecord record = store.read(name);
      if (!pattern || pattern->matches(record.domain)) {
        listing.rows.push_back(
            {lowerCase(record.domain.value_or("")), summarize(store, name, record)});
      }
    } catch (const std::runtime_error&) {
      if (store.has(name)) {
        listing.unreadable.push_back(name);
      }
    }
  }
  std::sort(listing.rows.begin(), listing.rows.end(), isBefore);
  return listing;
}

std::string field(const char* label, const std::string& escaped) {
  constexpr std::size_t valueColumn = 14;
  std::string out;
  for (const std::string& line : fieldLines(escaped, pageColumns() - valueColumn)) {
    out += fmt::format("    {:<{}}{}\n", label, valueColumn - 4, line);
    label = "";
  }
  return out;
}

std::string rowText(const RecordSummary& row, std::int64_t now) {
  constexpr std::size_t shownDigits = 32;
  std::string out;
  for (const std::string& line : fieldLines(domainWords(row.domain), pageColumns())) {
    out += line + "\n";
  }
  out += field("file", escapeText(row.fileName));
  out += "    " + wrapped("accepted  " + warningWords(row.warnings), 4).substr(4) + "\n";
  out += field("subject", row.leaf.subject.value_or(noCertificate));
  out += field("SHA-256", row.leaf.sha256.substr(0, shownDigits) + "...");
  out += field("written", momentText(row.written));
  if (row.expires) {
    const bool expired = *row.expires <= now;
    const std::string text = momentText(row.expires) + (expired ? " (expired)" : "");
    out += fmt::format("    expires   {}\n", expired ? painted(Colour::yellow, text) : text);
  }
  return out + "\n";
}

void printText(const Listing& listing, const std::string& directory) {
  const std::int64_t now = currentTime();
  for (const Row& row : listing.rows) {
    print(rowText(row.summary, now));
  }
  const std::size_t count = listing.rows.size();
  print(fmt::format("{} decision{} in {}\n", count == 0 ? "no" : std::to_string(count),
                    count == 1 ? "" : "s", printableText(directory, 300)));
}

void complainAboutUnreadable(const std::vector<std::string>& names) {
  constexpr std::size_t shown = 10;
  if (names.empty()) {
    return;
  }
  std::string list;
  for (std::size_t i = 0; i < std::min(names.size(), shown); ++i) {
    list += (i == 0 ? "" : ", ") + printableText(names[i], 80);
  }
  const std::string more =
      names.size() > shown ? fmt::format(" and {} more", names.size() - shown) : "";
  printComplaint(
      fmt::format("{} file{} cannot be read: {}{}; see what is wrong with: trustctl "
                  "exceptions doctor",
                  names.size(), names.size() == 1 ? "" : "s", list, more));
}

ExitStatus runList(const ListOptions& options) {
  return withJsonErrors(options.json, [&options] {
    const ExceptionStore store(options.store.directory());
    std::optional<DomainPattern> pattern;
    if (options.domain) {
      pattern.emplace(*options.domain);
    }
    Listing listing;
    whileStill(store, [&] { listing = readListing(store, pattern); });
    if (options.json) {
      const std::int64_t now = currentTime();
      for (const Row& row : listing.rows) {
        print(summaryJson(row.summary, now));
      }
    } else {
      printText(listing, store.directory());
    }
    complainAboutUnreadable(listing.unreadable);
    return ExitStatus::trusted;
  });
}

}  // namespace

void addListCommand(CLI::App* group, CommandAction* chosen) {
  CLI::App* command = addCommand(group, "list", "List the stored decisions", help);
  const auto options = std::make_shared<ListOptions>();
  addOption(command, "-d,--domain", &options->domain, "Only for domains like this", "PATTERN")
      .notEmpty();
  addFlag(command, "--json", &options->json, "One JSON object a line, for programs");
  addStoreOption(command, &options->store);
  onCall(command, chosen, [options] { return runList(*options); });
}
