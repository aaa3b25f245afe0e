#include "tools/trustctl/exceptions/ExceptionsCommands.h"

#include "tools/trustctl/Options.h"

namespace {

constexpr const char* help =
    "A decision is what you remembered with \"always\": one chain, for one domain, in spite of\n"
    "certain warnings. Programs with the library find it in ~/vallorin/certexcept.\n\n"
    "Examples:\n"
    "  trustctl exceptions list\n"
    "  trustctl exceptions show example.org\n"
    "  trustctl exceptions why example.org --connect\n"
    "  trustctl exceptions remove example.org\n\n"
    "More about a command: trustctl exceptions COMMAND --help\n";

}  // namespace

void addExceptionsCommands(CLI::App* program, CommandAction* chosen) {
  CLI::App* group = addCommand(program, "exceptions", "Look after the decisions you stored", help);
  addListCommand(group, chosen);
  addShowCommand(group, chosen);
  addWhyCommand(group, chosen);
  addAddCommand(group, chosen);
  addRemoveCommand(group, chosen);
  addClearCommand(group, chosen);
  addExportCommand(group, chosen);
  addImportCommand(group, chosen);
  addPruneCommand(group, chosen);
  addDoctorCommand(group, chosen);
}
