// The program utilctl as its users run it: sources, definition files, messages, exit codes.
#include <regex>

#include "platform/framework/rows_testing.h"
#include "tests/program_testing.h"

namespace {

namespace fs = std::filesystem;

class Utilctl : public ProgramTest {
 protected:
  Utilctl() : ProgramTest("ZORUTIL_LANG_DIR='" ZORUTIL_SOURCE_DIR "/util/i18n/lang' '" UTILCTL_PROGRAM "'") {}

  int Run(const std::string& arguments, const std::string& after = "> out") {
    return ProgramTest::Run(arguments, "", after);
  }
  int RunExamples(const std::string& arguments) { return Run(arguments + " --definitions '" EXAMPLE_DEFINITIONS "'"); }
  static bool Holds(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }
};

TEST_F(Utilctl, CompilesWhatValidationThenSpeaksOfInTheUsersLanguage) {
  Write("motors.json", R"json({"namespace": "Motors", "number": 4, "properties": [
    {"name": "Speed", "number": 256, "type": "Integer", "default": 50, "min": 1, "max": 3000, "required": true,
     "text": {"en": "Speed (rpm)", "de": "Drehzahl (1/min)"}},
    {"name": "Start", "number": 512, "type": "TimeOfDay", "default": "06:30:00"},
    {"name": "Ramp", "number": 768, "type": "Real8", "allow": [{"property": "Speed", "isNot": 0}]}]})json");
  EXPECT_EQ(Run("defs compile motors.json --out defs"), 0) << messages_;
  EXPECT_EQ(out_, "defs/motors.prop: namespace 4 Motors, 3 properties, de, en\n");
  EXPECT_EQ(Run("defs check defs"), 0) << messages_;
  EXPECT_EQ(Run("defs show motors.speed --definitions defs --language de"), 0);
  EXPECT_TRUE(out_.starts_with("Motors.Speed\n  id          8388864\n  label       Drehzahl (1/min)\n")) << out_;

  Write("good.json", R"({"Speed": 3000, "Motors.Start": "23:59:59", "8389376": 1})");
  Write("bad.json", "{\"Motors\": {\n  \"Start\": \"26:00:00\",\n  \"Speed\": 3001, \"Rmp\": 1}}");
  EXPECT_EQ(Run("defs validate good.json --definitions defs --complete"), 0) << messages_;
  EXPECT_EQ(Run("defs validate bad.json --definitions defs --language de"), 1);
  EXPECT_EQ(messages_,
            "bad.json:2:12: /Motors/Start: Der Wert hat nicht den Typ der Eigenschaft.\n"
            "bad.json:3:12: /Motors/Speed: Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 1 bis 3000 "
            "ein.\n"
            "bad.json:3:18: /Motors/Rmp: unknown property \"Motors.Rmp\"\n");
  Write("part.json", R"({"Ramp": 1})");
  EXPECT_EQ(Run("defs validate part.json --definitions defs --complete"), 1);
  EXPECT_TRUE(Holds(messages_, "\"Motors.Speed\" is missing")) << messages_;
  Write("empty.json", "{}");
  for (const char* narrow : {"", " --namespace motors"}) {
    EXPECT_EQ(Run("defs validate - --definitions defs --complete" + std::string(narrow) + " < empty.json"), 1);
    EXPECT_EQ(messages_, "-:1:1: the required property \"Motors.Speed\" is missing\n");
  }
  fs::remove(folder_ / "defs/namespace.idx");
  EXPECT_EQ(Run("defs validate good.json --definitions defs"), 1) << "nothing would be checked";
}

