#ifndef TOOLS_TRUSTCTL_MANY_MANYINPUTS_H
#define TOOLS_TRUSTCTL_MANY_MANYINPUTS_H

#include <optional>
#include <string>
#include <vector>

// One of many chains to judge.
struct ManyInput {
  std::string path;
  std::optional<std::string> domain;  // nothing: no name is checked
};

// True when one of the paths is a directory.
bool nameADirectory(const std::vector<std::string>& paths);

// Each file is a chain of its own; a directory stands for all plain files below it, in the order
// of their paths, but for those whose names begin with a dot. Throws CommandError (wrongUse)
// when a directory cannot be read.
std::vector<ManyInput> listFiles(const std::vector<std::string>& paths,
                                 const std::optional<std::string>& domain);

// Reads a list ("-" is standard input) of lines DOMAIN<tab>PATH; with nothing before the tab no
// name is checked. Empty lines and those that begin with '#' are passed over. Throws CommandError
// (wrongUse) that names the line when one is anything else.
std::vector<ManyInput> readList(const std::string& path);

#endif
