// A command of utilctl as a row of a table: parsing, help, completion and the manual page all come from it.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "tools/utilctl/report.h"
#include "util/objects/type_library.h"

namespace utilctl {

enum exit_t : int { EXIT_FINE = 0, EXIT_FINDINGS = 1, EXIT_USAGE = 2, EXIT_IO = 3 };

/// What a value is, for the completion.
enum class value_kind_t { none, text, file, folder, language, type };
enum class count_t { one, optional, many };

struct option_t {
  const char* name;   ///< "--out"
  const char* value;  ///< its placeholder; null for a flag
  value_kind_t kind;
  const char* help;
  bool isRequired = false;
  bool isMany = false;  ///< may be given several times
};

struct argument_t {
  const char* name;
  value_kind_t kind;
  count_t count;
  const char* help;
};

/// One call of a command: what it was given, and where its results go.
class CCall {
 public:
  std::map<std::string, std::vector<std::string>, std::less<>> values;
  CReport report;
  bool hasColours = false;  ///< of what goes to standard output
  /// The plug-ins of a project's types: longer than everything that came of them.
  std::vector<zorutil::CTypeLibrary> typeLibraries;

  bool Has(std::string_view name) const { return values.find(name) != values.end(); }
  /// The first value of an argument or option; `otherwise` without one.
  std::string Get(std::string_view name, std::string_view otherwise = {}) const {
    const auto found = values.find(name);
    return std::string(found == values.end() || found->second.empty() ? otherwise : found->second.front());
  }
  std::vector<std::string> GetAll(std::string_view name) const {
    const auto found = values.find(name);
    return found == values.end() ? std::vector<std::string>() : found->second;
  }
  /// The language of --language; the product's when there is none.
  unsigned short GetLanguage() const;
  /// Fine, or findings when the report has problems.
  exit_t GetExit() const { return report.GetProblems().empty() ? EXIT_FINE : EXIT_FINDINGS; }
};

struct command_t {
  const char* group;
  const char* name;
  const char* help;     ///< one line
  const char* example;  ///< what a user types
  const char* text;     ///< the rest of the help
  std::vector<argument_t> arguments;
  std::vector<option_t> options;  ///< beside the common ones
  exit_t (*run)(CCall& call);
};

struct group_t {
  const char* name;
  const char* help;
};

const std::vector<group_t>& GetGroups();
const std::vector<command_t>& GetCommands();
/// Those that every command has.
const std::vector<option_t>& GetCommonOptions();
/// Those of the program itself, beside --help.
const std::vector<option_t>& GetProgramOptions();
const char* GetIntroduction();
const char* GetExitCodes();

}  // namespace utilctl
