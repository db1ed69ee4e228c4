// The registry's file on the disk of the machine: 10,000 values imported, single values read, beside the same file
// written by hand with SQLite and beside QSettings, which reads what other programs wrote after a sync.
#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry_text.h"

#if ZORUTIL_BENCH_SQLITE
#include <sqlite3.h>
#endif
#if ZORUTIL_BENCH_QT
#include <QSettings>
#include <QString>
#include <QVariant>
#endif

namespace {

using namespace registry;

constexpr int kKeys = 100;
constexpr int kValues = 100;  // of each key
constexpr auto kTop = u"Software\\Acme Works\\Gateway\\6.1";

std::string KeyName(int key) { return "Channel " + std::to_string(key); }
std::string ValueName(int value) { return "Setting" + std::to_string(value); }
std::string Text(int key, int value) { return "value " + std::to_string(key * kValues + value); }

std::string ExportText() {
  std::string text = "registry 1\n";
  for (int key = 0; key < kKeys; ++key) {
    text += "\n[HKEY_LOCAL_MACHINE\\Software\\Acme Works\\Gateway\\6.1\\" + KeyName(key) + "]\n";
    for (int value = 0; value < kValues; ++value) {
      text += "\"" + ValueName(value) + "\" = REG_SZ \"" + Text(key, value) + "\"\n";
    }
  }
  return text;
}

void Check(benchmark::State& state, bool isGood) {
  if (!isGood) state.SkipWithError("failed");
}

bool Import(const std::string& text) {
  std::vector<text_problem_t> problems;
  const std::vector<key_values_t> keys = ParseText(text, problems);
  return problems.empty() && WriteKeys(keys);
}

void ImportOurs(benchmark::State& state) {
  const std::string text = ExportText();
  for (auto _ : state) {
    state.PauseTiming();
    auto folder = std::make_unique<CTempFolder>();
    SetRegistryFile(folder->PathOf("r.db"));
    state.ResumeTiming();
    Check(state, Import(text));
    state.PauseTiming();
    folder.reset();
    state.ResumeTiming();
  }
  SetRegistryFile({});
}

// What a program asks for: any value of any key, by its path; `ask(key, value)` tells whether it was there.
template <class Ask>
void AskAll(benchmark::State& state, Ask ask) {
  unsigned next = 0;
  for (auto _ : state) {
    Check(state, ask(next * 37 % kKeys, next * 61 % kValues));
    ++next;
  }
}

struct filled_t {
  filled_t() {
    SetRegistryFile(folder.PathOf("r.db"));
    if (!Import(ExportText())) std::abort();
    for (int key = 0; key < kKeys; ++key) paths.push_back(CString(kTop) + u'\\' + CString(KeyName(key)));
    for (int value = 0; value < kValues; ++value) names.push_back(CString(ValueName(value)));
  }
  ~filled_t() { SetRegistryFile({}); }

  CTempFolder folder;
  std::vector<CString> paths;
  std::vector<CString> names;
};

void ReadByPath(benchmark::State& state) {
  const filled_t filled;
  AskAll(state, [&](unsigned key, unsigned value) {
    value_t found;
    return bool{QueryValue(HKEY_LOCAL_MACHINE, filled.paths[key], filled.names[value], found)};
  });
}

void ReadOfKey(benchmark::State& state) {
  const filled_t filled;
  CKey key;
  Check(state, bool{key.Open(HKEY_LOCAL_MACHINE, filled.paths[7])});
  AskAll(state, [&](unsigned, unsigned value) {
    value_t found;
    return bool{key.QueryValue(filled.names[value], found)};
  });
}

void ReadAndOpen(benchmark::State& state) {
  const filled_t filled;
  AskAll(state, [&](unsigned key, unsigned value) {
    CKey opened;
    value_t found;
    return opened.Open(HKEY_LOCAL_MACHINE, filled.paths[key]) && opened.QueryValue(filled.names[value], found);
  });
}

void ReadBesideAnother(benchmark::State& state) {
  const filled_t filled;
  std::atomic<bool> isOver{false};
  std::thread other([&] {
    value_t found;
    while (!isOver) benchmark::DoNotOptimize(QueryValue(HKEY_LOCAL_MACHINE, filled.paths[1], filled.names[1], found));
  });
  AskAll(state, [&](unsigned key, unsigned value) {
    value_t found;
    return bool{QueryValue(HKEY_LOCAL_MACHINE, filled.paths[key], filled.names[value], found)};
  });
  isOver = true;
  other.join();
}

void WriteOne(benchmark::State& state) {
  const filled_t filled;
  CKey key;
  Check(state, bool{key.Open(HKEY_LOCAL_MACHINE, filled.paths[7], KEY_READ_WRITE)});
  std::uint32_t number = 0;
  for (auto _ : state) Check(state, bool{key.SetValue(u"Setting1", value_t::FromDword(++number))});
}

#if ZORUTIL_BENCH_SQLITE
// A table with one row for each value, its path written out.
class CByHand {
 public:
  explicit CByHand(const std::string& file) {
    sqlite3_open(file.c_str(), &database_);
    sqlite3_exec(database_,
                 "PRAGMA synchronous = EXTRA;"
                 "CREATE TABLE v(path TEXT, name TEXT, type INT, data BLOB, PRIMARY KEY(path, name)) WITHOUT ROWID",
                 nullptr, nullptr, nullptr);
    sqlite3_prepare_v2(database_, "INSERT INTO v VALUES(?1, ?2, 1, ?3)", -1, &insert_, nullptr);
    sqlite3_prepare_v2(database_, "SELECT type, data FROM v WHERE path = ?1 AND name = ?2", -1, &select_, nullptr);
  }
  CByHand(const CByHand&) = delete;
  CByHand& operator=(const CByHand&) = delete;
  ~CByHand() {
    sqlite3_finalize(insert_);
    sqlite3_finalize(select_);
    sqlite3_close(database_);
  }
  bool Run(const char* sql) { return sqlite3_exec(database_, sql, nullptr, nullptr, nullptr) == SQLITE_OK; }
  bool Insert(const std::string& path, const std::string& name, const std::string& data) {
    Bind(insert_, 1, path);
    Bind(insert_, 2, name);
    sqlite3_bind_blob(insert_, 3, data.data(), static_cast<int>(data.size()), SQLITE_STATIC);
    const bool isDone = sqlite3_step(insert_) == SQLITE_DONE;
    sqlite3_reset(insert_);
    return isDone;
  }
  bool Select(const std::string& path, const std::string& name, std::vector<std::uint8_t>& data) {
    Bind(select_, 1, path);
    Bind(select_, 2, name);
    const bool isThere = sqlite3_step(select_) == SQLITE_ROW;
    if (isThere) {
      const auto* const bytes = static_cast<const std::uint8_t*>(sqlite3_column_blob(select_, 1));
      data.assign(bytes, bytes + sqlite3_column_bytes(select_, 1));
    }
    sqlite3_reset(select_);
    return isThere;
  }
  bool Fill() {
    bool isGood = Run("BEGIN IMMEDIATE");
    for (int key = 0; key < kKeys; ++key) {
      for (int value = 0; value < kValues; ++value) {
        isGood = isGood && Insert(PathOf(key), ValueName(value), Text(key, value));
      }
    }
    return isGood && Run("COMMIT");
  }
  static std::string PathOf(int key) { return "Software\\Acme Works\\Gateway\\6.1\\" + KeyName(key); }

