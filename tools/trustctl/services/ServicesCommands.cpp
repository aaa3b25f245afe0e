#include <unistd.h>

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "services/common/PrintableText.h"
#include "services/common/TextWriter.h"
#include "services/common/TimeText.h"
#include "tools/trustctl/Command.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/ServiceProgram.h"
#include "tools/trustctl/VerdictReport.h"
#include "tools/trustctl/services/ServiceStatus.h"

namespace {

constexpr const char* groupHelp =
    "Two services do the library's work: certmgr judges chains, dialog asks the user. Where one\n"
    "does not run, trustctl starts a private one for its own run.\n\n"
    "Examples:\n"
    "  trustctl services status\n";

constexpr const char* statusHelp =
    "Asks each service that runs a question that it does not know and measures how soon it says\n"
    "so; nobody sees a dialog. That a service does not run is no fault.\n\n"
    "Examples:\n"
    "  trustctl services status\n"
    "  trustctl services status --json\n"
    "  PPS_RUNTIME_DIR=/run/pps trustctl services status\n\n"
    "Exit status: 0 all that run answer, 1 one runs but does not answer in time or cannot\n"
    "be used, 3 it cannot be told.\n";

struct StatusOptions {
  int timeoutSeconds = 2;
  bool json = false;
};

// One of the two services, and how a private one is started.
struct KnownService {
  const char* name;
  const char* purpose;
  const ServiceProgram& program;
};

constexpr KnownService knownServices[] = {
    {"certmgr", "judges chains", certificateManagerProgram},
    {"dialog", "asks the user", dialogProgram},
};

// All that is told of one.
struct Report {
  const KnownService& service;
  RuntimePlace place;
  ServiceStatus status;
  std::vector<std::string> elsewhere;  // objects of services that run where nobody looks
  std::string privateProgram;          // empty: there is none
  std::string privateProblem;          // why not
};

bool isThere(ServiceState state) {
  return state != ServiceState::absent && state != ServiceState::stale;
}

bool isFault(ServiceState state) {
  return state == ServiceState::silent || state == ServiceState::refused;
}

void findPrivateProgram(Report* report) {
  try {
    report->privateProgram = findServiceProgram(report->service.program);
  } catch (const CommandError& error) {
    report->privateProblem = error.what();
  }
}

Report inspect(const KnownService& service, const std::vector<RuntimePlace>& places,
               int timeoutSeconds) {
  Report report{service,
                places.front(),
                askService(service.name, places.front().directory, timeoutSeconds),
                {},
                {},
                {}};
  for (std::size_t i = 1; i < places.size(); ++i) {
    if (places[i].directory == places.front().directory) {
      continue;
    }
    const ServiceStatus other = askService(service.name, places[i].directory, timeoutSeconds);
    if (isThere(other.state)) {
      report.elsewhere.push_back(other.object);
    }
  }
  findPrivateProgram(&report);
  return report;
}

// ---- text

void printField(const char* label, const std::string& escaped) {
  constexpr std::size_t labelColumns = 16;
  for (const std::string& line : fieldLines(escaped, pageColumns() - labelColumns)) {
    print(fmt::format("    {:<{}}{}\n", label, labelColumns - 4, line));
    label = "";
  }
}

void printSentence(const std::string& words) {
  print(wrapped(words, 4) + "\n");
}

std::string stateText(const ServiceStatus& status) {
  switch (status.state) {
    case ServiceState::answering:
      return painted(Colour::green, "running");
    case ServiceState::silent:
      return painted(Colour::red, "running, but does not answer");
    case ServiceState::refused:
      return painted(Colour::red, "there, but cannot be used");
    case ServiceState::stale:
    case ServiceState::absent:
      break;
  }
  return "not running";
}

std::string sourceText(const RuntimePlace& place) {
  const std::string source = place.source;
  return source == "default" ? "the usual place" : "as " + source + " says";
}

void printPeer(const ServicePeer& peer) {
  printField("process", std::to_string(peer.process));
  printField("program", peer.program ? escapeText(*peer.program) : "(cannot be told)");
  printField("user", escapeText(peer.user));
  if (peer.since) {
    const std::int64_t age = std::max<std::int64_t>(0, currentTime() - *peer.since);
    printField("since", fmt::format("{}, {} ago", formatTime(*peer.since), formatSpan(age)));
  }
}

void printPrivate(const Report& report) {
  if (!report.privateProgram.empty()) {
    printField("private one", escapeText(report.privateProgram));
  } else {
    printSentence("A private one cannot be started: " + report.privateProblem + ".");
  }
}

void printText(const Report& report) {
  const ServiceStatus& status = report.status;
  print(
      fmt::format("{} ({}): {}\n", report.service.name, report.service.purpose, stateText(status)));
  printField("object", escapeText(status.object));
  printField("looked for", sourceText(report.place));
  if (status.peer) {
    printPeer(*status.peer);
  }
  if (status.answerMicroseconds) {
    printField("answers in", fmt::format("{:.1f} ms", *status.answerMicroseconds / 1000.0));
  }
  if (isFault(status.state)) {
    printSentence("What is wrong: " + status.problem + ".");
  } else if (status.state == ServiceState::stale) {
    printSentence(
        "A service died and left its socket there. It does no harm: the next one replaces it.");
  } else if (status.state == ServiceState::absent) {
    printSentence("That is no fault: trustctl starts a private one for each run.");
  }
  for (const std::string& object : report.elsewhere) {
    printSentence("Another one runs where programs of this environment do not look:");
    printField("object", escapeText(object));
  }
  printPrivate(report);
}

// ---- JSON

const char* stateWord(ServiceState state) {
  switch (state) {
    case ServiceState::answering:
      return "answering";
    case ServiceState::silent:
      return "silent";
    case ServiceState::refused:
      return "refused";
    case ServiceState::stale:
      return "stale";
    case ServiceState::absent:
      break;
  }
  return "absent";
}

void addPeer(const ServicePeer& peer, TextWriter* object) {
  object->add("process", static_cast<int>(peer.process));
  if (peer.program) {
    object->add("program", escapeText(*peer.program));
  }
  object->add("user", escapeText(peer.user));
  if (peer.since) {
    object->add("since", formatTime(*peer.since));
  }
}

void printJson(const Report& report) {
  const ServiceStatus& status = report.status;
  TextWriter object(TextWriter::Form::json);
  object.add("service", report.service.name);
  object.add("state", stateWord(status.state));
  object.add("object", escapeText(status.object));
  object.add("place", report.place.source);
  if (status.peer) {
    addPeer(*status.peer, &object);
  }
  if (status.answerMicroseconds) {
    object.add("answer_microseconds", *status.answerMicroseconds);
  }
  if (!status.problem.empty()) {
    object.add("problem", status.problem);
  }
  std::vector<std::string> elsewhere;
  std::transform(report.elsewhere.begin(), report.elsewhere.end(), std::back_inserter(elsewhere),
                 [](const std::string& path) { return escapeText(path); });
  object.addArray("elsewhere", elsewhere);
  if (!report.privateProgram.empty()) {
    object.add("private_program", escapeText(report.privateProgram));
  }
  print(object.text() + "\n");
}

ExitStatus runStatus(const StatusOptions& options) {
  return withJsonErrors(options.json, [&options] {
    bool anyFault = false;
    const std::vector<RuntimePlace> places = runtimePlaces();
    for (const KnownService& service : knownServices) {
      const Report report = inspect(service, places, options.timeoutSeconds);
      options.json ? printJson(report) : printText(report);
      anyFault |= isFault(report.status.state);
    }
    return anyFault ? ExitStatus::notTrusted : ExitStatus::trusted;
  });
}

}  // namespace

void addServicesCommands(CLI::App* program, CommandAction* chosen) {
  CLI::App* group = addCommand(program, "services", "The services that judge and ask", groupHelp);
  CLI::App* command =
      addCommand(group, "status", "What runs, where, and how fast it answers", statusHelp);
  const auto options = std::make_shared<StatusOptions>();
  addOption(command, "--timeout", &options->timeoutSeconds, "Wait so long for each answer (2)",
            "SECONDS")
      .between(1, 60);
  addFlag(command, "--json", &options->json, "One JSON object a line, for programs");
  onCall(command, chosen, [options] { return runStatus(*options); });
}
