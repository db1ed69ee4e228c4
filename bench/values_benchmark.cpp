// Scalars and strings in a CVariant beside what a program could use instead: a bare tagged union, std::variant,
// Boost.JSON's value, QVariant.
#include <benchmark/benchmark.h>

#include <array>
#include <cmath>
#include <cstdint>
#include <random>
#include <string>
#include <variant>

#include "bench/opaque.h"
#include "platform/framework/cstring.h"
#include "util/values/variant.h"
#include "util/values/variant_compare.h"

#if ZORUTIL_BENCH_BOOST_JSON
#include <boost/json.hpp>
#endif
#if ZORUTIL_BENCH_QT
#include <QString>
#include <QVariant>
#endif

namespace {

// As little as a value that knows its type can be.
struct bare_t {
  enum type_t : std::uint16_t { INT16, INT32, DOUBLE } type;
  union {
    std::int16_t asInt16;
    std::int32_t asInt32;
    double asDouble;
  };
};
static_assert(sizeof(bare_t) == sizeof(CVariant));

constexpr std::size_t kValues = 256;
template <class T>
using values_t = std::array<T, kValues>;

// Some whole, some not, both signs.
values_t<double> Numbers() {
  std::mt19937 random(1);
  std::uniform_real_distribution<double> uniform(-1e6, 1e6);
  values_t<double> numbers;
  for (double& number : numbers) number = uniform(random);
  return numbers;
}

template <class T, class Make>
values_t<T> MakeValues(Make make) {
  const values_t<double> numbers = Numbers();
  values_t<T> values;
  for (std::size_t i = 0; i != kValues; ++i) values[i] = make(numbers[i]);
  return values;
}

CVariant OurDouble(double number) { return CVariant::FromDouble(number); }
CVariant OurInt16(double number) { return CVariant::FromInt16(static_cast<std::int16_t>(number / 100)); }
bare_t BareDouble(double number) { return {bare_t::DOUBLE, {.asDouble = number}}; }
bare_t BareInt16(double number) { return {bare_t::INT16, {.asInt16 = static_cast<std::int16_t>(number / 100)}}; }

// Runs `step` on each element, again and again; the time is that of one.
template <class T, class Step>
void Each(benchmark::State& state, const values_t<T>& values, Step step) {
  const T* const at = Opaque(values.data());
  std::size_t i = 0;
  for (auto _ : state) {
    step(at[i]);
    i = (i + 1) % kValues;
  }
}

// ---- copying

template <class T>
void Copy(benchmark::State& state, const values_t<T>& values) {
  Each(state, values, [](const T& value) {
    T copy(value);
    benchmark::DoNotOptimize(copy);
  });
}

template <class T>
void CopyOver(benchmark::State& state, const values_t<T>& values) {
  T target = values[0];
  Each(state, values, [&](const T& value) {
    target = value;
    benchmark::DoNotOptimize(target);
  });
}

constexpr char16_t kText[] = u"Boiler house/Feed water pump 2/A";
static_assert(std::size(kText) == 33);
using std_variant_t =
    std::variant<std::monostate, bool, std::int16_t, std::int32_t, std::int64_t, float, double, std::u16string>;

void CopyStringOurs(benchmark::State& state) {
  Copy(state, MakeValues<CVariant>([](double) { return CVariant(kText); }));
}
void CopyStringStd(benchmark::State& state) {
  Copy(state, MakeValues<std_variant_t>([](double) { return std_variant_t(kText); }));
}

#if ZORUTIL_BENCH_BOOST_JSON
void CopyStringBoost(benchmark::State& state) {
  Copy(state, MakeValues<boost::json::value>([](double) { return boost::json::value(CString(kText).ToUtf8()); }));
}
#endif
#if ZORUTIL_BENCH_QT
void CopyStringQt(benchmark::State& state) {
  Copy(state, MakeValues<QVariant>([](double) { return QVariant(QString::fromUtf16(kText)); }));
}
#endif

// ---- converting: each step makes a value and converts it

void Int32ToDoubleOurs(benchmark::State& state) {
  Each(state, Numbers(), [](double number) {
    CVariant value = CVariant::FromInt32(static_cast<std::int32_t>(number));
    benchmark::DoNotOptimize(value);
    bool converted = value.ConvertType(VT_R8, CVariant::CONVERT_OR_KEEP);
    benchmark::DoNotOptimize(converted);
    benchmark::DoNotOptimize(value);
  });
}
void DoubleToInt32Ours(benchmark::State& state) {
  Each(state, Numbers(), [](double number) {
    CVariant value = CVariant::FromDouble(number);
    benchmark::DoNotOptimize(value);
    bool converted = value.ConvertType(VT_I4, CVariant::CONVERT_OR_KEEP);
    benchmark::DoNotOptimize(converted);
    benchmark::DoNotOptimize(value);
  });
}
void DoubleToInt32CheckedOurs(benchmark::State& state) {
  Each(state, Numbers(), [](double number) {
    CVariant value = CVariant::FromDouble(number);
    benchmark::DoNotOptimize(value);
    HRESULT result = value.ConvertTypeEx(VT_I4, 0, true);
    benchmark::DoNotOptimize(result);
    benchmark::DoNotOptimize(value);
  });
}
#if ZORUTIL_BENCH_QT
template <class From>
void ConvertQt(benchmark::State& state, QMetaType::Type target) {
  Each(state, Numbers(), [target](double number) {
    QVariant value(static_cast<From>(number));
    benchmark::DoNotOptimize(value);
    bool converted = value.convert(QMetaType(target));
    benchmark::DoNotOptimize(converted);
    benchmark::DoNotOptimize(value);
  });
}
#endif

// ---- deadband: each value against one that differs by half of it, or by twice as much

constexpr double kDeadband = 5;

double BareNumber(const bare_t& value) {
  switch (value.type) {
    case bare_t::INT16: return value.asInt16;
    case bare_t::INT32: return value.asInt32;
    default: return value.asDouble;
  }
}

bool IsChanged(const CVariant& a, const CVariant& b, double deadband) {
  return CVariantCompare::IsValueChanged(a, b, deadband, CVariantCompare::EQUAL_IS_CHANGED);
}
bool IsChanged(const bare_t& a, const bare_t& b, double deadband) {
  return a.type != b.type || std::fabs(BareNumber(b) - BareNumber(a)) >= deadband;
}

template <class T>
void Deadband(benchmark::State& state, T (*make)(double)) {
  const auto before = MakeValues<T>(make);
  const auto after =
      MakeValues<T>([&, i = 0](double number) mutable { return make(number + (++i % 8 == 0 ? 1000 : 2)); });
  const double deadband = Opaque(kDeadband);
  const T* const now = Opaque(after.data());
  Each(state, before, [&, i = std::size_t{0}](const T& value) mutable {
    bool changed = IsChanged(value, now[i], deadband);
    benchmark::DoNotOptimize(changed);
    i = (i + 1) % kValues;
  });
}

template <class Run, class... Args>
void Add(const std::string& name, Run run, Args... args) {
  benchmark::RegisterBenchmark(name.c_str(), run, args...);
}

[[maybe_unused]] const bool registered = [] {
  Add("copy scalar/ours", Copy<CVariant>, MakeValues<CVariant>(OurDouble));
  Add("copy scalar/bare union", Copy<bare_t>, MakeValues<bare_t>(BareDouble));
  Add("assign scalar/ours", CopyOver<CVariant>, MakeValues<CVariant>(OurDouble));
  Add("assign scalar/bare union", CopyOver<bare_t>, MakeValues<bare_t>(BareDouble));
  Add("copy string/ours", CopyStringOurs);
  Add("copy string/std::variant", CopyStringStd);
#if ZORUTIL_BENCH_BOOST_JSON
  Add("copy string/Boost.JSON", CopyStringBoost);
  Add("copy string/QVariant", CopyStringQt);
#endif
  Add("int32 to double/ours", Int32ToDoubleOurs);
  Add("double to int32/ours", DoubleToInt32Ours);
  Add("double to int32 checked/ours", DoubleToInt32CheckedOurs);
#if ZORUTIL_BENCH_QT
  Add("int32 to double/QVariant", ConvertQt<int>, QMetaType::Double);
  Add("double to int32/QVariant", ConvertQt<double>, QMetaType::Int);
#endif
  Add("deadband of doubles/ours", Deadband<CVariant>, OurDouble);
  Add("deadband of doubles/bare union", Deadband<bare_t>, BareDouble);
  Add("deadband of int16/ours", Deadband<CVariant>, OurInt16);
  Add("deadband of int16/bare union", Deadband<bare_t>, BareInt16);
  return true;
}();

}  // namespace
