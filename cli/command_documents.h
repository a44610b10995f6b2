// Documents generated from the command-line parser itself, so that the
// manual page and the shell completions list exactly the commands and
// options `brivant` accepts: the build runs `brivant --generate KIND` and
// installs what it prints.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace brivant::cli {

/// The values an option accepts, by option name ("--log"), for completion.
using OptionValues = std::map<std::string, std::vector<std::string>>;

/// The kinds `--generate` knows, in the order its help lists them.
inline const std::vector<std::string> kDocumentKinds = {"bash", "zsh", "man"};

/// The document of `kind` (one of kDocumentKinds) for the parser `app`.
/// Positionals complete by their name: CLASS as the registered class names
/// (asked of `brivant list` when completing), a FILE as a project file, a
/// DIR as a directory.
std::string GenerateDocument(const std::string& kind, const CLI::App& app,
                             const OptionValues& values);

}  // namespace brivant::cli
