// Numbers to text and back, wide text and names beside the standard library, QString and ICU.
#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <charconv>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "bench/opaque.h"
#include "platform/framework/cstring.h"
#include "platform/ole/variant_conversion.h"
#include "platform/zorplatform/text_parse.h"
#include "util/values/variant.h"

#if ZORUTIL_BENCH_QT
#include <QByteArray>
#include <QString>
#endif
#if ZORUTIL_BENCH_ICU
#include <unicode/ucol.h>
#endif

namespace {

constexpr std::size_t kValues = 1024;

// What a display shows: two decimals.
std::vector<double> Readings() {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> hundredths(-200'000, 2'000'000);
  std::vector<double> values(kValues);
  for (double& value : values) value = hundredths(random) / 100.0;
  return values;
}

// What a computation gives: all 17 digits.
std::vector<double> Results() {
  std::mt19937 random(2);
  std::uniform_real_distribution<double> uniform(-1000, 1000);
  std::vector<double> values(kValues);
  for (double& value : values) value = uniform(random);
  return values;
}

std::vector<double> Int32s() {
  std::mt19937 random(3);
  std::vector<double> values(kValues);
  for (double& value : values) value = static_cast<std::int32_t>(random()) >> random() % 24;
  return values;
}

// Runs `step` on each element, again and again; the time is that of one.
template <class T, class Step>
void Each(benchmark::State& state, const std::vector<T>& values, Step step) {
  const T* const at = Opaque(values.data());
  std::size_t i = 0;
  for (auto _ : state) {
    step(at[i]);
    i = (i + 1) % kValues;
  }
}

template <class T, class Make>
std::vector<T> MakeAll(const std::vector<double>& numbers, Make make) {
  std::vector<T> made;
  for (const double number : numbers) made.push_back(make(number));
  return made;
}

// ---- numbers to text

void FormatOurs(benchmark::State& state, const std::vector<double>& numbers, bool asInt32) {
  const auto values = MakeAll<CVariant>(numbers, [&](double number) {
    return asInt32 ? CVariant::FromInt32(static_cast<std::int32_t>(number)) : CVariant::FromDouble(number);
  });
  CString text;
  Each(state, values, [&](const CVariant& value) {
    value.Format(text, CVariant::FORMAT_NORMAL);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  });
}

template <class Number, class... Form>
void FormatStd(benchmark::State& state, const std::vector<double>& numbers, Form... form) {
  const auto values = MakeAll<Number>(numbers, [](double number) { return static_cast<Number>(number); });
  Each(state, values, [&](Number value) {
    char text[64];
    char* end = std::to_chars(text, text + sizeof text, value, form...).ptr;
    benchmark::DoNotOptimize(end);
    benchmark::DoNotOptimize(text);
    benchmark::ClobberMemory();
  });
}

void FormatStdGeneral(benchmark::State& state, const std::vector<double>& numbers) {
  FormatStd<double>(state, numbers, std::chars_format::general, 15);
}
void FormatStdShortest(benchmark::State& state, const std::vector<double>& numbers) {
  FormatStd<double>(state, numbers);
}
void FormatStdInt32(benchmark::State& state) { FormatStd<std::int32_t>(state, Int32s()); }

// ---- text to numbers: texts as std::to_chars writes them shortest

std::vector<std::string> Texts(const std::vector<double>& numbers) {
  return MakeAll<std::string>(numbers, [](double number) {
    char text[64];
    return std::string(text, std::to_chars(text, text + sizeof text, number).ptr);
  });
}

std::vector<CString> WideTexts(const std::vector<double>& numbers) {
  std::vector<CString> wide;
  for (const std::string& text : Texts(numbers)) wide.emplace_back(text);
  return wide;
}

template <class Number>
void ParseStd(benchmark::State& state, const std::vector<double>& numbers) {
  Each(state, Texts(numbers), [](const std::string& text) {
    Number value{};
    std::from_chars(text.data(), text.data() + text.size(), value);
    benchmark::DoNotOptimize(value);
  });
}

void ParseInt32Ours(benchmark::State& state) {
  Each(state, WideTexts(Int32s()), [](const CString& text) {
    auto value = static_cast<std::int32_t>(zorplatform::_ttoll(text));
    benchmark::DoNotOptimize(value);
  });
}

void ParseDoubleOurs(benchmark::State& state, const std::vector<double>& numbers) {
  Each(state, WideTexts(numbers), [](const CString& text) {
    double value = zorplatform::wtof(text);
    benchmark::DoNotOptimize(value);
  });
}

// From the text of a variant into another one, by the rules of conversion.
void ConvertText(benchmark::State& state, const std::vector<double>& numbers, VARTYPE target) {
  std::vector<CVariant> texts;
  for (const CString& text : WideTexts(numbers)) texts.emplace_back(text);
  Each(state, texts, [target](const CVariant& text) {
    tagVARIANT value{};
    HRESULT result = VariantChangeTypeEx(&value, &text, 0, 0, target);
    benchmark::DoNotOptimize(result);
    benchmark::DoNotOptimize(value);
  });
}

// ---- copying strings

constexpr char kName[] = "Boiler house/Feed water pump 2/A";

template <class T>
void CopyText(benchmark::State& state, const T& text) {
  const T* const source = Opaque(&text);
  for (auto _ : state) {
    T copy(*source);
    benchmark::DoNotOptimize(copy);
  }
}

// The copy alone: copies are destroyed outside the measured time.
template <class T>
void CopyTextAlone(benchmark::State& state, const T& text) {
  constexpr std::size_t kCopies = 512;
  const T* const source = Opaque(&text);
  std::array<std::optional<T>, kCopies> copies;
  while (state.KeepRunningBatch(kCopies)) {
    for (auto& copy : copies) copy.reset();
    const auto start = std::chrono::steady_clock::now();
    for (auto& copy : copies) {
      copy.emplace(*source);
      benchmark::ClobberMemory();
    }
    benchmark::ClobberMemory();
    state.SetIterationTime(std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count());
  }
}

// Libraries may take shortcuts as long as a process has one thread.
template <class T>
void CopyTextBesideThread(benchmark::State& state, const T& text) {
  std::atomic<bool> stop = false;
  std::thread other([&] { stop.wait(false); });
  CopyText(state, text);
  stop = true;
  stop.notify_one();
  other.join();
}

// ---- UTF-8 and UTF-16

// `bytes` of UTF-8, or a few less, so that no character is cut.
std::string Utf8Text(bool mixed, std::size_t bytes) {
  const std::vector<std::string> characters =
      mixed ? std::vector<std::string>{"K", "e", "s", "s", "e", "l", " ", "3",  ":",  " ", "2",
                                       "1", ",", "5", " ", "°", "C", " ", "温", "度", " ", "ü",
                                       "b", "e", "r", "w", "a", "c", "h", "t",  " ",  "✓", " "}
            : std::vector<std::string>{"B", "o", "i", "l", "e", "r", " ", "3", ":", " ", "2", "1", ".", "5", " "};
  std::string text;
  for (std::size_t i = 0; text.size() + 3 < bytes; ++i) text += characters[i % characters.size()];
  return text.append(bytes - text.size(), '.');
}

void FromUtf8Ours(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    CString wide{std::string_view(text)};
    benchmark::DoNotOptimize(wide);
    benchmark::ClobberMemory();
  }
}
void ToUtf8Ours(benchmark::State& state, const std::string& text) {
  const CString wide(text);
  for (auto _ : state) {
    std::string narrow = wide.ToUtf8();
    benchmark::DoNotOptimize(narrow);
    benchmark::ClobberMemory();
  }
}
#if ZORUTIL_BENCH_QT
void FromUtf8Qt(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    QString wide = QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
    benchmark::DoNotOptimize(wide);
    benchmark::ClobberMemory();
  }
}
void ToUtf8Qt(benchmark::State& state, const std::string& text) {
  const QString wide = QString::fromStdString(text);
  for (auto _ : state) {
    QByteArray narrow = wide.toUtf8();
    benchmark::DoNotOptimize(narrow);
    benchmark::ClobberMemory();
  }
}
#endif