TEST_F(Utilctl, ReplacesTheLanguageFilesThatItMadeAndNoOthers) {
  const std::string begin =
      R"({"namespace": "A", "number": 5, "properties": [{"name": "a", "number": 1, "type": "Date")";
  const std::string withTexts = begin + R"(, "text": {"en": "day", "de": "Tag"}}]})";
  Write("a.json", withTexts);
  EXPECT_EQ(Run("defs compile a.json --out defs"), 0) << messages_;
  EXPECT_TRUE(Holds(FileText(folder_ / "defs/a.de.lang"), "\n1=Tag"));
  Write("a.json", begin + "}]}");
  EXPECT_EQ(Run("defs compile a.json --out defs"), 0) << messages_;
  EXPECT_FALSE(fs::exists(folder_ / "defs/a.de.lang")) << "its numbers may mean other texts now";
  Write("defs/a.de.lang", "[Texts]\n1 = Datum\n");
  EXPECT_EQ(Run("defs compile a.json --out defs"), 0) << messages_;
  Write("a.json", withTexts);
  EXPECT_EQ(Run("defs compile a.json --out defs"), 1);
  EXPECT_EQ(FileText(folder_ / "defs/a.de.lang"), "[Texts]\n1 = Datum\n");
}

TEST_F(Utilctl, OfTwoSourcesOfOneNamespaceCompiledAtOnceOneIsRefused) {
  Write("a.json", R"({"namespace": "A", "number": 5, "properties": []})");
  Write("b.json", R"({"namespace": "B", "number": 5, "properties": []})");
  for (int i = 0; i < 5; ++i) {
    const std::string other = "> a & '" UTILCTL_PROGRAM "' defs compile b.json --out both > b; b=$?; wait $!";
    EXPECT_EQ(ProgramTest::Run("defs compile a.json --out both", "{", other + "; test $(($? + b)) = 1; }"), 0);
    fs::remove_all(folder_ / "both");
  }
}

TEST_F(Utilctl, TellsEveryFaultOfAllSourcesAndWritesNothing) {
  Write("a.json", R"({"namespace": "A", "number": 5, "colour": 1, "properties": [
    {"name": "One", "number": 1, "type": "Intger"},
    {"name": "Two", "number": 1, "type": "Integer", "default": 11, "max": 10},
    {"name": "two", "number": 2, "type": "Integer", "default": "7"},
    {"name": "Loop1", "number": 256, "type": "YesNo", "allow": [{"property": "Loop2", "is": true}]},
    {"name": "Loop2", "number": 512, "type": "YesNo", "allow": [{"property": "Loop1", "is": true}]},
    {"name": "Lost", "number": 768, "type": "YesNo", "allow": [{"property": "Nobody", "is": true}]},
    {"name": "Low", "number": 257, "type": "YesNo", "enable": [{"property": "Loop1", "is": 1}]},
    {"name": "Pick", "number": 3, "type": "Enumeration", "default": 2, "min": 5, "values": [{"value": 1, "text": {"de": "eins"}}, {"value": 1}]}
  ]})");
  Write("b.json", R"({"namespace": "B", "number": 5, "properties": []})");
  Write("c.json", "{\"namespace\": \"C\",\n  \"number\": 6 \"properties\": []}");
  Write("d.json", R"({"namespace": "D\nE", "number": 7, "properties": [
    {"name": "x\u0000y", "number": 1, "type": "Integer", "text": {"en": "x", "de": "\ud83d\ude00\ude00"}},
    {"name": "z", "number": 2, "type": "Integer", "text": "one\u007Ftwo"},
    {"name": "w", "number": 3, "type": "Integer", "text": {"en": "5%% of %d", "de": "5 % von %d"}}]})");
  EXPECT_EQ(Run("defs compile a.json b.json c.json d.json --out defs"), 1);
  EXPECT_EQ(messages_, R"(a.json:1:33: /colour: unknown member "colour"
a.json:2:42: /properties/0/type: unknown type "Intger"
a.json:3:31: /properties/1/number: the number is that of "One" already
a.json:3:64: /properties/1/default: the default: The value is out of range. Enter a value from 0 to 10.
a.json:4:14: /properties/2/name: the name "two" is given twice
a.json:4:64: /properties/2/default: expected a whole number that is not negative
a.json:5:64: /properties/3/allow: its conditions lead back to themselves: Loop1 -> Loop2 -> Loop1
a.json:7:77: /properties/5/allow/0/property: unknown property "Nobody"
a.json:8:63: /properties/6/enable: a condition on "Loop1" would watch "Low", because the low byte of this property's number is added; give this property a multiple of 256
a.json:8:92: /properties/6/enable/0/is: expected true or false
a.json:9:69: /properties/7/default: the default: The value is not one of the values that the property can take.
a.json:9:79: /properties/7/min: a property of this type has no limits
a.json:9:92: /properties/7/values: the value 1 is given twice
a.json:9:114: /properties/7/values/0/text: "en" is missing
b.json:1:30: /number: the number is taken by a.json
c.json:2:15: a comma or } is missing
d.json:1:15: /namespace: a line break cannot stand here
d.json:2:14: /properties/0/name: a control character cannot stand here
d.json:2:84: /properties/0/text/de: half of a surrogate pair cannot stand here
d.json:3:59: /properties/1/text: a control character cannot stand here
d.json:4:66: /properties/2/text/en: "%" begins a conversion, and there are no arguments; write "%%"
d.json:4:85: /properties/2/text/de: "%" begins a conversion, and there are no arguments; write "%%"
)");
  EXPECT_FALSE(fs::exists(folder_ / "defs"));
}

