// utilctl: the tool of the library. `utilctl --help` shows how; commands.cpp is the table of what it does.
#include <CLI/CLI.hpp>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <new>
#include <sstream>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "platform/framework/file.h"
#include "tools/utilctl/command.h"
#include "tools/utilctl/files.h"
#include "tools/utilctl/generate.h"
#include "util/i18n/language.h"

#if defined(__unix__) || defined(__APPLE__)
#include <unistd.h>
#endif

namespace {

using namespace utilctl;

constexpr int kStandardOutput = 1, kStandardError = 2;

bool HasColours([[maybe_unused]] int output) {
#if defined(__unix__) || defined(__APPLE__)
  const char* const none = std::getenv("NO_COLOR");
  return (none == nullptr || *none == '\0') && isatty(output) != 0;
#else
  return false;
#endif
}

exit_t WriteOut(std::string_view text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return EXIT_FINE;
  std::cerr << "utilctl: standard output: cannot write: " << std::generic_category().message(errno) << '\n';
  return EXIT_IO;
}

std::string LanguageCheck(const std::string& tag) {
  if (i18n::LanguageIdFromTag(tag) != 0) return "";
  std::string text = tag + ": expected a language, such as";
  for (const i18n::language_t& language : i18n::GetAvailableLanguages()) {
    text += " " + language.tag + " (" + language.name.ToUtf8() + ")";
  }
  return text;
}

// Help that begins with an example; in the list of a group each command has one line.
class CHelpFormatter : public CLI::Formatter {
 public:
  std::string make_description(const CLI::App* app) const override {
    const auto found = texts_.find(app);
    return (found == texts_.end() ? app->get_description() : found->second) + '\n';
  }
  void Set(const CLI::App* app, std::string text) { texts_[app] = std::move(text); }