// ---- names

struct names_t {
  const char* row;
  const char16_t* a;
  const char16_t* b;
};
constexpr names_t kNames[] = {
    {"same name", u"Plant1.Boiler3.FeedWater.FlowRate", u"Plant1.Boiler3.FeedWater.FlowRate"},
    {"same but for case", u"Plant1.Boiler3.FeedWater.FlowRate", u"PLANT1.BOILER3.FEEDWATER.FLOWRATE"},
    {"other name", u"Plant1.Boiler3.FeedWater.FlowRate", u"plant1.boiler3.steam.pressure"},
};

void CompareOurs(benchmark::State& state, const names_t& names) {
  const CString a = names.a;
  const CString b = names.b;
  for (auto _ : state) {
    int order = a.CompareNoCase(b);
    benchmark::DoNotOptimize(order);
    benchmark::ClobberMemory();
  }
}
#if ZORUTIL_BENCH_ICU
void CompareIcu(benchmark::State& state, const names_t& names) {
  UErrorCode status = U_ZERO_ERROR;
  UCollator* const collator = ucol_open("", &status);
  ucol_setStrength(collator, UCOL_SECONDARY);
  const std::u16string a = names.a;
  const std::u16string b = names.b;
  for (auto _ : state) {
    int order =
        ucol_strcoll(collator, a.data(), static_cast<int32_t>(a.size()), b.data(), static_cast<int32_t>(b.size()));
    benchmark::DoNotOptimize(order);
    benchmark::ClobberMemory();
  }
  ucol_close(collator);
}
#endif