TEST_F(Utilctl, DecompilesIntoASourceOfTheSameFile) {
  // Values that JSON has no form for, numbers that nothing looks at, a type without name, texts in need of quotes.
  Write("odd.json", R"({"namespace": "Odd ones", "number": 1023, "properties": [
    {"name": "a", "number": 0, "type": 16, "default": {"type": "I2", "value": "7"}, "number2": -5, "flag2": true},
    {"name": "b", "number": 2097151, "type": "Blob", "default": "AAEC/w==", "textNumber": 9, "exempt": true},
    {"name": "c", "number": 3, "type": "StringArray", "default": ["x", "ü\n"], "max": 4, "serverOnly": true},
    {"name": "d", "number": 4, "type": "Real4", "default": 0.1, "min": -1e30, "number3": 1, "number4": 2147483647},
    {"name": "e", "number": 5, "type": "Hex", "default": "0xFF", "enable": [{"id": 0, "isNot": {"type": "CY", "value": "1.5"}}]},
    {"name": "f", "number": 6, "type": "DateAndTime", "min": "2026-01-31 06:30:00", "text": " a % b\t\r\nc"},
    {"name": "g", "number": 512, "type": "Date", "default": "1899-12-29", "allow": [{"property": "h", "is": -1}]},
    {"name": "h", "number": 8, "type": "Enumeration", "values": [{"value": -1, "text": "minus one"}]},
    {"name": "i", "number": 9, "type": "Real4", "exempt": true, "default": {"binary": "BAAAAMB/"}}]})");
  EXPECT_EQ(Run("defs compile odd.json --out one"), 0) << messages_;
  EXPECT_EQ(Run("defs decompile one/odd.prop --out odd.json"), 0) << messages_;
  EXPECT_EQ(Run("defs compile odd.json --out two && diff -r one two"), 0) << out_;
  EXPECT_TRUE(Holds(FileText(folder_ / "odd.json"), "\"min\": \"2026-01-31 06:30:00\"")) << "a form for people";
  EXPECT_EQ(FileText(folder_ / "one/odd.prop").substr(0, 9), std::string("#wU\x99\0\1\0\xFF\3", 9));
}

