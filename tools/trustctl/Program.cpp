#include "tools/trustctl/Program.h"

#include <string>

#include "tools/trustctl/Page.h"

namespace {

constexpr const char* help =
    "Examples:\n"
    "  trustctl verify --domain example.org chain.pem\n"
    "      May the chain in chain.pem be trusted for example.org?\n"
    "  trustctl connect example.org\n"
    "      The same for what a server sends.\n"
    "  trustctl explain NO_TRUSTED\n"
    "      What a warning means, and what to do about it.\n"
    "  trustctl exceptions why example.org --connect\n"
    "      Why am I asked again, though I accepted this?\n\n"
    "More about a command: trustctl COMMAND --help, or man trustctl-COMMAND\n\n"
    "Exit status: 0 trusted (or done), 1 not trusted, 2 wrong use or unusable input,\n"
    "3 no verdict could be had.\n\n"
    "Environment:\n"
    "  NO_COLOR                          no colours, unless --color says so\n"
    "  PPS_RUNTIME_DIR, XDG_RUNTIME_DIR  where services are looked for, before /run/pps\n"
    "  TRUST_CERTMGRD, TRUST_DIALOGD     programs of private services\n"
    "  TMPDIR                            where private services live for a run\n\n"
    "Files:\n"
    "  ~/vallorin/certexcept             your decisions\n";

// What every command has alike.
void addCommonOptions(CLI::App* command) {
  const auto below = command->get_subcommands({});
  for (CLI::App* each : below) {
    addCommonOptions(each);
  }
  command->set_help_flag("-h,--help", "Print this help");
  if (below.empty()) {
    addColourOption(command);
  } else {
    command->require_subcommand(0, 1);
  }
}

}  // namespace

Program::Program()
    : app("trustctl judges the certificate chains of servers: trusted or not, and why.",
          "trustctl") {
  app.footer(help);
  app.set_version_flag("--version", "trustctl " TRUSTCTL_VERSION, "Print the version");
  addVerifyCommand(&app, &chosen);
  addConnectCommand(&app, &chosen);
  addExceptionsCommands(&app, &chosen);
  addExplainCommand(&app, &chosen);
  addMatchCommand(&app, &chosen);
  addBlacklistCommands(&app, &chosen);
  addServicesCommands(&app, &chosen);
  addCompletionCommand(&app, &chosen);
  addManualCommand(&app, &chosen);
  addCommonOptions(&app);
}
