// Whole arrays: scaling beside a bare loop that does the same and beside a list of QVariants; the deadband test of two
// unchanged arrays as a rate.
#include <benchmark/benchmark.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <limits>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "util/tagproc/scaling.h"
#include "util/values/safe_array.h"
#include "util/values/variant.h"
#include "util/values/variant_compare.h"

#if ZORUTIL_BENCH_QT
#include <QList>
#include <QVariant>
#endif

namespace {

// Processor time of this thread in seconds, so that others on the machine disturb less.
double Now() {
  timespec now{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

constexpr double kRawLow = -20'000, kRawHigh = 20'000, kScaledLow = -5'000, kScaledHigh = 15'000;

CScaling Linear(DATATYPE scaled) {
  CScaling scaling;
  scaling.SetScalingType(CScaling::LINEAR);
  scaling.SetScaledDataType(scaled);
  scaling.SetRawLow(kRawLow);
  scaling.SetRawHigh(kRawHigh);
  scaling.SetScaledLow(kScaledLow);
  scaling.SetScaledHigh(kScaledHigh);
  scaling.SetClampLow(true);
  scaling.SetClampHigh(true);
  return scaling;
}

// Raw values of which some are clamped.
template <class T>
std::vector<T> RawValues(std::size_t count) {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> uniform(-25'000, 25'000);
  std::vector<T> values(count);
  for (T& value : values) value = static_cast<T>(uniform(random));
  return values;
}

// More than 65,535 rows or columns are converted by no rule, so a million stands in a square.
template <class T>
CVariant MakeArray(const std::vector<T>& values) {
  const auto side = static_cast<unsigned short>(std::lround(std::sqrt(static_cast<double>(values.size()))));
  if (std::size_t{side} * side == values.size()) return CVariant(side, side, variant_element_v<T>, values.data());
  return CVariant::FromArray(std::span<const T>(values));
}

// Measures `work` on fresh inputs. These are made outside the measured time, a few at once where one is soon done.
template <class Make, class Work>
void Measure(benchmark::State& state, std::size_t count, Make make, Work work) {
  const std::size_t batch = count > 10'000 ? 1 : 16;
  using value_t = decltype(make());
  while (state.KeepRunningBatch(static_cast<benchmark::IterationCount>(batch))) {
    std::vector<value_t> values;
    for (std::size_t i = 0; i != batch; ++i) values.push_back(make());
    benchmark::ClobberMemory();
    const double start = Now();
    for (value_t& value : values) work(value);
    benchmark::ClobberMemory();
    state.SetIterationTime(Now() - start);
  }
}

template <class From, class To>
void ScaleOurs(benchmark::State& state, DATATYPE scaled) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const CVariant source = MakeArray(RawValues<From>(count));
  const CScaling scaling = Linear(scaled);
  bool done = true;
  Measure(
      state, count, [&] { return source; }, [&](CVariant& value) { done &= scaling.DoScaling(value); });
  if (!done) state.SkipWithError("not scaled");
}

// The loops that one would write for the pair of types, compiled as the rest of a program is.
double ScaleBare(double x) {
  constexpr double kSlope = (kScaledHigh - kScaledLow) / (kRawHigh - kRawLow);
  x = std::min(std::max(x, kRawLow), kRawHigh);
  return kSlope * (x - kRawLow) + kScaledLow;
}

template <class From, class To>
bool ScaleBare(const From* __restrict in, std::size_t count, To* __restrict out) {
  bool fits = true;
  for (std::size_t i = 0; i < count; ++i) {
    const double x = ScaleBare(static_cast<double>(in[i]));
    if constexpr (std::is_same_v<To, double>) {
      out[i] = x;
    } else {
      fits = fits & (x >= std::numeric_limits<To>::lowest()) & (x <= std::numeric_limits<To>::max());
      out[i] = static_cast<To>(std::lrint(x));
    }
  }
  return fits;
}

void ScaleBareInPlace(double* values, std::size_t count) {
  for (std::size_t i = 0; i < count; ++i) values[i] = ScaleBare(values[i]);
}

template <class From, class To>
void ScaleBareLoop(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  const std::vector<From> source = RawValues<From>(count);
  bool done = true;
  if constexpr (std::is_same_v<From, double> && std::is_same_v<To, double>) {
    // As ours does: in place.
    const auto make = [&] { return source; };
    Measure(state, count, make, [&](std::vector<double>& values) { ScaleBareInPlace(values.data(), count); });
  } else {
    using value_t = std::pair<std::vector<From>, std::unique_ptr<To[]>>;
    const auto make = [&] { return value_t(source, nullptr); };
    Measure(state, count, make, [&](value_t& value) {
      value.second = std::make_unique_for_overwrite<To[]>(count);
      done &= ScaleBare(value.first.data(), count, value.second.get());
      value.first = {};
    });
  }
  if (!done) state.SkipWithError("not scaled");
}

#if ZORUTIL_BENCH_QT
template <class From, class To>
void ScaleQt(benchmark::State& state) {
  const auto count = static_cast<std::size_t>(state.range(0));
  QVariantList source;
  for (const From value : RawValues<From>(count)) source.append(QVariant::fromValue(value));
  const double slope = (kScaledHigh - kScaledLow) / (kRawHigh - kRawLow);
  bool done = true;
  const auto make = [&] { return source; };
  Measure(state, count, make, [&](QVariantList& list) {
    QVariantList scaled;
    scaled.reserve(list.size());
    for (const QVariant& raw : std::as_const(list)) {
      const double clamped = std::min(std::max(raw.toDouble(), kRawLow), kRawHigh);
      const double x = slope * (clamped - kRawLow) + kScaledLow;
      if constexpr (std::is_same_v<To, double>) {
        scaled.append(QVariant(x));
      } else {
        done &= x >= std::numeric_limits<To>::lowest() && x <= std::numeric_limits<To>::max();
        scaled.append(QVariant::fromValue(static_cast<To>(std::lrint(x))));
      }
    }
    list = std::move(scaled);
  });
  if (!done) state.SkipWithError("not scaled");
}
#endif

// ---- unchanged arrays

template <class T>
void Unchanged(benchmark::State& state, bool equal) {
  constexpr std::size_t kCount = 1'000'000;
  std::vector<T> values = RawValues<T>(kCount);
  for (T& value : values) value = static_cast<T>(std::clamp<double>(value, -100, 100));
  const CVariant before = MakeArray(values);
  if (!equal) {
    for (T& value : values) value = static_cast<T>(value + 1);
  }
  const CVariant after = MakeArray(values);
  bool changed = false;
  for (auto _ : state) {
    changed |= CVariantCompare::IsValueChanged(before, after, 2.5, CVariantCompare::EQUAL_IS_CHANGED);
    benchmark::ClobberMemory();
  }
  if (changed) state.SkipWithError("taken as changed");
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(2 * kCount * sizeof(T)));
}

template <class From, class To>
void AddScaling(const std::string& what, DATATYPE scaled) {
  for (const std::int64_t count : {1'000, 1'000'000}) {
    const std::string row = "scale " + what + " x " + std::to_string(count) + "/";
    const auto add = [&](const char* who, auto run) {
      benchmark::RegisterBenchmark((row + who).c_str(), run)->Arg(count)->UseManualTime();
    };
    add("ours", [scaled](benchmark::State& state) { ScaleOurs<From, To>(state, scaled); });
    add("bare loop", ScaleBareLoop<From, To>);
#if ZORUTIL_BENCH_QT
    add("QVariantList", ScaleQt<From, To>);
#endif
  }
}

template <class T>
void AddUnchanged(const std::string& what) {
  benchmark::RegisterBenchmark(("equal arrays of " + what + "/ours").c_str(), Unchanged<T>, true);
  benchmark::RegisterBenchmark(("arrays of " + what + " within the deadband/ours").c_str(), Unchanged<T>, false);
}

[[maybe_unused]] const bool registered = [] {
  AddScaling<std::int16_t, double>("int16 to double", DT_DOUBLE);
  AddScaling<std::int16_t, std::int16_t>("int16 to int16", DT_SHORT);
  AddScaling<std::int32_t, double>("int32 to double", DT_DOUBLE);
  AddScaling<std::int32_t, std::int32_t>("int32 to int32", DT_LONG);
  AddScaling<double, double>("double to double", DT_DOUBLE);
  AddUnchanged<std::int8_t>("int8");
  AddUnchanged<std::int16_t>("int16");
  AddUnchanged<std::int32_t>("int32");
  AddUnchanged<float>("float");
  AddUnchanged<double>("double");
  return true;
}();

}  // namespace