TEST_F(Utilctl, ChecksFormatsAndPatchesJson) {
  Write("two.json", "{\"a\": 1}\n{\"b\": [1.50, 18446744073709551615]}");
  Write("bad.json", "{\"a\": 1}\n{\"b\": }");
  Write("patch.json", R"([{"op": "test", "path": "/a", "value": 1}, {"op": "add", "path": "/c", "value": null}])");
  Write("one.json", "{\"a\": 1}");
  EXPECT_EQ(Run("json check two.json one.json"), 0) << messages_;
  EXPECT_EQ(Run("json check bad.json two.json"), 1);
  EXPECT_TRUE(messages_.starts_with("bad.json:2:7: ")) << messages_;
  EXPECT_EQ(Run("json format - --array --indent 0 < two.json"), 0);
  EXPECT_EQ(out_, "[{\"a\":1},{\"b\":[1.5,18446744073709551615]}]\n");
  EXPECT_EQ(Run("json patch one.json patch.json --in-place --indent 0"), 0) << messages_;
  EXPECT_EQ(FileText(folder_ / "one.json"), "{\"a\":1,\"c\":null}\n");
  EXPECT_EQ(Run("json patch bad.json patch.json"), 1);
  EXPECT_EQ(Run("json patch two.json patch.json"), 1);
  EXPECT_TRUE(messages_.starts_with("two.json: ")) << messages_;
  Write("one.json", "{\"a\": 2}");
  EXPECT_EQ(Run("json patch one.json patch.json"), 1);
  EXPECT_TRUE(messages_.starts_with("patch.json: operation 1, /a: ")) << messages_;
  EXPECT_EQ(Run("json format one.json --indent many"), 2);
}

TEST_F(Utilctl, ConvertsAndFormatsValues) {
  const struct {
    const char* arguments;
    int code;
    const char* out;
  } rows[] = {{"value convert --from Double --to Short 2.5", 0, "2\n"},
              {"value convert --to VT_UI1 -- -5", 1, ""},
              {"value convert --from \"Float Array\" --to \"Long Array\" '[1, 2.5]'", 0, "1\t2\n"},
              {"value convert --from \"Long Array\" --to \"Short Array\" '{}'", 1, ""},
              {"value convert --to \"Float Array\" '[1,2.5]'", 0, "1\t2.5\n"},
              {"value convert --to \"Byte Array\" --check-sign '[-1]'", 1, ""},
              {"value convert --to Shrt 5", 2, ""},
              {"value format --template '%2$d' 5", 2, ""},
              {"value format --type Double --full 0.1", 0, "0.100000000000000006\n"},
              {"value format --type Long --template '%08.3f|' 5", 0, "0005.000|\n"}};
  for (const auto& row : rows) {
    EXPECT_EQ(Run(row.arguments), row.code) << row.arguments << messages_;
    EXPECT_EQ(out_, row.out) << row.arguments;
    EXPECT_EQ(messages_.empty(), row.code == 0) << row.arguments;
  }
  EXPECT_EQ(Run("value convert --json --from Double --to Short 40000"), 1);
  EXPECT_TRUE(Holds(out_, "\"cause\": \"R8 to I2: the value does not fit into the type\"")) << out_;
  EXPECT_EQ(messages_, "");
}

TEST_F(Utilctl, ChecksAddresses) {
  for (const auto& c : rows_testing::Rows(R"(
      '10.0. 0.05:502'|0|kind IPv4 address address 10.0.0.5 port 502 loopback no valid yes ;
      10.1 --resolve|0|kind host name host 10.1 resolved 10.0.0.1 address 10.0.0.1 loopback no valid yes ;
      plc-4:80|0|kind host name host plc-4 port 80 valid yes ; a:65536|1|valid no "a:65536": the port is above 65535 ;
      "`printf 'a\nb'`"|1|kind host name host a?b valid no "a?b" has not the form of a host name ;
      'plc 4'|1|kind host name host plc 4 valid no "plc 4" has not the form of a host name ;
      0.0.0.0|1|kind IPv4 address address 0.0.0.0 loopback no valid no 0.0.0.0 is the address of no single host )")) {
    EXPECT_EQ(std::to_string(Run("address check " + c[0])), c[1]);
    EXPECT_EQ(std::regex_replace(out_ + messages_, std::regex("\\s+"), " "), c[2]);
    Run("address check --json " + c[0]);
    EXPECT_TRUE(Holds(out_, c[1] == "0" ? "\"valid\": true" : "\"cause\": ")) << out_;
  }
}