template <class Run, class... Args>
auto* Add(const std::string& name, Run run, Args... args) {
  return benchmark::RegisterBenchmark(name.c_str(), run, args...);
}

[[maybe_unused]] const bool registered = [] {
  Add("readings to text/ours", FormatOurs, Readings(), false);
  Add("readings to text/to_chars 15 digits", FormatStdGeneral, Readings());
  Add("readings to text/to_chars shortest", FormatStdShortest, Readings());
  Add("doubles to text/ours", FormatOurs, Results(), false);
  Add("doubles to text/to_chars 15 digits", FormatStdGeneral, Results());
  Add("doubles to text/to_chars shortest", FormatStdShortest, Results());
  Add("int32 to text/ours", FormatOurs, Int32s(), true);
  Add("int32 to text/to_chars", FormatStdInt32);
  Add("text to int32/ours", ParseInt32Ours);
  Add("text to int32/ours in a variant", ConvertText, Int32s(), VT_I4);
  Add("text to int32/from_chars", ParseStd<std::int32_t>, Int32s());
  Add("text to readings/ours", ParseDoubleOurs, Readings());
  Add("text to readings/ours in a variant", ConvertText, Readings(), VT_R8);
  Add("text to readings/from_chars", ParseStd<double>, Readings());
  Add("text to doubles/ours", ParseDoubleOurs, Results());
  Add("text to doubles/ours in a variant", ConvertText, Results(), VT_R8);
  Add("text to doubles/from_chars", ParseStd<double>, Results());
  Add("CString copy alone/ours", CopyTextAlone<CString>, CString(kName))->UseManualTime();
  Add("CString copy and destroy/ours", CopyText<CString>, CString(kName));
#if ZORUTIL_BENCH_QT
  Add("CString copy alone/QString", CopyTextAlone<QString>, QString(kName))->UseManualTime();
  Add("CString copy and destroy/QString", CopyText<QString>, QString(kName));
#endif
  for (const bool mixed : {false, true}) {
    for (const std::size_t bytes : {std::size_t{24}, std::size_t{64} << 10}) {
      const std::string text = Utf8Text(mixed, bytes);
      const std::string what = std::string(mixed ? "mixed" : "ASCII") + (bytes == 24 ? " 24 B/" : " 64 KiB/");
      Add("UTF-8 to UTF-16, " + what + "ours", FromUtf8Ours, text);
      Add("UTF-16 to UTF-8, " + what + "ours", ToUtf8Ours, text);
#if ZORUTIL_BENCH_QT
      Add("UTF-8 to UTF-16, " + what + "QString", FromUtf8Qt, text);
      Add("UTF-16 to UTF-8, " + what + "QString", ToUtf8Qt, text);
#endif
    }
  }
  for (const names_t& names : kNames) {
    const std::string row = std::string("compare names, ") + names.row;
    Add(row + "/ours", CompareOurs, names);
#if ZORUTIL_BENCH_ICU
    Add(row + "/ucol_strcoll", CompareIcu, names);
#endif
  }
  // Last: a process that once had a second thread may be slower ever after.
  Add("CString copy and destroy, two threads/ours", CopyTextBesideThread<CString>, CString(kName));
#if ZORUTIL_BENCH_QT
  Add("CString copy and destroy, two threads/QString", CopyTextBesideThread<QString>, QString(kName));
#endif
  return true;
}();

}  // namespace
