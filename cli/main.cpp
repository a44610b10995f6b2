// brivant: the command-line build runner. Loads the action packages, then
// runs one command; see commands.h for what each prints and returns.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <map>
#include <string_view>

#include "cli/command_documents.h"
#include "cli/commands.h"
#include "host/action_registry.h"
#include "host/package_loader.h"
#include "host/spelling.h"
#include "platform/file_operations.h"

namespace brivant::cli {

void PrintError(const std::string& message) { std::cerr << "brivant: " << message << '\n'; }

namespace {

// Everything any command reads from the command line.
struct CommandLine {
  std::string directory;  // -C
  std::string generate;   // --generate, hidden
  RunArguments run;
  std::string log_format = "text";
  bool no_color = false;
  bool quiet = false;
  bool verbose = false;
  std::string project_path;
  std::string category;
  std::string class_name;
  bool as_json = false;
  std::string reference_directory;
  bool check = false;
  RegistryArguments registry;
};

const std::map<std::string, host::LogFormat> kLogFormats = {
    {"text", host::LogFormat::kText},
    {"json", host::LogFormat::kJson},
    {"github", host::LogFormat::kGithub},
};

void AddProjectArgument(CLI::App* command, std::string* path) {
  command->add_option("PROJECT", *path, "The project file (.bvproj).")
      ->type_name("FILE")
      ->required();
}

void AddDefineOption(CLI::App* command, CommandLine* line) {
  command->add_option("-D", line->run.defines, "Set a variable (a String one if undeclared).")
      ->type_name("NAME=VALUE")
      ->allow_extra_args(false);
}

void AddRunOptions(CLI::App* command, CommandLine* line) {
  AddProjectArgument(command, &line->run.path);
  AddDefineOption(command, line);
  command->add_option("--log", line->log_format, "Log format: text (the default), json or github.")
      ->type_name("FORMAT")
      ->check(CLI::IsMember(kLogFormats).description(""));
  command->add_flag("--no-color", line->no_color, "Never colour the text log.");
  CLI::Option* quiet =
      command->add_flag("-q,--quiet", line->quiet, "Text log: only errors and the summary.");
  command
      ->add_flag("-v,--verbose", line->verbose,
                 "Text log: each action's place, description and time.")
      ->excludes(quiet);
}

int Run(const host::ActionRegistry& registry, CommandLine& line) {
  line.run.format = kLogFormats.at(line.log_format);
  line.run.color = !line.no_color;
  if (line.quiet) line.run.verbosity = host::Verbosity::kQuiet;
  if (line.verbose) line.run.verbosity = host::Verbosity::kVerbose;
  return RunProjectFile(registry, line.run);
}

// query/set/delete as subcommands of `registry`, each with the key and an
// optional value name.
void AddRegistryOptions(CLI::App* command, CommandLine* line) {
  command->require_subcommand(1);
  const std::pair<const char*, const char*> operations[] = {
      {"query", "Print a key's values and subkeys, or one value."},
      {"set", "Create a key, and write a value of it."},
      {"delete", "Delete a value, or a key with all its subkeys and values."},
  };
  for (const auto& [name, help] : operations) {
    CLI::App* operation = command->add_subcommand(name, help);
    operation->add_option("KEY", line->registry.key, "The key, such as HKLM\\Software\\Acme.")
        ->required();
    operation->add_option("-v,--value", line->registry.value_name,
                          "The value name (\"\" for the default value).");
    if (std::string_view(name) == "set") {
      operation->add_option("-t,--type", line->registry.type,
                            "REG_SZ (the default), REG_EXPAND_SZ, REG_DWORD, REG_QWORD or "
                            "REG_BINARY.");
      operation->add_option("-d,--data", line->registry.data,
                            "The data: text, a number (decimal or 0x hex) or hex bytes.");
    }
    operation->callback([line, name = std::string(name)] { line->registry.operation = name; });
  }
}

// The one list of commands: it builds the parser, the help and the dispatch.
struct Command {
  const char* name;
  const char* help;
  void (*add_arguments)(CLI::App* command, CommandLine* line);
  int (*execute)(const host::ActionRegistry& registry, CommandLine& line);
};

const Command kCommands[] = {
    {"run", "Validate a project, then run its actions.", AddRunOptions, Run},
    {"validate", "Check every enabled action of a project; one line per problem.",
     [](CLI::App* command, CommandLine* line) {
       AddProjectArgument(command, &line->project_path);
       AddDefineOption(command, line);
     },
     [](const host::ActionRegistry& registry, CommandLine& line) {
       return ValidateProjectFile(registry, line.project_path, line.run.defines);
     }},
    {"list", "List the registered actions: category, class, display name, help file.",
     [](CLI::App* command, CommandLine* line) {
       command->add_option("--category", line->category, "Only the actions of this category.");
     },
     [](const host::ActionRegistry& registry, CommandLine& line) {
       return ListActions(registry, line.category);
     }},
    {"props",
     "List an action class's published properties: name, type, default, flags, display text, "
     "help.",
     [](CLI::App* command, CommandLine* line) {
       command->add_option("CLASS", line->class_name, "The action class (TCopyFilesAction).")
           ->type_name("NAME")
           ->required();
       command->add_flag("--json", line->as_json, "Print one JSON object instead.");
     },
     [](const host::ActionRegistry& registry, CommandLine& line) {
       return PrintProperties(registry, line.class_name, line.as_json);
     }},
    {"registry", "Query, set and delete keys and values of the registry store.", AddRegistryOptions,
     [](const host::ActionRegistry&, CommandLine& line) { return RegistryCommand(line.registry); }},
    {"describe", "Print a project's action tree with each action's description.",
     [](CLI::App* command, CommandLine* line) { AddProjectArgument(command, &line->project_path); },
     [](const host::ActionRegistry& registry, CommandLine& line) {
       return DescribeProjectFile(registry, line.project_path);
     }},
    {"reference", "Write the action reference pages (docs/actions) from the property tables.",
     [](CLI::App* command, CommandLine* line) {
       command->add_option("DIR", line->reference_directory, "Where the pages are.")
           ->type_name("DIR")
           ->required();
       command->add_flag("--check", line->check,
                         "Write nothing; name the pages that are out of date and fail.");
     },
     [](const host::ActionRegistry& registry, CommandLine& line) {
       return WriteReference(registry, line.reference_directory, line.check);
     }},
};

void LoadAllPackages(host::ActionRegistry& registry) {
  std::vector<std::string> directories = host::PackageDirectories();
  host::PackageLoadResult result = host::LoadPackages(directories, registry);
  for (const std::string& problem : result.problems) PrintError("warning: " + problem);
  if (!result.loaded.empty()) return;
  std::string searched;
  for (const std::string& directory : directories)
    searched += (searched.empty() ? "" : ":") + directory;
  PrintError("warning: no action packages found in " + searched +
             " (BRIVANT_PACKAGE_PATH overrides)");
}

std::vector<std::string_view> CommandNames() {
  std::vector<std::string_view> names;
  for (const Command& command : kCommands) names.emplace_back(command.name);
  return names;
}

// CLI11 reports a mistyped command as a missing one; a user who typed
// "brivant rnu" deserves to hear what was wrong and what was meant.
bool CheckCommandWord(int argc, char** argv) {
  std::vector<std::string_view> names = CommandNames();
  for (int i = 1; i < argc; ++i) {
    std::string_view word = argv[i];
    if (word == "-C" || word == "--generate") {
      ++i;
      continue;
    }
    if (word.empty() || word[0] == '-') continue;
    if (std::find(names.begin(), names.end(), word) != names.end()) return true;
    PrintError("unknown command '" + std::string(word) + "'" + host::DidYouMean(word, names));
    std::cerr << "Run 'brivant --help' for usage.\n";
    return false;
  }
  return true;
}

int Main(int argc, char** argv) {
  CLI::App app("Runs build projects made of actions.", "brivant");
  app.set_version_flag("--version", "brivant " BRIVANT_VERSION);
  app.require_subcommand(0, 1);
  CommandLine line;
  app.add_option("-C", line.directory, "Run as if brivant was started in DIR.")->type_name("DIR");
  app.add_option("--generate", line.generate)
      ->check(CLI::IsMember(kDocumentKinds))
      ->group("");  // for the build, not for users
  std::vector<std::pair<CLI::App*, const Command*>> parsers;
  for (const Command& command : kCommands) {
    CLI::App* parser = app.add_subcommand(command.name, command.help);
    command.add_arguments(parser, &line);
    parsers.emplace_back(parser, &command);
  }

  if (!CheckCommandWord(argc, argv)) return kExitUsage;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // Help and --version arrive as "errors" with status 0; CLI11 prints them.
    if (error.get_exit_code() == 0) return app.exit(error);
    PrintError(error.what());
    std::cerr << "Run 'brivant --help' for usage.\n";
    return kExitUsage;
  }
  if (!line.generate.empty()) {
    OptionValues values;
    for (const auto& [name, format] : kLogFormats) values["--log"].push_back(name);
    std::cout << GenerateDocument(line.generate, app, values);
    return kExitSuccess;
  }
  if (!line.directory.empty()) {
    if (platform::OsError error = platform::SetCurrentDirectory(line.directory)) {
      PrintError("-C: " + error.Describe());
      return kExitUsage;
    }
  }

  const Command* chosen = nullptr;
  for (const auto& [parser, command] : parsers) {
    if (parser->parsed()) chosen = command;
  }
  if (chosen == nullptr) {
    std::string names;
    for (std::string_view name : CommandNames())
      names += (names.empty() ? "" : ", ") + std::string(name);
    PrintError("a command is required: " + names);
    std::cerr << "Run 'brivant --help' for usage.\n";
    return kExitUsage;
  }
  host::ActionRegistry registry;
  LoadAllPackages(registry);
  return chosen->execute(registry, line);
}

}  // namespace
}  // namespace brivant::cli

int main(int argc, char** argv) { return brivant::cli::Main(argc, argv); }