TEST_F(Utilctl, ShowsAndLintsMessages) {
  EXPECT_EQ(Run("message show 508 --language de 0 100"), 0) << messages_;
  EXPECT_EQ(out_, "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 0 bis 100 ein.\n");
  EXPECT_EQ(Run("message show IDS_NO --language de-AT"), 0);
  EXPECT_EQ(out_, "Nein\n");
  EXPECT_EQ(Run("message show 1"), 1);
  EXPECT_EQ(Run("message show 508 0"), 2) << "too few arguments";
  EXPECT_EQ(Run("message show 508 --language klingon"), 2);
  Write("pump.en.lang", "[Language]\nName = English\nTag = en\n[Texts]\n1 = Pump %s\n2 = Off\n");
  Write("pump.de.lang", "[Language]\nName = Deutsch\nTag = de\n[Texts]\n1 = Pumpe %d\nrubbish\n");
  EXPECT_EQ(Run("message lint pump.en.lang"), 0) << messages_;
  EXPECT_EQ(Run("message lint pump.de.lang"), 1);
  EXPECT_TRUE(Holds(messages_, "pump.de.lang:5: ") && Holds(messages_, "pump.de.lang:6: ")) << messages_;
  EXPECT_EQ(Run("message show 1 7 --module pump --folder ."), 0) << messages_;
  EXPECT_EQ(out_, "Pump 7\n");
  EXPECT_EQ(Run("message lint none.de.lang"), 3);
}

TEST_F(Utilctl, ExitsByWhatItFoundAndDescribesItself) {
  EXPECT_EQ(Run("defs check none"), 3);
  EXPECT_EQ(messages_, "utilctl: none: there is no such folder\n");
  EXPECT_EQ(Run("defs compile none.json --out defs"), 3);
  EXPECT_EQ(Run("defs compile --out defs"), 2);
  EXPECT_EQ(Run("frobnicate"), 2);
  EXPECT_EQ(Run("json bogus"), 2);
  EXPECT_EQ(messages_, "utilctl json: unknown command \"bogus\"; there are check format patch\n");
  EXPECT_EQ(Run("json"), 2);
  EXPECT_TRUE(Holds(messages_, "Carry a JSON patch")) << messages_;
  for (const char* output : {"message show 508", "--help", "json --help", "--version", "--generate zsh"}) {
    EXPECT_EQ(Run(output, "> /dev/full"), 3) << output;
    EXPECT_EQ(Run(output, ">&-"), 3) << output;
  }
  Write("long.json", "\"" + std::string(9000, 'x') + '"');
  EXPECT_EQ(ProgramTest::Run("json format long.json --in-place", "ulimit -f 1;"), 3);
  EXPECT_TRUE(Holds(messages_, "long.json: ")) << messages_;
  EXPECT_EQ(Run("json check -", "< /"), 3);
  EXPECT_EQ(messages_, "utilctl: standard input: read: Is a directory\n");
  EXPECT_EQ(Run("json check \"$(printf 'a\\033[1m\\nb\\302\\233')\""), 3);
  EXPECT_EQ(messages_, "utilctl: a?[1m?b??: open: No such file or directory\n");
  EXPECT_EQ(Run("--version"), 0);
  EXPECT_TRUE(out_.starts_with("utilctl ")) << out_;
  EXPECT_EQ(Run("defs validate --help"), 0);
  EXPECT_TRUE(out_.starts_with("Example: utilctl defs validate ")) << out_;
  EXPECT_EQ(Run("--generate man"), 0);
  EXPECT_TRUE(Holds(out_, ".B utilctl json patch project.json")) << out_;
  // A folder is offered where one is wanted, and a file where a file is: both options are called --out.
  fs::create_directory(folder_ / "folder");
  Write("form", "");
  EXPECT_EQ(Run("--generate bash | bash -c '. /dev/stdin; t() { COMP_WORDS=(utilctl \"$@\"); COMP_CWORD=$#; _utilctl; "
                "echo ${COMPREPLY[@]}; }; t defs v; t defs list --pr; t value convert --to Floa; t --generate z; "
                "t defs compile --out fo; t defs decompile --out for'"),
            0);
  EXPECT_EQ(out_, "validate\n--properties\nFloat\nzsh\nfolder\nform\n") << messages_;
}

