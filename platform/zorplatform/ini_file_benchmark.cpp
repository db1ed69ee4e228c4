// An INI document of 100,000 keys in 1,000 sections: loaded, asked, changed and saved, beside GLib's GKeyFile and Qt's
// QSettings.
#include <benchmark/benchmark.h>

#include <array>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <random>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/framework/cstring.h"
#include "platform/framework/mem_file.h"
#include "platform/zorplatform/ini_file.h"

#if ZORUTIL_BENCH_GLIB
#include <glib.h>
#endif
#if ZORUTIL_BENCH_QT
#include <QSettings>
#include <QString>
#endif

namespace {

constexpr int kSections = 1000;
constexpr int kKeys = 100;
constexpr std::size_t kAsked = 1000;  // the settings that a program asks for, anywhere in the document

std::string SectionName(int section) { return "Channel " + std::to_string(section); }
std::string KeyName(int key) { return "Setting" + std::to_string(key); }

const std::string& Bytes() {
  static const std::string bytes = [] {
    std::string text;
    for (int section = 0; section < kSections; ++section) {
      text += "[" + SectionName(section) + "]\n";
      for (int key = 0; key < kKeys; ++key) {
        text += KeyName(key) + "=value " + std::to_string(section * kKeys + key) + "\n";
      }
    }
    return text;
  }();
  return bytes;
}

// Names in any order, as a peer takes them.
template <class Text, class Make>
std::vector<std::pair<Text, Text>> Names(Make make) {
  std::mt19937 random(1);
  std::vector<std::pair<Text, Text>> names;
  for (std::size_t i = 0; i < kAsked; ++i) {
    const auto section = static_cast<int>(random() % kSections), key = static_cast<int>(random() % kKeys);
    names.emplace_back(make(SectionName(section)), make(KeyName(key)));
  }
  return names;
}

template <class Name, class Ask>
void Each(benchmark::State& state, const std::vector<Name>& names, Ask ask) {
  std::size_t i = 0;
  for (auto _ : state) {
    ask(names[i].first, names[i].second);
    i = (i + 1) % kAsked;
  }
}

CIniFile Document() {
  CMemFile file(std::as_bytes(std::span(Bytes())));
  CIniFile ini;
  ini.Load(&file);
  return ini;
}

std::vector<std::pair<CString, CString>> OurNames() {
  return Names<CString>([](const std::string& name) { return CString(name); });
}

void LoadOurs(benchmark::State& state) {
  CMemFile file(std::as_bytes(std::span(Bytes())));
  for (auto _ : state) {
    CIniFile ini;
    file.SeekToBegin();
    ini.Load(&file);
    benchmark::DoNotOptimize(ini);
  }
}

void FindOurs(benchmark::State& state) {
  const CIniFile ini = Document();
  CString value;
  Each(state, OurNames(), [&](const CString& section, const CString& key) {
    if (!ini.ReadValue(section, key, value)) state.SkipWithError("not found");
    benchmark::DoNotOptimize(value);
  });
}

// Each key gets one value and then another, so that every call changes a line.
void WriteOurs(benchmark::State& state) {
  CIniFile ini = Document();
  const std::array<const char16_t*, 2> values = {u"another value", u"value"};
  std::size_t calls = 0;
  Each(state, OurNames(),
       [&](const CString& section, const CString& key) { ini.WriteValue(section, key, values[calls++ / kAsked % 2]); });
}

void SaveOurs(benchmark::State& state) {
  CIniFile ini = Document();
  for (const auto& [section, key] : OurNames()) ini.WriteValue(section, key, u"another value");
  for (auto _ : state) {
    CMemFile file;
    ini.Save(&file);
    benchmark::DoNotOptimize(file.GetContent().data());
  }
}

#if ZORUTIL_BENCH_GLIB
struct key_file_t {
  GKeyFile* file = g_key_file_new();
  key_file_t() { g_key_file_load_from_data(file, Bytes().data(), Bytes().size(), G_KEY_FILE_KEEP_COMMENTS, nullptr); }
  key_file_t(const key_file_t&) = delete;
  key_file_t& operator=(const key_file_t&) = delete;
  ~key_file_t() { g_key_file_free(file); }
};

std::vector<std::pair<std::string, std::string>> NarrowNames() {
  return Names<std::string>([](std::string name) { return name; });
}

void LoadGlib(benchmark::State& state) {
  for (auto _ : state) {
    key_file_t ini;
    benchmark::DoNotOptimize(ini.file);
  }
}

void FindGlib(benchmark::State& state) {
  const key_file_t ini;
  Each(state, NarrowNames(), [&](const std::string& section, const std::string& key) {
    gchar* value = g_key_file_get_value(ini.file, section.c_str(), key.c_str(), nullptr);
    if (value == nullptr) state.SkipWithError("not found");
    benchmark::DoNotOptimize(value);
    g_free(value);
  });
}

void WriteGlib(benchmark::State& state) {
  const key_file_t ini;
  const std::array<const char*, 2> values = {"another value", "value"};
  std::size_t calls = 0;
  Each(state, NarrowNames(), [&](const std::string& section, const std::string& key) {
    g_key_file_set_value(ini.file, section.c_str(), key.c_str(), values[calls++ / kAsked % 2]);
  });
}

void SaveGlib(benchmark::State& state) {
  const key_file_t ini;
  for (const auto& [section, key] : NarrowNames()) {
    g_key_file_set_value(ini.file, section.c_str(), key.c_str(), "another value");
  }
  for (auto _ : state) {
    gsize size = 0;
    gchar* bytes = g_key_file_to_data(ini.file, &size, nullptr);
    benchmark::DoNotOptimize(bytes);
    g_free(bytes);
  }
}
#endif

#if ZORUTIL_BENCH_QT
void FindQt(benchmark::State& state) {
  const std::string path = (std::filesystem::temp_directory_path() / "ini_file_benchmark.ini").string();
  std::ofstream(path) << Bytes();
  {
    // Its names are "section/key".
    const QSettings ini(QString::fromStdString(path), QSettings::IniFormat);
    const auto names = Names<QString>([](const std::string& name) { return QString::fromStdString(name); });
    std::vector<std::pair<QString, QString>> joined;
    for (const auto& [section, key] : names) joined.emplace_back(section + "/" + key, QString());
    Each(state, joined, [&](const QString& name, const QString&) {
      QString value = ini.value(name).toString();
      if (value.isEmpty()) state.SkipWithError("not found");
      benchmark::DoNotOptimize(value);
    });
  }
  std::remove(path.c_str());
}
#endif

[[maybe_unused]] const bool registered = [] {
  const auto add = [](const char* name, void (*run)(benchmark::State&)) { benchmark::RegisterBenchmark(name, run); };
  add("INI load 100000 keys/ours", LoadOurs);
  add("INI find a value/ours", FindOurs);
  add("INI change a value/ours", WriteOurs);
  add("INI save 100000 keys/ours", SaveOurs);
#if ZORUTIL_BENCH_GLIB
  add("INI load 100000 keys/GKeyFile", LoadGlib);
  add("INI find a value/GKeyFile", FindGlib);
  add("INI change a value/GKeyFile", WriteGlib);
  add("INI save 100000 keys/GKeyFile", SaveGlib);
#endif
#if ZORUTIL_BENCH_QT
  add("INI find a value/QSettings", FindQt);
#endif
  return true;
}();

}  // namespace
