// Checking an object of 40 properties beside a hand-written check of the same rules, and finding definitions.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/ole/string.h"
#include "platform/zorplatform/app_dir.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/definition_testing.h"
#include "util/properties/validation.h"

namespace {

using namespace zorutil::properties;
using definition_testing::Define;
using definition_testing::When;

constexpr int kProperties = 40;
constexpr int kNamespace = 12;
constexpr int kDefinitions = 10'000;
constexpr int kNamespaces = 8;

// What an object of the configuration is made of: numbers and words mostly, a few of everything else.
enum kind_t { kBoolean, kUnsigned, kHex, kReal, kName, kChoice, kTime, kKinds };
constexpr kind_t kPattern[10] = {kBoolean, kUnsigned, kUnsigned, kReal, kName, kChoice, kUnsigned, kHex, kName, kTime};
constexpr kind_t KindOf(int i) { return kPattern[i % 10]; }
constexpr int IdOf(int i) { return MakePropertyId(kNamespace, (i + 1) << 8); }

// A third of the properties depend on the mode, which is the first number.
constexpr int kModeIndex = 1;
constexpr bool DependsOnMode(int i) { return i % 3 == 2; }

std::shared_ptr<property_def_t> DefinitionOf(int i) {
  using enum property_type_t;
  const auto u = CVariant::FromUInt;
  std::shared_ptr<property_def_t> definition;
  switch (KindOf(i)) {
    case kBoolean: definition = Define(IdOf(i), u"enabled", TYPE_YES_NO); break;
    case kUnsigned: definition = Define(IdOf(i), u"timeout", TYPE_INTEGER, u(0), u(60'000)); break;
    case kHex: definition = Define(IdOf(i), u"mask", TYPE_HEX, u(0), u(0xFFFF)); break;
    case kReal:
      definition = Define(IdOf(i), u"factor", TYPE_REAL8, CVariant::FromDouble(-1e6), CVariant::FromDouble(1e6));
      break;
    case kName: definition = Define(IdOf(i), u"address", TYPE_STRING, u(1), u(64)); break;
    case kChoice: {
      definition = Define(IdOf(i), u"protocol", TYPE_ENUMERATION);
      enum_value_list_t values;
      for (int value = 0; value < 8; ++value) values.push_back(std::make_shared<enumeration_def_t>(kNamespace, value));
      definition->SetEnumValues(std::move(values));
      break;
    }
    default: definition = Define(IdOf(i), u"start", TYPE_TIME_OF_DAY); break;
  }
  if (DependsOnMode(i)) definition->SetAllowConditions({When(IdOf(kModeIndex), CVariantCompare::EQUAL, u(1))});
  return definition;
}

CVariant ValueOf(int i) {
  switch (KindOf(i)) {
    case kBoolean: return CVariant::FromBool(true);
    case kUnsigned: return CVariant::FromUInt(i == kModeIndex ? 1 : 1000);
    case kHex: return CVariant::FromUInt(0xF0F0);
    case kReal: return CVariant::FromDouble(1.25);
    case kName: return CVariant(u"plc-4.line-2.example");
    case kChoice: return CVariant::FromInt(5);
    default: return CVariant::FromInt32(6 * 3600);
  }
}

// The program's definitions: one namespace of the object above, and others of 10,000 each.
const CTempFolder& Definitions() {
  static const CTempFolder folder;
  static const bool isWritten = [] {
    zorplatform::SetAppDir(folder.GetPath());
    const CString directory = GetPropertiesDir();
    definition_file_t object{kNamespace, u"", {}};
    for (int i = 0; i < kProperties; ++i) object.definitions.push_back(DefinitionOf(i));
    WriteDefinitionFile(directory + u"object.prop", object);
    for (int number = 100; number < 100 + kNamespaces; ++number) {
      definition_file_t file{number, u"", {}};
      for (int i = 0; i < kDefinitions; ++i) {
        CString name(u"property");
        file.definitions.push_back(Define(MakePropertyId(number, i), name + std::to_string(i), TYPE_STRING));
      }
      WriteDefinitionFile(directory + u"many" + std::to_string(number) + u".prop", file);
    }
    CreateIndexFile();
    return true;
  }();
  benchmark::DoNotOptimize(isWritten);
  return folder;
}

property_list_t Object() {
  property_list_t list;
  for (int i = 0; i < kProperties; ++i) list.push_back(CProperty::Create(IdOf(i), ValueOf(i)));
  return list;
}

void ValidateOurs(benchmark::State& state) {
  Definitions();
  const property_list_t object = Object();
  CValidationContext context;
  for (auto _ : state) ValidateProperties(object, context);
}
BENCHMARK(ValidateOurs)->Name("validate 40 properties/ours");

void CollectOurs(benchmark::State& state) {
  Definitions();
  const property_list_t object = Object();
  CValidationContext context;
  for (auto _ : state) benchmark::DoNotOptimize(CollectValidationFailures(object, context));
}
BENCHMARK(CollectOurs)->Name("collect failures of 40 properties/ours");

// What somebody writes who has these 40 properties alone: a row for each id, the values' own types, and the mode looked
// up in the list for each property that depends on it.
struct row_t {
  kind_t kind;
  bool dependsOnMode;
  double min, max;
};

bool CheckByHand(const std::unordered_map<int, row_t>& rows, const property_list_t& list) {
  for (const auto& property : list) {
    const auto found = rows.find(property->GetId());
    if (found == rows.end()) continue;
    const row_t& row = found->second;
    if (row.dependsOnMode) {
      const CVariant* mode = nullptr;
      for (const auto& each : list) {
        if (each->GetId() == IdOf(kModeIndex)) {
          mode = &each->GetValue();
          break;
        }
      }
      if (mode == nullptr || mode->vt != VT_UINT || mode->ulVal != 1) continue;
    }
    const CVariant& value = property->GetValue();
    switch (row.kind) {
      case kBoolean:
        if (value.vt != VT_BOOL) return false;
        break;
      case kUnsigned:
      case kHex:
        if (value.vt != VT_UINT || value.ulVal < row.min || value.ulVal > row.max) return false;
        break;
      case kReal:
        if (value.vt != VT_R8 || !(value.dblVal >= row.min && value.dblVal <= row.max)) return false;
        break;
      case kName: {
        const auto length = static_cast<double>(value.GetStringView().size());
        if (value.vt != VT_BSTR || length < row.min || length > row.max) return false;
        break;
      }
      case kChoice:
        if (value.vt != VT_INT || value.lVal < 0 || value.lVal > 7) return false;
        break;
      default:
        if (value.vt != VT_I4 || value.lVal < 0 || value.lVal > 86'399) return false;
        break;
    }
  }
  return true;
}

void ValidateByHand(benchmark::State& state) {
  static constexpr double kMax[kKinds] = {0, 60'000, 0xFFFF, 1e6, 64, 7, 86'399};
  std::unordered_map<int, row_t> rows;
  for (int i = 0; i < kProperties; ++i) {
    rows[IdOf(i)] = {KindOf(i), DependsOnMode(i),
                     KindOf(i) == kReal   ? -1e6
                     : KindOf(i) == kName ? 1.0
                                          : 0.0,
                     kMax[KindOf(i)]};
  }
  const property_list_t object = Object();
  bool isRight = true;
  for (auto _ : state) isRight &= CheckByHand(rows, object);
  if (!isRight) state.SkipWithError("the object is right");
}
BENCHMARK(ValidateByHand)->Name("validate 40 properties/hand-written");

// Ids all over eight namespaces, so that the memory of the tables counts as it does in a program.
std::vector<int> Ids() {
  std::mt19937 random(1);
  std::uniform_int_distribution<int> number(100, 100 + kNamespaces - 1), index(0, kDefinitions - 1);
  std::vector<int> ids(4096);
  for (int& id : ids) id = MakePropertyId(number(random), index(random));
  return ids;
}

void FindOurs(benchmark::State& state) {
  Definitions();
  const std::vector<int> ids = Ids();
  for (const int id : ids) {
    if (GetDefinition(id) == nullptr) return state.SkipWithError("not found");
  }
  std::size_t next = 0;
  for (auto _ : state) benchmark::DoNotOptimize(GetDefinition(ids[next++ % ids.size()]));
}
BENCHMARK(FindOurs)->Name("find a definition of 80000/ours");
BENCHMARK(FindOurs)->Name("find a definition of 80000, two threads/ours")->Threads(2);

void FindInUse(benchmark::State& state) {
  Definitions();
  std::size_t next = 0;
  for (auto _ : state) benchmark::DoNotOptimize(GetDefinition(IdOf(static_cast<int>(next++ % kProperties))));
}
BENCHMARK(FindInUse)->Name("find a definition of 40 in use/ours");

void FindInMap(benchmark::State& state) {
  std::unordered_map<int, std::shared_ptr<IPropertyDefinition>> map;
  for (int number = 100; number < 100 + kNamespaces; ++number) {
    for (int i = 0; i < kDefinitions; ++i) {
      const int id = MakePropertyId(number, i);
      map[id] = std::make_shared<property_def_t>(id, u"", TYPE_STRING);
    }
  }
  const std::vector<int> ids = Ids();
  std::size_t next = 0;
  for (auto _ : state) {
    std::shared_ptr<IPropertyDefinition> found = map.find(ids[next++ % ids.size()])->second;
    benchmark::DoNotOptimize(found);
  }
}
BENCHMARK(FindInMap)->Name("find a definition of 80000/unordered_map without lock");

void OpenNamespace(benchmark::State& state) {
  const CString directory = Definitions().GetPath() + u"Properties\\";
  for (auto _ : state) {
    CDefinitionStore store(directory);
    benchmark::DoNotOptimize(store.FindDefinition(MakePropertyId(103, 5)));
  }
}
BENCHMARK(OpenNamespace)->Name("open one namespace of 10000 among 9/ours")->Unit(benchmark::kMillisecond);

void WriteNamespace(benchmark::State& state) {
  Definitions();
  const CString directory = Definitions().GetPath();
  definition_file_t file{200, u"", {}};
  for (int i = 0; i < kDefinitions; ++i) {
    file.definitions.push_back(Define(MakePropertyId(200, i), CString(u"property") + std::to_string(i), TYPE_STRING));
  }
  for (auto _ : state) WriteDefinitionFile(directory + u"written.prop", file);
}
BENCHMARK(WriteNamespace)->Name("write 10000 definitions/ours")->Unit(benchmark::kMillisecond);

}  // namespace