 private:
  static void Bind(sqlite3_stmt* statement, int index, const std::string& text) {
    sqlite3_bind_text(statement, index, text.data(), static_cast<int>(text.size()), SQLITE_STATIC);
  }

  sqlite3* database_ = nullptr;
  sqlite3_stmt* insert_ = nullptr;
  sqlite3_stmt* select_ = nullptr;
};

void ImportByHand(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto folder = std::make_unique<CTempFolder>();
    state.ResumeTiming();
    {
      CByHand database(folder->Native("r.db").string());
      Check(state, database.Fill());
    }
    state.PauseTiming();
    folder.reset();
    state.ResumeTiming();
  }
}

void ReadByHand(benchmark::State& state) {
  const CTempFolder folder;
  CByHand database(folder.Native("r.db").string());
  Check(state, database.Fill());
  std::vector<std::string> paths;
  std::vector<std::string> names;
  for (int key = 0; key < kKeys; ++key) paths.push_back(CByHand::PathOf(key));
  for (int value = 0; value < kValues; ++value) names.push_back(ValueName(value));
  AskAll(state, [&](unsigned key, unsigned value) {
    std::vector<std::uint8_t> data;
    return database.Select(paths[key], names[value], data);
  });
}
#endif

#if ZORUTIL_BENCH_QT
QString QtName(unsigned key, unsigned value) {
  return QString::fromStdString(KeyName(static_cast<int>(key)) + "/" + ValueName(static_cast<int>(value)));
}

bool FillQt(QSettings& settings) {
  for (int key = 0; key < kKeys; ++key) {
    for (int value = 0; value < kValues; ++value) {
      settings.setValue(QtName(static_cast<unsigned>(key), static_cast<unsigned>(value)),
                        QString::fromStdString(Text(key, value)));
    }
  }
  settings.sync();
  return settings.status() == QSettings::NoError;
}

void ImportQt(benchmark::State& state) {
  for (auto _ : state) {
    state.PauseTiming();
    auto folder = std::make_unique<CTempFolder>();
    state.ResumeTiming();
    {
      QSettings settings(QString::fromStdString(folder->Native("r.ini").string()), QSettings::IniFormat);
      Check(state, FillQt(settings));
    }
    state.PauseTiming();
    folder.reset();
    state.ResumeTiming();
  }
}

void ReadQt(benchmark::State& state) {
  const CTempFolder folder;
  QSettings settings(QString::fromStdString(folder.Native("r.ini").string()), QSettings::IniFormat);
  Check(state, FillQt(settings));
  std::vector<QString> names;
  for (unsigned value = 0; value < kValues; ++value) names.push_back(QtName(7, value));
  AskAll(state, [&](unsigned, unsigned value) {
    settings.sync();
    return settings.value(names[value]).isValid();
  });
}
#endif

[[maybe_unused]] const bool registered = [] {
  const auto add = [](const char* name, void (*run)(benchmark::State&)) {
    auto* const row = benchmark::RegisterBenchmark(name, run);
    if (std::string_view(name).find("read") == std::string_view::npos) row->UseRealTime();  // the disk's time counts
  };
  add("registry import 10000 values/ours", ImportOurs);
  add("registry read a value/ours", ReadByPath);
  add("registry read a value of an open key/ours", ReadOfKey);
  add("registry open a key and read a value/ours", ReadAndOpen);
  add("registry read a value beside another thread/ours", ReadBesideAnother);
  add("registry write a value/ours", WriteOne);
#if ZORUTIL_BENCH_SQLITE
  add("registry import 10000 values/SQLite by hand", ImportByHand);
  add("registry read a value/SQLite by hand", ReadByHand);
#endif
#if ZORUTIL_BENCH_QT
  add("registry import 10000 values/QSettings", ImportQt);
  add("registry read a value/QSettings with sync", ReadQt);
#endif
  return true;
}();

}  // namespace