 private:
  std::map<const CLI::App*, std::string> texts_;
};

// A row of the table as a command of the parser, with room for what it is given.
struct parsed_command_t {
  const command_t* command;
  CLI::App* app;
  std::vector<std::pair<std::string, CLI::Option*>> options;
};

void AddOption(parsed_command_t& parsed, const option_t& option) {
  CLI::Option* added = option.value == nullptr ? parsed.app->add_flag(option.name, option.help)
                                               : parsed.app->add_option(option.name)->description(option.help);
  if (option.value != nullptr) added->type_name(option.value)->type_size(1)->expected(1);
  if (option.isMany) added->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
  if (option.kind == value_kind_t::language) added->check(LanguageCheck);
  if (option.isRequired) added->required();
  parsed.options.emplace_back(option.name, added);
}

parsed_command_t AddCommand(CLI::App& group, const command_t& command) {
  CLI::App* const app = group.add_subcommand(command.name, command.help);
  parsed_command_t parsed{&command, app, {}};
  for (const argument_t& argument : command.arguments) {
    CLI::Option* const added = app->add_option(argument.name)->description(argument.help);
    added->type_size(1)->type_name("")->option_text(argument.count == count_t::many ? "..." : " ");
    // The last of several arguments may be left out; the only one may not.
    const bool isFirst = &argument == &command.arguments.front();
    if (argument.count == count_t::many) {
      added->expected(isFirst ? 1 : 0, CLI::detail::expected_max_vector_size)->allow_extra_args();
    } else {
      added->expected(1);
    }
    if (argument.count == count_t::one || (argument.count == count_t::many && isFirst)) added->required();
    parsed.options.emplace_back(argument.name, added);
  }
  for (const option_t& option : command.options) AddOption(parsed, option);
  for (const option_t& option : GetCommonOptions()) AddOption(parsed, option);
  return parsed;
}

std::string HelpOf(const command_t& command) {
  return std::string("Example: ") + command.example + "\n\n" + command.help + ". " + command.text + "\n\n" +
         GetExitCodes();
}

// What() of a file's error without the family's path separators.
std::string TextOf(const CFileException& error) {
  const std::string path = error.GetPath().ToUtf8();
  const std::string what = error.what();
  return what.starts_with(path) ? NativePath(error.GetPath()) + what.substr(path.size()) : what;
}

exit_t Run(const parsed_command_t& parsed) {
  CCall call;
  for (const auto& [name, option] : parsed.options) {
    if (option->count() != 0) call.values[name] = option->results();
  }
  call.hasColours = HasColours(kStandardOutput);
  std::string failure;
  exit_t code = EXIT_IO;
  try {
    code = parsed.command->run(call);
  } catch (const usage_error_t& error) {
    failure = error.what();
    code = EXIT_USAGE;
  } catch (const CFileException& error) {
    failure = TextOf(error);
  } catch (const std::bad_alloc&) {
    failure = "out of memory";
  } catch (const std::exception& error) {
    failure = error.what();
  }
  if (!failure.empty()) std::cerr << "utilctl: " << Printable(failure) << '\n';
  if (call.Has("--json")) {
    const exit_t written = WriteOut(call.report.GetJson(failure));
    return written == EXIT_FINE ? code : written;
  }
  const exit_t written = WriteOut(call.report.text);
  const bool colours = HasColours(kStandardError);
  for (const problem_t& each : call.report.GetProblems()) std::cerr << ProblemText(each, colours);
  return written == EXIT_FINE ? code : written;
}

exit_t Generate(const std::string& what) {
  if (what == "bash") return WriteOut(MakeBashCompletion());
  if (what == "zsh") return WriteOut(MakeZshCompletion());
  if (what == "man") return WriteOut(MakeManualPage());
  std::cerr << "utilctl: --generate: expected bash, zsh or man\n";
  return EXIT_USAGE;
}

// Null for the name of none.
const CLI::App* FindSubcommand(const CLI::App& app, std::string_view name) {
  const auto all = app.get_subcommands([name](const CLI::App* each) { return each->get_name() == name; });
  return all.empty() ? nullptr : all.front();
}

// The parser says of a word that is no command only that one is missing; this names the word and what there is.
bool KnowsWords(const CLI::App& app, int argc, char** argv) {
  std::string way = "utilctl";
  const CLI::App* at = &app;
  for (int i = 1; i <= 2; ++i) {
    if (i >= argc) {
      std::cerr << at->help(i == 1 ? "" : "utilctl");
      return false;
    }
    const std::string word = argv[i];
    if (word.starts_with('-')) return true;
    const CLI::App* const next = FindSubcommand(*at, word);
    if (next == nullptr) {
      std::cerr << way << ": unknown command \"" << Printable(word) << "\"; there are";
      for (const CLI::App* each : at->get_subcommands(nullptr)) std::cerr << ' ' << each->get_name();
      std::cerr << '\n';
      return false;
    }
    way += ' ' + word;
    at = next;
  }
  return true;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // a reader that went away is a write error, with a message
#endif
#ifdef SIGXFSZ
  std::signal(SIGXFSZ, SIG_IGN);  // and so is a file that may not grow
#endif
  CLI::App app{std::string(GetIntroduction()) + "\n\n" + GetExitCodes(), "utilctl"};
  const auto formatter = std::make_shared<CHelpFormatter>();
  app.formatter(formatter);
  app.set_version_flag("--version", "utilctl " UTILCTL_VERSION);
  std::string generate;
  app.add_option("--generate", generate, GetProgramOptions().back().help)->type_name(GetProgramOptions().back().value);
  std::vector<parsed_command_t> parsed;
  for (const group_t& group : GetGroups()) {
    CLI::App* const sub = app.add_subcommand(group.name, group.help);
    sub->require_subcommand(1);
    for (const command_t& command : GetCommands()) {
      if (std::string_view(command.group) != group.name) continue;
      parsed.push_back(AddCommand(*sub, command));
      formatter->Set(parsed.back().app, HelpOf(command));
    }
  }
  if (!KnowsWords(app, argc, argv)) return EXIT_USAGE;
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    std::ostringstream text;  // help and version are output as any other
    if (app.exit(error, text, std::cerr) != 0) return EXIT_USAGE;
    return WriteOut(text.str());
  }
  if (!generate.empty()) return Generate(generate);
  for (const parsed_command_t& each : parsed) {
    if (each.app->parsed()) return Run(each);
  }
  std::cerr << app.help();
  return EXIT_USAGE;
}
