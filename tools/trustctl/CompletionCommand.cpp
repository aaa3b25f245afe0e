#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <CLI/CLI.hpp>

#include "tools/trustctl/Command.h"
#include "tools/trustctl/CommandWords.h"
#include "tools/trustctl/Options.h"
#include "tools/trustctl/Page.h"
#include "tools/trustctl/WarningWords.h"
#include "tools/trustctl/connect/StartTls.h"

namespace {

using Words = std::vector<std::string>;

constexpr const char* help =
    "Put this line into ~/.bashrc, unless your system has installed it already:\n\n"
    "  eval \"$(trustctl completion bash)\"\n\n"
    "Examples:\n"
    "  trustctl completion bash\n";

// The program itself knows the words, and says with status 1 where no file can stand. bash takes
// "--dialog policy:once" and "--color=auto" apart at ':' and '=', and wants back only what comes
// behind the last of these.
constexpr const char* bashScript =
    R"script(_trustctl() {
  local IFS=$'\n' word break cut='' glue='' words=('')
  for word in "${COMP_WORDS[@]:1:COMP_CWORD}"; do
    case $word in
      [:=]*) glue=1 ;;
      *) [ "$glue" ] || words+=('') ; glue='' ;;
    esac
    words[${#words[@]}-1]+=$word
  done
  word=${words[${#words[@]}-1]}
  for break in : =; do
    case $COMP_WORDBREAKS in
      *$break*) [[ ${word%"${word##*"$break"}"} == "$cut"* ]] && cut=${word%"${word##*"$break"}"} ;;
    esac
  done
  word=$("${COMP_WORDS[0]}" completion words -- "${words[@]:1}" 2>/dev/null) ||
    { [ $? -ne 1 ] || compopt +o bashdefault +o default; } 2>/dev/null
  COMPREPLY=($word)
  COMPREPLY=("${COMPREPLY[@]#"$cut"}")
}
complete -o bashdefault -o default -F _trustctl trustctl
)script";

const CLI::Option* findOption(const CLI::App& command, const std::string& word) {
  for (const CLI::Option* option : command.get_options()) {
    if (option->check_name(word) && !option->get_positional()) {
      return option;
    }
  }
  return nullptr;
}

Words starttlsNames() {
  Words names;
  for (const StartTlsProtocol& protocol : startTlsProtocols()) {
    names.emplace_back(protocol.name);
  }
  return names;
}

// What may come in some place.
struct Offer {
  Words words;
  bool files = false;
};

// What a value of that kind can be; nothing where it is anything.
Offer valuesOf(const std::string& kind) {
  static const std::vector<std::pair<std::string, Words>> known = {
      {"WHEN", {"auto", "always", "never"}},
      {"FACE", {"terminal", "policy:decline", "policy:once", "policy:always"}},
      {"PROTOCOL", starttlsNames()},
      {"WARNING", warningNames()},
      {"WARNING,...", warningNames()}};
  for (const auto& [name, values] : known) {
    if (name == kind) {
      return {values};
    }
  }
  const bool isFile = kind == "DIR" || kind == "LIST" || kind.find("FILE") != std::string::npos;
  return {{}, isFile};
}

Words prefixed(const std::string& prefix, const Words& words) {
  Words out;
  for (const std::string& word : words) {
    out.push_back(prefix + word);
  }
  return out;
}

// The value of an option, of which `typed` is there.
Offer valuesFor(const CLI::Option& option, const std::string& typed) {
  const std::string kind = option.get_type_name();
  const Offer offer = valuesOf(kind);
  const std::size_t comma = kind.find(",...") == std::string::npos ? kind.npos : typed.rfind(',');
  const std::string before = comma == typed.npos ? "" : typed.substr(0, comma + 1);
  return {prefixed(before, offer.words), offer.files};
}

Offer argumentsOf(const CLI::App& command) {
  Offer offer;
  for (const CLI::Option* option : command.get_options()) {
    if (option->get_positional()) {
      const Offer one = valuesOf(option->get_name(true));
      offer.words.insert(offer.words.end(), one.words.begin(), one.words.end());
      offer.files |= one.files;
    }
  }
  return offer;
}

bool takesValue(const CLI::Option* option) {
  return option != nullptr && option->get_items_expected_max() > 0;
}

// What may come in the place of the last word.
Offer candidates(const CLI::App& program, const Words& words) {
  const Words before(words.begin(), words.end() - 1);
  const std::string& last = words.back();
  const CLI::App& command = commandOf(program, before);
  const bool isOption = last.rfind('-', 0) == 0;
  if (!commandNames(command).empty() && !isOption) {
    return {commandNames(command)};
  }
  const CLI::Option* option = before.empty() ? nullptr : findOption(command, before.back());
  if (takesValue(option)) {
    return valuesFor(*option, last);
  }
  if (!isOption) {
    return argumentsOf(command);
  }
  const std::size_t equals = last.find('=');
  option = equals == last.npos ? nullptr : findOption(command, last.substr(0, equals));
  if (!takesValue(option)) {
    return {optionNames(command)};
  }
  const Offer offer = valuesFor(*option, last.substr(equals + 1));
  return {prefixed(last.substr(0, equals + 1), offer.words), offer.files};
}

ExitStatus printFitting(const Offer& offer, const std::string& start) {
  for (const std::string& word : offer.words) {
    if (word.rfind(start, 0) == 0) {
      print(word + "\n");
    }
  }
  return offer.files ? ExitStatus::trusted : ExitStatus::notTrusted;
}

}  // namespace

void addCompletionCommand(CLI::App* program, CommandAction* chosen) {
  CLI::App* group = addCommand(program, "completion", "Complete commands in a shell", help);
  CLI::App* bash = addCommand(group, "bash", "Print what makes bash complete them", help);
  onCall(bash, chosen, [] {
    print(bashScript);
    return ExitStatus::trusted;
  });
  CLI::App* ask = addCommand(group, "words", "Print what may come next, for the shell", "");
  hideCommand(ask);
  const auto words = std::make_shared<Words>();
  addOption(ask, "WORD", words.get(), "What is typed so far, the last one not yet whole");
  onCall(ask, chosen, [program, words] {
    return words->empty() ? ExitStatus::trusted
                          : printFitting(candidates(*program, *words), words->back());
  });
}
