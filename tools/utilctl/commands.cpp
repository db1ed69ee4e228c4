#include "tools/utilctl/command_functions.h"
#include "util/i18n/language.h"

namespace utilctl {

namespace {

constexpr auto kFile = value_kind_t::file;
constexpr auto kFolder = value_kind_t::folder;
constexpr auto kText = value_kind_t::text;
constexpr auto kType = value_kind_t::type;
constexpr auto kNone = value_kind_t::none;

const option_t kLanguage{"--language", "TAG", value_kind_t::language, "The language of messages, such as de"};
const option_t kDefinitions{"--definitions", "DIR", kFolder,
                            "The folder of the definition files; the program's own by default"};
const option_t kIndent{"--indent", "N", kText, "Blanks for each level; 0 writes everything on one line"};
const option_t kInPlace{"--in-place", nullptr, kNone, "Replace the file instead of writing to standard output"};
const option_t kModuleFolder{"--folder", "DIR", kFolder, "Where the language files of the module lie"};
const option_t kSettings{"--file", "FILE", kFile, "The settings file of the level", true};
const option_t kLevel{"--level", "N", kText, "The level that the file is, 0 to 3; 0 by default"};
const argument_t kSection{"SECTION", kText, count_t::one, "The section; letter case does not count"};
const argument_t kSetting{"KEY", kText, count_t::one, "The name of the value; letter case does not count"};
const option_t kRegistryFile{"--file", "FILE", kFile, "The file of the registry; that of the machine by default"};
const argument_t kKey{"KEY", kText, count_t::one, "The key, from HKEY_LOCAL_MACHINE or HKEY_USERS on"};
const argument_t kValueName{"NAME", kText, count_t::optional, "The name of the value; without it the default value"};
const option_t kTypes{"--types", "FILE.so", kFile, "A plug-in with object types of the project; once for each",
                      true,      true};
const argument_t kProject{"PROJECT", kFile, count_t::one, "The project, in any form; - is standard input"};
const option_t kOut{"--out", "FILE", kFile, "Write there instead of to standard output; the file is replaced whole"};
const argument_t kDir{"DIR", kFolder, count_t::optional,
                      "The folder; that of the program's own definitions by default"};

}  // namespace

const std::vector<group_t>& GetGroups() {
  static const std::vector<group_t> groups{{"defs", "Definitions of properties: compile, look at and use them"},
                                           {"project", "Projects: check, look at, convert, compare and patch them"},
                                           {"json", "JSON text: check, format and patch it"},
                                           {"value", "Values: convert and format them"},
                                           {"message", "Messages and language files"},
                                           {"address", "IPv4 addresses: check and resolve them"},
                                           {"options", "Settings: read, change and explain them"},
                                           {"product", "The product: its name, folders and files"},
                                           {"registry", "The machine-wide registry: look at it, change it, keep it"}};
  return groups;
}

const std::vector<command_t>& GetCommands() {
  static const std::vector<command_t> commands{
      {"defs",
       "compile",
       "Make definition files and their index from JSON sources",
       "utilctl defs compile channel.json device.json --out build/Properties",
       "Reads all sources, and writes nothing unless all of them are right. Each source gives one definition file of "
       "its "
       "name, and a language file for each language of its texts. The index of the folder is made anew. Conditions may "
       "watch properties of the other sources, and of definition files that are in the folder already.",
       {{"SOURCE", kFile, count_t::many, "A definition source in JSON"}},
       {{"--out", "DIR", kFolder, "The folder for the definition files; it is made if it is missing", true}, kLanguage},
       CompileDefinitions},
      {"defs",
       "list",
       "List the namespaces of a folder, or all properties",
       "utilctl defs list build/Properties",
       "Number, name, count of properties and file of each namespace.",
       {kDir},
       {{"--properties", nullptr, kNone, "The properties of each namespace, too"}},
       ListDefinitions},
      {"defs",
       "show",
       "Show a property, or all of a namespace",
       "utilctl defs show Channels.Port --definitions build/Properties --language de",
       "By its id, its name, \"namespace.property\", or the name of the namespace. Letter case does not count.",
       {{"ID|NAME", kText, count_t::one, "The id or the name"}},
       {kDefinitions, kLanguage},
       ShowDefinition},
      {"defs",
       "check",
       "Check the definition files and the index of a folder",
       "utilctl defs check build/Properties",
       "Files that cannot be read, an index that does not fit them, namespaces, names and ids that are there twice, "
       "limits that exclude the default, conditions that watch unknown ids or lead back to themselves.",
       {kDir},
       {kLanguage},
       CheckDefinitionFolder},
      {"defs",
       "decompile",
       "Turn a definition file back into a JSON source",
       "utilctl defs decompile build/Properties/channel.prop --out channel.json",
       "With the texts of the language files beside it. Compiling the source gives the same file.",
       {{"FILE.prop", kFile, count_t::one, "The definition file"}},
       {{"--out", "FILE", kFile, "Write there instead of to standard output"}},
       DecompileDefinitions},
      {"defs",
       "validate",
       "Check settings against definitions",
       "utilctl defs validate settings.json --definitions build/Properties --language de",
       "The settings are a JSON object: names and values, {\"Channels.Port\": 4000}, or one object for each namespace, "
       "{\"Channels\": {\"Port\": 4000}}. Every failure is told. A property that its conditions do not allow is not "
       "checked.",
       {{"FILE.json", kFile, count_t::one, "The settings; - is standard input"}},
       {kDefinitions,
        {"--namespace", "NAME", kText, "The namespace of names without one"},
        {"--complete", nullptr, kNone, "Required properties must be there: of all namespaces, or of --namespace"},
        kLanguage},
       ValidateSettings},
      {"project",
       "check",
       "Tell everything that is wrong with projects",
       "utilctl project check plant.json --types types.so --definitions build/Properties --language de",
       "Reads each project in the form it has, binary, XML or JSON, and tells all errors with line and object, of a "
       "binary project the first. What could be read is then validated: by the definitions, and by the checks of the "
       "types themselves. Settings without definition are listed; nobody checks them.",
       {{"PROJECT", kFile, count_t::many, "The project, in any form; - is standard input"}},
       {kTypes, kDefinitions, kLanguage},
       CheckProject},
      {"project",
       "show",
       "Show a project as a tree of objects with their settings",
       "utilctl project show plant.bin Boiler.PLC1 --types types.so --depth 1",
       "In colours on a terminal, unless NO_COLOR is set. Passwords are not shown. With --definitions the values of "
       "enumerations have their texts. With --json the objects are in the JSON form of projects.",
       {kProject, {"OBJECT", kText, count_t::optional, "The path of the object to show; the whole project by default"}},
       {kTypes,
        {"--depth", "N", kText, "Levels of objects below the first that are shown; of the rest the count"},
        {"--brief", nullptr, kNone, "Names and types alone"},
        {"--definitions", "DIR", kFolder, "The folder of the definition files"},
        kLanguage},
       ShowProject},
      {"project",
       "convert",
       "Write a project in another form",
       "utilctl project convert plant.xml --to json --out plant.json --types types.so",
       "Nothing is lost on the way: converting back gives an equal project. A project with errors is not converted.",
       {kProject},
       {kTypes, {"--to", "FORM", kText, "xml, json or bin", true}, kOut, kLanguage},
       ConvertProject},
      {"project",
       "diff",
       "Tell what is different in two projects",
       "utilctl project diff plant.json build/plant.bin --types types.so",
       "Objects that were added (+), removed (-) or moved (>), and those with other settings (~), by path. The forms "
       "may differ. Exits with 0 for equal projects, with 1 for different ones, and with 3 when one has errors.",
       {{"OLD", kFile, count_t::one, "The project to start from; - is standard input"},
        {"NEW", kFile, count_t::one, "The project to compare with it"}},
       {kTypes, {"--patch", nullptr, kNone, "As the JSON patch that makes NEW of OLD, for project patch"}, kLanguage},
       DiffProjects},
      {"project",
       "patch",
       "Carry a JSON patch (RFC 6902) out on a project",
       "utilctl project patch plant.bin changes.json --types types.so --out plant.bin",
       "Paths are those of the JSON form below the project itself, such as /Channels/Boiler/Devices/PLC1/ScanRate, "
       "whatever form the project has. All operations are carried out, or none. Objects that change are validated as "
       "project check does.",
       {kProject, {"PATCH", kFile, count_t::one, "The array of operations"}},
       {kTypes,
        kDefinitions,
        kOut,
        {"--to", "FORM", kText, "xml, json or bin; the project's own form by default"},
        kLanguage},
       PatchProject},
      {"project",
       "find",
       "Find objects by name or path",
       "utilctl project find plant.json 'Boiler.*.FT10?' --types types.so --type Tag",
       "A pattern with a point is one of paths, with or without the name of the project, else one of names: \"*\" "
       "stands for any characters, \"?\" for one. Letter case does not count. Exits with 1 when nothing is found.",
       {kProject, {"NAME|PATH", kText, count_t::one, "The pattern"}},
       {kTypes, {"--type", "NAME", kText, "Only objects of this type"}, kLanguage},
       FindInProject},
      {"json",
       "check",
       "Tell whether files are JSON",
       "utilctl json check project.json",
       "A file is one value, or several objects one behind another.",
       {{"FILE", kFile, count_t::many, "The file; - is standard input"}},
       {},
       CheckJson},
      {"json",
       "format",
       "Write JSON anew",
       "utilctl json format project.json --indent 4",
       "Members keep their order. Numbers are read as 64-bit integers or as doubles and written anew: 1.50 becomes 1.5,"
       " and a number of more digits than these hold changes.",
       {{"FILE", kFile, count_t::one, "The file; - is standard input"}},
       {kIndent, {"--array", nullptr, kNone, "Several objects become one array of them"}, kInPlace},
       FormatJson},
      {"json",
       "patch",
       "Carry a JSON patch (RFC 6902) out",
       "utilctl json patch project.json changes.json --in-place",
       "All operations are carried out, or none.",
       {{"FILE", kFile, count_t::one, "The file; - is standard input"},
        {"PATCH", kFile, count_t::one, "The array of operations"}},
       {kIndent, kInPlace},
       PatchJson},
      {"value",
       "convert",
       "Convert a value from one type to another",
       "utilctl value convert --from Double --to Short 1234.5",
       "Types are those of tags, such as Short and \"Float Array\", or I2 and \"R4 Array\". The text of an array is a "
       "JSON array. A text that begins with - stands behind --: utilctl value convert --to Long -- -5",
       {{"TEXT", kText, count_t::one, "The value"}},
       {{"--from", "TYPE", kType, "The type of the value; text by default"},
        {"--to", "TYPE", kType, "The type it is to become", true},
        {"--check-sign", nullptr, kNone, "Refuse a value that would change its sign"}},
       ConvertValue},
      {"value",
       "format",
       "Show the text of a value",
       "utilctl value format --type Double --full 0.1",
       "As tags, logs and messages show it.",
       {{"TEXT", kText, count_t::one, "The value"}},
       {{"--type", "TYPE", kType, "The type of the value; text by default"},
        {"--full", nullptr, kNone, "As many digits as the value has"},
        {"--template", "TEXT", kText, "Fill it into a template of messages, such as %08.3f"}},
       FormatValue},
      {"message",
       "show",
       "Show a message",
       "utilctl message show 508 --language de 0 100",
       "With arguments filled in, or as the template that it is. A message of the library has a name, too: "
       "IDS_VALUE_OUT_OF_RANGE.",
       {{"ID", kText, count_t::one, "Its number or name"},
        {"ARGUMENT", kText, count_t::many, "What fills the template"}},
       {kLanguage, {"--module", "NAME", kText, "The module; the library itself by default"}, kModuleFolder},
       ShowMessage},
      {"message",
       "lint",
       "Check language files",
       "utilctl message lint lang/channel.de.lang",
       "Lines without meaning, numbers that English does not have, texts that ask for other arguments than the English "
       "one, and what is missing. The English file of the module lies in the same folder. For a module: all languages.",
       {{"FILE.lang|MODULE", kFile, count_t::one, "A language file, or the name of a module"}},
       {kModuleFolder},
       LintMessages},
      {"address",
       "check",
       "Tell what a text is as an address",
       "utilctl address check 10.0.0.5:502",
       "A dotted IPv4 address or a host name, with a port or without. The network is asked with --resolve only; "
       "without "
       "it, a host name is checked by its form.",
       {{"TEXT", kText, count_t::one, "The address"}},
       {{"--resolve", nullptr, kNone, "Ask the system for the addresses of a host name"}},
       CheckAddress},
      {"options",
       "get",
       "Show the value of a setting",
       "utilctl options get Scan RateMs --file runtime.ini",
       "What a program reads. Without --default, a value that is not there is a finding.",
       {kSection, kSetting},
       {kSettings, kLevel, {"--default", "TEXT", kText, "What a program would take for a missing value"}},
       GetOption},
      {"options",
       "set",
       "Change a setting",
       "utilctl options set Scan RateMs 250 --file runtime.ini",
       "Makes the file if it is missing. One line changes, the others stay, comments too. A program that reads sees "
       "the old file or the new one. Calls that run at the same time wait for each other; a program that saves its "
       "settings does not.",
       {kSection, kSetting, {"VALUE", kText, count_t::one, "The new value; one that begins with - stands behind --"}},
       {kSettings, kLevel},
       SetOption},
      {"options",
       "unset",
       "Remove a setting, or a whole section",
       "utilctl options unset Scan RateMs --file runtime.ini",
       "A program then takes its own default.",
       {kSection, {"KEY", kText, count_t::optional, "The name of the value; the whole section by default"}},
       {kSettings, kLevel},
       UnsetOption},
      {"options",
       "list",
       "List settings",
       "utilctl options list --file runtime.ini",
       "All, or those of a section. Lines without meaning are findings.",
       {{"SECTION", kText, count_t::optional, "The section; all by default"}},
       {kSettings, kLevel},
       ListOptions},
      {"options",
       "explain",
       "Tell where the value of a setting comes from",
       "utilctl options explain Scan RateMs --level 1 --file runtime.ini --level 0 --file settings.ini",
       "File and line, and how a program takes the value. Of several levels the first is the one that is asked. What "
       "stands in the others is shown, and has no effect on it.",
       {kSection, kSetting},
       {{"--file", "FILE", kFile, "The settings file of a level", true, true},
        {"--level", "N", kText, "The level that the file is, 0 to 3; 0 by default", false, true}},
       ExplainOption},
      {"product",
       "show",
       "Show the product's name, folders and files",
       "utilctl product show --app-dir /opt/plant/bin",
       "In the system's own form, each with where it comes from. Nothing is made.",
       {},
       {{"--app-dir", "DIR", kFolder, "The folder of the product's programs; that of this one by default"}},
       ShowProduct},
      {"registry",
       "get",
       "Show the data of a value",
       "utilctl registry get 'HKEY_LOCAL_MACHINE\\Software\\Acme\\Gateway' Port",
       "A number in decimal digits, a text as it is, a list with a line for each text, bytes in hexadecimal digits. "
       "Data "
       "that is not what its type says is a finding.",
       {kKey, kValueName},
       {kRegistryFile},
       GetRegistryValue},
      {"registry",
       "set",
       "Make or replace a value, and the key if it is missing",
       "utilctl registry set 'HKEY_LOCAL_MACHINE\\Software\\Acme\\Gateway' Port 49320 --type REG_DWORD",
       "Bytes are given in hexadecimal digits; a list takes any number of texts, the other types one. A text that "
       "begins "
       "with - stands behind --.",
       {kKey,
        {"NAME", kText, count_t::one, "The name of the value; '' is the default value of the key"},
        {"DATA", kText, count_t::many, "The number, text or bytes"}},
       {{"--type", "TYPE", kText, "REG_SZ, which is the default, REG_EXPAND_SZ, REG_DWORD, REG_BINARY or REG_MULTI_SZ"},
        kRegistryFile},
       SetRegistryValue},
      {"registry",
       "delete",
       "Delete a value, or a key",
       "utilctl registry delete 'HKEY_LOCAL_MACHINE\\Software\\Acme' --tree",
       "A key that has subkeys is deleted with --tree only.",
       {kKey, {"NAME", kText, count_t::optional, "The name of the value; without it the key is deleted"}},
       {{"--tree", nullptr, kNone, "The key with everything beneath it"}, kRegistryFile},
       DeleteFromRegistry},
      {"registry",
       "list",
       "List the subkeys and values of a key",
       "utilctl registry list 'HKEY_LOCAL_MACHINE\\Software\\Acme'",
       "Subkeys end in \\; values stand as in an export.",
       {kKey},
       {kRegistryFile},
       ListRegistryKey},
      {"registry",
       "export",
       "Write a key and everything beneath it as text",
       "utilctl registry export 'HKEY_LOCAL_MACHINE\\Software\\Acme' --out acme.txt",
       "UTF-8 that can be edited, and that import reads back without a loss. It is the state of one moment.",
       {kKey},
       {{"--out", "FILE", kFile, "Write there instead of to standard output; the file is replaced whole"},
        kRegistryFile},
       ExportRegistry},
      {"registry",
       "import",
       "Read keys and values from a text",
       "utilctl registry import acme.txt",
       "All of it is written, or nothing. What is there besides stays. Every wrong line is told.",
       {{"FILE", kFile, count_t::one, "The text that export wrote; - is standard input"}},
       {{"--check", nullptr, kNone, "Tell what is wrong, and write nothing"}, kRegistryFile},
       ImportRegistry}};
  return commands;
}

const std::vector<option_t>& GetCommonOptions() {
  static const std::vector<option_t> options{
      {"--json", nullptr, kNone, "For programs: results and problems as one JSON object on standard output"}};
  return options;
}

const std::vector<option_t>& GetProgramOptions() {
  static const std::vector<option_t> options{
      {"--version", nullptr, kNone, "Show the version"},
      {"--generate", "WHAT", kText, "Write the completion for bash or zsh, or the manual page: bash, zsh, man"}};
  return options;
}

const char* GetIntroduction() {
  return "Example: utilctl defs compile channel.json --out build/Properties\n\n"
         "Makes and checks what programs of the family read: definitions of properties, projects, JSON, values, "
         "messages, settings, addresses, the registry.";
}

const char* GetExitCodes() {
  return "Exit codes: 0 fine; 1 something was found; 2 wrong usage; 3 input or output failed.";
}

unsigned short CCall::GetLanguage() const {
  return Has("--language") ? i18n::LanguageIdFromTag(Get("--language")) : i18n::GetProductLanguageId();
}

}  // namespace utilctl
