#ifndef TOOLS_TRUSTCTL_COMMANDWORDS_H
#define TOOLS_TRUSTCTL_COMMANDWORDS_H

#include <string>
#include <vector>

namespace CLI {
class App;
}

// Looks for what was mistyped before the words are parsed: a command or a long option that does
// not exist, with the one that was probably meant; a group of commands without one of them; and
// "--option=" without a value, for which the parser would take the next word. `words` are the
// arguments without the program's name. Throws CommandError (wrongUse).
void requireKnownWords(const CLI::App& program, const std::vector<std::string>& words);

// The command that the words lead to; the program itself where they name none.
const CLI::App& commandOf(const CLI::App& program, const std::vector<std::string>& words);

// "trustctl exceptions list", as far as the words name commands.
std::string commandPath(const CLI::App& program, const std::vector<std::string>& words);

// The names of the commands in the group that people are told of.
std::vector<std::string> commandNames(const CLI::App& group);

// The long options of a command, likewise: "--json".
std::vector<std::string> optionNames(const CLI::App& command);

#endif
