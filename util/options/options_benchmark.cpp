// Twenty settings of one section, read again and again as a driver does, alone and while another thread does the same;
// beside Qt's QSettings.
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "platform/framework/cstring.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/options/options_testing.h"

#if ZORUTIL_BENCH_QT
#include <QSettings>
#include <QString>
#endif

namespace {

constexpr std::array<const char16_t*, 20> kNames = {u"ScanRate",  u"Timeout", u"Retries", u"Port",     u"Unit",
                                                    u"Block",     u"Delay",   u"Demote",  u"DemoteMs", u"Threads",
                                                    u"Queue",     u"Burst",   u"Offset",  u"Swap",     u"Signed",
                                                    u"KeepAlive", u"Nagle",   u"Backlog", u"Trace",    u"Level"};

// Loads them from a file.
template <class Run>
void WithFile(Run run) {
  const CTempFolder temp;
  std::string text = "[Driver]\n";
  for (std::size_t i = 0; i < kNames.size(); ++i)
    text += CString(kNames[i]).ToUtf8() + "=" + std::to_string(1000 + i) + "\n";
  temp.Put("driver.ini", text);
  run(temp);
}

class COurs {
 public:
  explicit COurs(const CTempFolder& temp) {
    COptionsContainer::GetInstance().LoadSettings(COptions::LEVEL_2, temp.PathOf("driver.ini"));
  }
  struct as_number_t {
    explicit as_number_t(const COurs& ours) : options(ours.options_) {}
    std::uint32_t operator()(std::size_t i) const { return options.ReadDWord(kNames[i], 0); }
    const COpenOptions& options;
  };
  struct as_text_t {
    explicit as_text_t(const COurs& ours) : options(ours.options_) {}
    CString operator()(std::size_t i) const { return options.ReadString(kNames[i], u""); }
    const COpenOptions& options;
  };
  // After each load the container is asked once.
  struct after_load_t {
    explicit after_load_t(COurs& ours) : options(ours.options_) {}
    std::uint32_t operator()(std::size_t i) {
      if (i == 0) options.OnSettingsChanged();
      return options.ReadDWord(kNames[i], 0);
    }
    COpenOptions& options;
  };

 private:
  COpenOptions options_{COptions::LEVEL_2, u"Driver"};
};

#if ZORUTIL_BENCH_QT
// Each thread has an object of its own, as its manual asks for; they share what was loaded.
class CQt {
 public:
  explicit CQt(const CTempFolder& temp) : path_(QString::fromStdString(temp.Native("driver.ini").string())) {}
  struct reader_t {
    explicit reader_t(const CQt& qt) : settings(qt.path_, QSettings::IniFormat) {
      for (const char16_t* name : kNames) names.push_back("Driver/" + QString::fromUtf16(name));
    }
    QSettings settings;
    std::vector<QString> names;
  };
  struct as_number_t : reader_t {
    using reader_t::reader_t;
    std::uint32_t operator()(std::size_t i) const { return settings.value(names[i], 0u).toUInt(); }
  };
  struct as_text_t : reader_t {
    using reader_t::reader_t;
    QString operator()(std::size_t i) const { return settings.value(names[i]).toString(); }
  };

 private:
  QString path_;
};
#endif

template <class Read, class Until>
void ReadAll(Read& read, Until until) {
  for (std::size_t i = 0; until(); i = i + 1 == kNames.size() ? 0 : i + 1) benchmark::DoNotOptimize(read(i));
}

template <class Settings, class Read>
void Alone(benchmark::State& state) {
  WithFile([&](const CTempFolder& temp) {
    Settings settings(temp);
    Read read(settings);
    ReadAll(read, [&] { return state.KeepRunning(); });
  });
}

template <class Settings, class Read>
void BesideThread(benchmark::State& state) {
  WithFile([&](const CTempFolder& temp) {
    Settings settings(temp);
    std::atomic<bool> stop = false;
    std::thread other([&] {
      Read read(settings);
      ReadAll(read, [&] { return !stop.load(std::memory_order_relaxed); });
    });
    Read read(settings);
    ReadAll(read, [&] { return state.KeepRunning(); });
    stop = true;
    other.join();
  });
}

[[maybe_unused]] const bool registered = [] {
  const auto add = [](const char* name, void (*run)(benchmark::State&)) { benchmark::RegisterBenchmark(name, run); };
  add("setting as number/ours", Alone<COurs, COurs::as_number_t>);
  add("setting as number, two threads/ours", BesideThread<COurs, COurs::as_number_t>);
  add("setting as text/ours", Alone<COurs, COurs::as_text_t>);
  add("setting as text, two threads/ours", BesideThread<COurs, COurs::as_text_t>);
  add("setting as number, after a load/ours", Alone<COurs, COurs::after_load_t>);
#if ZORUTIL_BENCH_QT
  add("setting as number/QSettings", Alone<CQt, CQt::as_number_t>);
  add("setting as number, two threads/QSettings", BesideThread<CQt, CQt::as_number_t>);
  add("setting as text/QSettings", Alone<CQt, CQt::as_text_t>);
  add("setting as text, two threads/QSettings", BesideThread<CQt, CQt::as_text_t>);
#endif
  return true;
}();

}  // namespace
