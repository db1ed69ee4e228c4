#include "tools/utilctl/generate.h"

#include <string_view>

#include "tools/utilctl/command.h"
#include "tools/utilctl/vartype_names.h"
#include "util/i18n/language.h"

namespace utilctl {

namespace {

// The values that an option of this kind can have, as a list of words; empty where there is no list.
std::string WordsOf(const option_t& option) {
  std::string words;
  if (option.kind == value_kind_t::type) {
    for (const std::string& each : GetVartypeNames()) words += each + ' ';
  } else if (option.kind == value_kind_t::language) {
    for (const i18n::language_t& each : i18n::GetAvailableLanguages()) words += each.tag + ' ';
  } else if (std::string_view(option.name) == "--generate") {
    words = "bash zsh man ";
  }
  if (!words.empty()) words.pop_back();
  return words;
}

std::string Replaced(std::string text, std::string_view from, std::string_view to) {
  for (std::size_t at = 0; (at = text.find(from, at)) != std::string::npos; at += to.size()) {
    text.replace(at, from.size(), to);
  }
  return text;
}

template <class Call>
void ForEachOption(const command_t& command, Call call) {
  for (const option_t& option : command.options) call(option);
  for (const option_t& option : GetCommonOptions()) call(option);
}

bool IsOf(const command_t& command, const group_t& group) { return std::string_view(command.group) == group.name; }

// --- zsh -------------------------------------------------------------------------------------------------------------

// Inside single quotes.
std::string ZshQuoted(const std::string& text) { return Replaced(text, "'", "'\\''"); }

// In the brackets of an option, and before the colon of a description.
std::string ZshText(const std::string& text) {
  return ZshQuoted(Replaced(Replaced(Replaced(text, "[", "\\["), "]", "\\]"), ":", "\\:"));
}

std::string ZshAction(value_kind_t kind, const std::string& words) {
  if (!words.empty()) return "(" + words + ")";
  if (kind == value_kind_t::folder) return "_files -/";
  return kind == value_kind_t::file ? "_files" : " ";
}

std::string ZshOption(const option_t& option) {
  std::string text = " \\\n        '" + std::string(option.name) + "[" + ZshText(option.help) + "]";
  if (option.value != nullptr) {
    text += ":" + ZshText(option.value) + ":" + ZshQuoted(ZshAction(option.kind, WordsOf(option)));
  }
  return text + "'";
}

// --- the manual page -------------------------------------------------------------------------------------------------

std::string Roff(const std::string& text) {
  std::string escaped = Replaced(Replaced(text, "\\", "\\e"), "-", "\\-");
  escaped = Replaced(escaped, "'", "\\(aq");
  return escaped.starts_with('.') ? "\\&" + escaped : escaped;
}

std::string ManualOption(const option_t& option) {
  std::string text = ".TP\n.B " + Roff(option.name);
  if (option.value != nullptr) text += " \\fI" + Roff(option.value) + "\\fR";
  return text + '\n' + Roff(option.help) + ".\n";
}

std::string ManualCommand(const command_t& command) {
  std::string text = ".SS utilctl " + Roff(std::string(command.group) + " " + command.name) + "\n";
  text += Roff(std::string(command.help) + ". " + command.text) + "\n.PP\n.nf\n.B " + Roff(command.example) + "\n.fi\n";
  for (const argument_t& argument : command.arguments) {
    text += ".TP\n.I " + Roff(argument.name) + (argument.count == count_t::many ? " ..." : "") + "\n" +
            Roff(argument.help) + ".\n";
  }
  for (const option_t& option : command.options) text += ManualOption(option);
  return text;
}

}  // namespace

std::string MakeBashCompletion() {
  std::string groups;
  std::string commands;
  std::string options;
  std::string values;
  const auto addValues = [&](const std::string& pattern, const option_t& option) {
    if (option.value == nullptr) return;
    const std::string words = WordsOf(option);
    std::string reply = "-f -- \"$cur\"";
    if (option.kind == value_kind_t::folder) reply = "-d -- \"$cur\"";
    if (option.kind == value_kind_t::text) reply.clear();
    if (!words.empty()) reply = "-W \"" + words + "\" -- \"$cur\"";
    values += "    " + pattern + ") " + (reply.empty() ? "" : "COMPREPLY=($(compgen " + reply + ")); ") + "return ;;\n";
  };
  for (const group_t& group : GetGroups()) {
    groups += std::string(group.name) + ' ';
    std::string names;
    for (const command_t& command : GetCommands()) {
      if (!IsOf(command, group)) continue;
      names += std::string(command.name) + ' ';
      std::string all = "--help";
      ForEachOption(command, [&](const option_t& option) {
        all += std::string(" ") + option.name;
        addValues("\"" + std::string(group.name) + " " + command.name + " " + option.name + "\"", option);
      });
      options += "    \"" + std::string(group.name) + " " + command.name + "\") options=\"" + all + "\" ;;\n";
    }
    commands += "      " + std::string(group.name) + ") words=\"" + names + "--help\" ;;\n";
  }
  groups += "--help";
  for (const option_t& option : GetProgramOptions()) {
    groups += std::string(" ") + option.name;
    addValues(std::string(option.name) + "*", option);
  }
  return "# Completion of utilctl for bash; made by utilctl --generate bash.\n"
         "_utilctl() {\n"
         "  local cur=\"${COMP_WORDS[COMP_CWORD]}\" prev=\"${COMP_WORDS[COMP_CWORD-1]}\" words=\"\" options=\"\"\n"
         "  COMPREPLY=()\n"
         "  case \"${COMP_WORDS[1]} ${COMP_WORDS[2]} $prev\" in\n" +
         values +
         "  esac\n"
         "  if ((COMP_CWORD == 1)); then\n"
         "    COMPREPLY=($(compgen -W \"" +
         groups +
         "\" -- \"$cur\"))\n"
         "    return\n"
         "  fi\n"
         "  if ((COMP_CWORD == 2)); then\n"
         "    case \"${COMP_WORDS[1]}\" in\n" +
         commands +
         "    esac\n"
         "    COMPREPLY=($(compgen -W \"$words\" -- \"$cur\"))\n"
         "    return\n"
         "  fi\n"
         "  case \"${COMP_WORDS[1]} ${COMP_WORDS[2]}\" in\n" +
         options +
         "  esac\n"
         "  if [[ \"$cur\" == -* ]]; then\n"
         "    COMPREPLY=($(compgen -W \"$options\" -- \"$cur\"))\n"
         "  else\n"
         "    COMPREPLY=($(compgen -f -- \"$cur\"))\n"
         "  fi\n"
         "}\n"
         "complete -o filenames -F _utilctl utilctl\n";
}

std::string MakeZshCompletion() {
  std::string groups;
  std::string commands;
  std::string options;
  for (const group_t& group : GetGroups()) {
    groups += " \\\n      '" + std::string(group.name) + ":" + ZshText(group.help) + "'";
    std::string names;
    for (const command_t& command : GetCommands()) {
      if (!IsOf(command, group)) continue;
      names += " \\\n          '" + std::string(command.name) + ":" + ZshText(command.help) + "'";
      options +=
          "    '" + std::string(group.name) + " " + command.name + "')\n      _arguments '--help[Show the help]'";
      ForEachOption(command, [&](const option_t& option) { options += ZshOption(option); });
      for (const argument_t& argument : command.arguments) {
        options += std::string(" \\\n        '") + (argument.count == count_t::many ? "*" : "") + ":" +
                   ZshText(argument.name) + ":" + ZshAction(argument.kind, "") + "'";
      }
      options += " ;;\n";
    }
    commands += "      " + std::string(group.name) + ")\n        names=(" + names + ")\n        ;;\n";
  }
  std::string program = "      _arguments '--help[Show the help]'";
  for (const option_t& option : GetProgramOptions()) program += ZshOption(option);
  return "#compdef utilctl\n"
         "# Completion of utilctl for zsh; made by utilctl --generate zsh.\n"
         "_utilctl() {\n"
         "  local -a names\n"
         "  if [[ CURRENT -eq 2 && $words[2] == -* ]] || [[ $words[2] == --generate ]]; then\n" +
         program +
         "\n    return\n"
         "  fi\n"
         "  if (( CURRENT == 2 )); then\n"
         "    names=(" +
         groups +
         ")\n"
         "    _describe 'group' names\n"
         "    return\n"
         "  fi\n"
         "  if (( CURRENT == 3 )); then\n"
         "    case $words[2] in\n" +
         commands +
         "    esac\n"
         "    _describe 'command' names\n"
         "    return\n"
         "  fi\n"
         "  local called=\"$words[2] $words[3]\"\n"
         "  shift 2 words\n"
         "  (( CURRENT -= 2 ))\n"
         "  case $called in\n" +
         options +
         "  esac\n"
         "}\n"
         "_utilctl \"$@\"\n";
}

std::string MakeManualPage() {
  std::string text =
      ".TH UTILCTL 1 \"\" \"utilctl " UTILCTL_VERSION
      "\" \"User Commands\"\n.SH NAME\nutilctl \\- definitions of properties, projects, JSON, values and "
      "messages\n.SH SYNOPSIS\n";
  for (const group_t& group : GetGroups()) {
    text += ".B utilctl " + Roff(group.name) + "\n.I command\n[\\fIoption\\fR ...]\n.br\n";
  }
  text +=
      ".SH DESCRIPTION\nData goes to standard output, messages go to standard error, in colours only on a terminal "
      "and where NO_COLOR is not set.\n.SH OPTIONS\n.TP\n.B \\-\\-help\nShow the help, of a command too.\n";
  for (const option_t& option : GetCommonOptions()) text += ManualOption(option);
  for (const option_t& option : GetProgramOptions()) text += ManualOption(option);
  for (const group_t& group : GetGroups()) {
    text += ".SH " + Replaced(Roff(group.name), "\n", " ") + "\n" + Roff(group.help) + ".\n";
    for (const command_t& command : GetCommands()) {
      if (IsOf(command, group)) text += ManualCommand(command);
    }
  }
  return text + ".SH EXIT STATUS\n" + Roff(GetExitCodes()) +
         "\n.SH ENVIRONMENT\n.TP\n.B ZORUTIL_LANG_DIR\nFolders of language files, separated by colons.\n.TP\n"
         ".B ZORUTIL_APP_DIR\nThe application directory, whose folder Properties holds the program's definitions.\n"
         ".TP\n.B NO_COLOR\nNo colours.\n";
}

}  // namespace utilctl