TEST_F(Utilctl, FindsWhatIsWrongInAFolder) {
  fs::copy(EXAMPLE_DEFINITIONS, folder_ / "defs");
  EXPECT_EQ(Run("defs check defs"), 0) << messages_;
  fs::copy(folder_ / "defs/tag.prop", folder_ / "defs/twin.prop");
  fs::remove(folder_ / "defs/channel.prop");  // whose medium the devices watch
  Write("defs/cut.prop", FileText(folder_ / "defs/device.prop").substr(0, 8));
  Write("new.json", R"({"namespace": "New", "number": 8, "properties": []})");
  EXPECT_EQ(Run("defs compile new.json --out defs"), 1) << "no index can be made beside a cut file";
  EXPECT_FALSE(fs::exists(folder_ / "defs/new.prop"));
  fs::create_directories(folder_ / "fresh/namespace.idx");  // where the index is to be
  EXPECT_EQ(Run("defs compile new.json --out fresh"), 3);
  EXPECT_EQ(out_, "") << "no success is told";
  EXPECT_EQ(Run("defs check defs"), 1);
  for (const char* part : {"twin.prop: namespace number 6 is that of defs/tag.prop too", "cut.prop: end of data",
                           "namespace 3 is to be in \"channel.prop\"", "ConnectTimeout", "watches the unknown id"}) {
    EXPECT_TRUE(Holds(messages_, part)) << part << "\n" << messages_;
  }
}

TEST_F(Utilctl, KnowsTheExamplesDefinitions) {
  EXPECT_EQ(Run("defs list '" EXAMPLE_DEFINITIONS "' --json"), 0);
  EXPECT_TRUE(Holds(out_, "\"namespace\": \"Channels\"")) << out_;
  EXPECT_EQ(RunExamples("defs show Devices.ConnectTimeout"), 0);
  EXPECT_TRUE(Holds(out_, "allow       Channels.Medium == 0\n")) << out_;
  fs::copy(EXAMPLE_DEFINITIONS, folder_ / "defs");
  EXPECT_EQ(Run("defs decompile defs/device.prop --out device.json"), 0) << messages_;
  EXPECT_EQ(Run("defs compile device.json --out defs && diff -r defs '" EXAMPLE_DEFINITIONS "'"), 0) << out_;
  // A serial channel has no network port, so nobody looks at it.
  Write("plant.json", R"({"Channels": {"Medium": 1, "Port": 0},
    "Devices": {"UserName": "op", "Password": "short", "Retries": 3, "ClockSyncAt": "03:00:00"}, "Tags": {"DeadbandType": 1, "Deadband": -1, "DataType": 9}})");
  EXPECT_EQ(RunExamples("defs validate plant.json --language de"), 1);
  EXPECT_EQ(messages_,
            "plant.json:2:47: /Devices/Password: Der Text ist zu kurz. Geben Sie mindestens 8 Zeichen ein.\n"
            "plant.json:2:138: /Tags/Deadband: Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 0 bis "
            "1000000000000 ein.\n");
}

}  // namespace
