// utilctl options: the settings of a level in its file, as the programs of the family read and write them.
#include <algorithm>
#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "platform/framework/file.h"
#include "platform/framework/file_lock.h"
#include "platform/framework/string_array.h"
#include "platform/zorplatform/file_search.h"
#include "platform/zorplatform/ini_file.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/files.h"
#include "util/options/options.h"
#include "util/options/options_container.h"

namespace utilctl {

namespace json = zorutil::json;

namespace {

constexpr int kRemembered = 255;
// What a list shows to people, of a file that may be no settings file at all.
constexpr std::size_t kMostListed = 10'000;
constexpr std::size_t kMostOfText = 1'000;

// The settings of one section, with the functions that a program's own groups have.
class CSectionOptions : public COptions {
 public:
  CSectionOptions(const std::string& section, level_t level) : COptions(CString(section), level) {}
  void QueryKeys(CStringArray&) const override {}
  using COptions::ReadDWord;
  using COptions::ReadString;
  using COptions::WriteString;
};

COptions::level_t LevelOf(const std::string& text) {
  std::int32_t level = 0;
  const char* const end = text.data() + text.size();
  const auto got = std::from_chars(text.data(), end, level);
  if (got.ec != std::errc() || got.ptr != end) throw usage_error_t("--level: expected a number, 0 to 3");
  return static_cast<COptions::level_t>(level);
}

// The level whose document the number selects.
int ShownLevel(COptions::level_t level) {
  return level >= COptions::LEVEL_1 && level <= COptions::LEVEL_3 ? static_cast<int>(level) : 0;
}

struct level_file_t {
  COptions::level_t level;
  std::string path;
};

// The files and their levels, pair by pair.
std::vector<level_file_t> LevelFiles(const CCall& call) {
  std::vector<std::string> levels = call.GetAll("--level");
  const std::vector<std::string> files = call.GetAll("--file");
  if (levels.empty()) levels.emplace_back("0");
  if (levels.size() != files.size()) throw usage_error_t("each --file has its --level");
  std::vector<level_file_t> pairs;
  for (std::size_t i = 0; i < files.size(); ++i) {
    const COptions::level_t level = LevelOf(levels[i]);
    const auto same = [&](const level_file_t& each) { return ShownLevel(each.level) == ShownLevel(level); };
    if (std::any_of(pairs.begin(), pairs.end(), same)) {
      throw usage_error_t("--level: " + std::to_string(ShownLevel(level)) + " was given twice");
    }
    pairs.push_back({level, files[i]});
  }
  return pairs;
}

// A missing file, which a program takes for an empty one, is what a user asks for help with. So are a pipe and a
// device, which it takes for the same.
void Load(const level_file_t& file) {
  if (!IsRegularOrMissing(file.path)) throw CFileException(FileText(file.path), "not a regular file", 0);
  CFile(FileText(file.path), CFile::modeRead).Close();
  COptionsContainer::GetInstance().LoadSettings(file.level, FileText(file.path));
}

// On one line, and without what steers a terminal.
std::string Shown(const CString& value) {
  std::string shown;
  for (const char each : value.ToUtf8()) {
    const auto byte = static_cast<unsigned char>(each);
    if (byte >= 0x20 && byte != 0x7F) {
      shown += each;
    } else if (each == '\n') {
      shown += "\\n";
    } else {
      constexpr char kDigits[] = "0123456789ABCDEF";
      shown += std::string("\\u00") + kDigits[byte >> 4] + kDigits[byte & 15];
    }
  }
  return shown;
}

std::string ListedText(const CString& text) { return Shortened(Shown(text), kMostOfText); }

std::string NameOf(const CCall& call) { return "[" + call.Get("SECTION") + "] " + call.Get("KEY"); }

void AddName(CCall& call) {
  AddMember(call.report.result, u"section", CVariant(call.Get("SECTION")));
  AddMember(call.report.result, u"key", CVariant(call.Get("KEY")));
}

exit_t Missing(CCall& call, const std::string& file, const char* cause) {
  const std::string name = call.Has("KEY") ? NameOf(call) : "[" + call.Get("SECTION") + "]";
  call.report.Add({file, 0, 0, name, cause});
  return EXIT_FINDINGS;
}

// --- explain -------------------------------------------------------------------------------------------------------

struct place_t {
  bool isThere = false;
  CString value;
  std::uint32_t line = 0;
  std::vector<std::uint32_t> repeated;  // further lines that give the same key
};

// Line by line as an editor counts them: what follows the line is looked at once the line is empty.
std::vector<std::uint32_t> FindRepeated(CIniFile document, const CString& section, const CString& key) {
  constexpr std::size_t kMost = 10;
  std::vector<std::uint32_t> lines;
  CString text;
  document.ToText(text);
  std::uint32_t line = document.GetLine(section, key);
  while (line != 0 && lines.size() < kMost) {
    int begin = 0;
    for (std::uint32_t i = 1; i < line && begin >= 0; ++i) begin = text.Find(u'\n', begin) + 1;
    const int end = text.Find(u'\n', begin);
    text.Delete(begin, (end < 0 ? text.GetLength() : end) - begin);
    document.FromText(text);
    const std::uint32_t next = document.GetLine(section, key);
    if (next <= line) break;
    lines.push_back(line = next);
  }
  return lines;
}

// Where the document itself has the value.
place_t Look(const level_file_t& file, const CString& section, const CString& key) {
  place_t place;
  if (!zorplatform::CheckFileExists(FileText(file.path))) return place;
  CIniFile document;
  document.Load(FileText(file.path));
  place.isThere = document.ReadValue(section, key, place.value);
  place.line = document.GetLine(section, key);
  place.repeated = FindRepeated(std::move(document), section, key);
  return place;
}

std::string PlaceText(const level_file_t& file, const place_t& place) {
  return file.path + ":" + std::to_string(place.line) + ": ";
}

// What a program makes of the value that a reader of the file may not expect.
std::vector<std::string> Notes(const CSectionOptions& options, const CString& key, const place_t& place) {
  std::vector<std::string> notes;
  for (const std::uint32_t line : place.repeated) {
    notes.push_back("given again in line " + std::to_string(line) + ", which has no effect");
  }
  if (!options.IsDefined(key)) notes.emplace_back("this very text stands for a value that is not there");
  if (place.value.IsEmpty()) {
    notes.emplace_back("empty: where a number is read, the program's default is taken");
    return notes;
  }
  const std::uint32_t number = options.ReadDWord(key, 0);
  if (CString().AssignInteger(number) != place.value) {
    notes.push_back("read as a number: " + std::to_string(number));
  }
  if (place.value.GetLength() > kRemembered) {
    notes.push_back("a text of " + std::to_string(place.value.GetLength()) + " characters: cut to " +
                    std::to_string(kRemembered) + " whenever it is not read for the first time");
  }
  return notes;
}

json::object_t JsonOf(const level_file_t& file, const place_t& place) {
  json::object_t object;
  AddMember(object, u"level", CVariant::FromInt32(ShownLevel(file.level)));
  AddMember(object, u"file", CVariant(file.path));
  if (place.isThere) {
    AddMember(object, u"line", CVariant::FromInt64(place.line));
    AddMember(object, u"value", CVariant(place.value));
  }
  return object;
}

}  // namespace

exit_t GetOption(CCall& call) {
  const level_file_t file = LevelFiles(call).front();
  const CString key = call.Get("KEY");
  Load(file);
  const CSectionOptions options(call.Get("SECTION"), file.level);
  if (!options.IsDefined(key) && !call.Has("--default")) return Missing(call, file.path, "there is no such value");
  const CString value = options.ReadString(key, CString(call.Get("--default")));
  AddName(call);
  AddMember(call.report.result, u"value", CVariant(value));
  call.report.text = value.ToUtf8() + '\n';
  return EXIT_FINE;
}

exit_t SetOption(CCall& call) {
  const level_file_t file = LevelFiles(call).front();
  const CString key = call.Get("KEY"), value = call.Get("VALUE");
  const zorplatform::CFileLock lock(FileText(file.path));
  COptionsContainer& container = COptionsContainer::GetInstance();
  container.LoadSettings(file.level, FileText(file.path));
  const CSectionOptions options(call.Get("SECTION"), file.level);
  options.WriteString(key, value);
  if (!options.IsDefined(key)) {
    throw usage_error_t(NameOf(call) + ": no settings file can hold this name, or this very value");
  }
  container.SaveSettings(file.level, FileText(file.path));
  return EXIT_FINE;
}

exit_t UnsetOption(CCall& call) {
  const level_file_t file = LevelFiles(call).front();
  const CString section = call.Get("SECTION"), key = call.Get("KEY");
  const zorplatform::CFileLock lock(FileText(file.path));
  CIniFile document;
  document.Load(FileText(file.path));
  const bool wasThere = call.Has("KEY") ? document.DeleteValue(section, key) : document.DeleteSection(section);
  if (!wasThere)
    return Missing(call, file.path, call.Has("KEY") ? "there is no such value" : "there is no such section");
  document.Save(FileText(file.path));
  return EXIT_FINE;
}

exit_t ListOptions(CCall& call) {
  const level_file_t file = LevelFiles(call).front();
  CIniFile document;
  document.Load(FileText(file.path));
  CStringArray sections;
  document.QuerySections(sections);
  const CString asked = call.Get("SECTION");
  bool wasFound = !call.Has("SECTION");
  json::object_t all;
  std::size_t listed = 0;
  const auto list = [&](const std::string& line) {
    if (++listed <= kMostListed) call.report.text += line;
  };
  for (const CString& section : sections) {
    if (call.Has("SECTION") && section.CompareNoCase(asked) != 0) continue;
    wasFound = true;
    json::object_t values;
    CStringArray keys;
    document.QueryKeys(section, keys);
    list("[" + ListedText(section) + "]\n");
    for (const CString& key : keys) {
      CString value;
      document.ReadValue(section, key, value);
      AddMember(values, key, CVariant(value));
      list("  " + ListedText(key) + " = " + ListedText(value) + "\n");
    }
    AddMember(all, section, std::move(values));
  }
  if (listed > kMostListed) {
    call.report.text += "and " + std::to_string(listed - kMostListed) + " more lines, which --json has\n";
  }
  AddMember(call.report.result, u"sections", std::move(all));
  for (const zorplatform::ini_problem_t& problem : document.GetProblems()) {
    call.report.Add({file.path, static_cast<int>(problem.line), static_cast<int>(problem.column), "", problem.what});
  }
  return wasFound ? call.GetExit() : Missing(call, file.path, "there is no such section");
}

exit_t ExplainOption(CCall& call) {
  const std::vector<level_file_t> files = LevelFiles(call);
  const CString section = call.Get("SECTION"), key = call.Get("KEY");
  const level_file_t& asked = files.front();
  Load(asked);
  const CSectionOptions options(call.Get("SECTION"), asked.level);
  const place_t place = Look(asked, section, key);
  AddName(call);
  AddMember(call.report.result, u"asked", JsonOf(asked, place));
  std::string& text = call.report.text;
  const std::string level = "level " + std::to_string(ShownLevel(asked.level));
  if (place.isThere) {
    text = PlaceText(asked, place) + NameOf(call) + " = " + Shown(place.value) + "\n";
    json::array_t notes;
    for (const std::string& note : Notes(options, key, place)) {
      text += "  " + note + "\n";
      notes.elements.push_back(std::make_shared<json::scalar_t>(CVariant(note)));
    }
    AddMember(call.report.result, u"notes", std::move(notes));
  } else {
    text = asked.path + ": " + NameOf(call) + " is not there: at " + level + " a program takes its own default\n";
  }
  json::array_t others;
  for (const level_file_t& other : std::vector(files.begin() + 1, files.end())) {
    const place_t elsewhere = Look(other, section, key);
    others.AddObject(JsonOf(other, elsewhere));
    const std::string name = "level " + std::to_string(ShownLevel(other.level)) + ", of no effect at " + level + ": ";
    text += name +
            (elsewhere.isThere ? PlaceText(other, elsewhere) + Shown(elsewhere.value) : other.path + ": not there") +
            "\n";
  }
  AddMember(call.report.result, u"others", std::move(others));
  return EXIT_FINE;
}

}  // namespace utilctl
