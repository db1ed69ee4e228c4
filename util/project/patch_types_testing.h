// For tests and fuzz targets of patches: a recipe with steps in an order of their own and parts in that of their names,
// an object that refuses and checks, and hooks that are counted and can throw. Beside the plants.
#pragma once

#include <algorithm>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "util/i18n/message_exception.h"
#include "util/objects/described_object.h"
#include "util/objects/plant_types_testing.h"
#include "util/objects/unordered_table.h"
#include "util/properties/property_list.h"

namespace patch_testing {

using zorutil::ChildTable;
using zorutil::CreateDescribed;
using zorutil::Field;
using zorutil::MakePropertyId;

enum type_t : short { kRecipe = 911, kStep = 912 };

/// Takes rates up to 1,000; in a table that says so, none. Low must not exceed High.
class CStep final : public zorutil::CDescribedObj {
 public:
  static const zorutil::type_description_t kType;
  CStep() : CDescribedObj(kType) {}
  std::int32_t low = 0, high = 100;
  int GetRate() const { return rate_; }
  bool SetRate(int rate) {
    if (rate > 1000 || (refusesLate && IsInTable() && rate != 1)) return false;
    rate_ = rate;
    return true;
  }
  void ValidateProperties(const property_list_t& list, IValidationContext& context) const override {
    CDescribedObj::ValidateProperties(list, context);
    if (low > high) {
      throw i18n::message_exception_t(i18n::MakeNonLocalizedMessage(CString(u"low above high")), u"Low", u"",
                                      MakePropertyId(911, 1), E_INVALIDARG);
    }
  }
  static inline bool refusesLate = false;

 private:
  static const zorutil::field_t kFields[];
  std::int32_t rate_ = 1;
};

/// Steps in the order in which they come.
class CSteps final : public CUnorderedTable {
 public:
  explicit CSteps(CTableObj& recipe) : CUnorderedTable(kStep, true, 1) { SetOwner(&recipe); }
  CString GetTableName() const override { return u"Steps"; }
  bool CanHold(const CTableObj& object) const override { return object.GetType() == kStep; }
};

/// Steps by their names; knows by its hooks how many there are.
class CParts final : public zorutil::CChildTable {
 public:
  explicit CParts(zorutil::CDescribedObj& recipe) : CChildTable(recipe, 1) {}
  int heard = 0;
  static inline int insertionsLeft = -1;    ///< that do not throw; -1: all
  static inline bool renamesFirst = false;  ///< calls the first part "X" before it throws

 private:
  void OnRecordInsert(unsigned) override {
    if (insertionsLeft == 0) {
      insertionsLeft = -1;
      if (std::exchange(renamesFirst, false)) GetRecord(0)->SetName(u"X");
      throw std::runtime_error("no part comes in");
    }
    if (insertionsLeft > 0) --insertionsLeft;
    ++heard;
  }
  void OnRecordRemove(unsigned) override { --heard; }
};

class CRecipe final : public zorutil::CDescribedObj {
 public:
  static const zorutil::type_description_t kType;
  CRecipe() : CDescribedObj(kType) {}
  CSteps steps{*this};
  CParts parts{*this};

 private:
  static const zorutil::child_table_t kTables[];
};

inline constexpr zorutil::field_t CStep::kFields[] = {
    Field<&CStep::low>(MakePropertyId(911, 1), u"Low"), Field<&CStep::high>(MakePropertyId(911, 2), u"High"),
    Field<&CStep::GetRate, &CStep::SetRate>(MakePropertyId(911, 3), u"Rate")};
inline constexpr zorutil::type_description_t CStep::kType = {kStep, 0, 1, u"Step", &CreateDescribed<CStep>, kFields};
inline constexpr zorutil::child_table_t CRecipe::kTables[] = {ChildTable<&CRecipe::steps, kStep>(u"Steps"),
                                                              ChildTable<&CRecipe::parts, kStep>(u"Parts")};
inline constexpr zorutil::type_description_t CRecipe::kType = {kRecipe, 0,      1, u"Recipe", &CreateDescribed<CRecipe>,
                                                               {},      kTables};

/// All types, as long as it lives.
class CTypes {
 public:
  CTypes() {
    zorutil::RegisterType(CRecipe::kType);
    zorutil::RegisterType(CStep::kType);
  }
  CTypes(const CTypes&) = delete;
  CTypes& operator=(const CTypes&) = delete;
  ~CTypes() {
    zorutil::UnregisterType(CRecipe::kType);
    zorutil::UnregisterType(CStep::kType);
  }

 private:
  plant_testing::CTypes plants_;
};

/// A recipe "R" with the steps of these names, and parts "A", "B" and "C".
inline zorutil::owned_obj_ptr MakeRecipe(std::initializer_list<const char16_t*> steps) {
  auto* const recipe = new CRecipe;
  zorutil::owned_obj_ptr owner(recipe);
  recipe->SetName(u"R");
  for (const char16_t* name : steps) plant_testing::Add<CStep>(recipe->steps, name);
  for (const char16_t* name : {u"A", u"B", u"C"}) plant_testing::Add<CStep>(recipe->parts, name);
  return owner;
}

/// Plant: channels C0 and C1 of a device D of tags T0 and T1, which differ; a tag P.
inline zorutil::owned_obj_ptr MakePlant() {
  auto* const plant = new plant_testing::CPlant;
  zorutil::owned_obj_ptr owner(plant);
  plant->SetName(u"Plant");
  for (const char16_t* channel : {u"C0", u"C1"}) {
    auto& device = plant_testing::Add<plant_testing::CDevice>(
        plant_testing::Add<plant_testing::CChannel>(plant->channels, channel).devices, u"D");
    for (const char16_t* tag : {u"T0", u"T1"}) {
      plant_testing::CTag& made = plant_testing::Add<plant_testing::CTag>(device.tags, tag);
      made.address = channel;
      made.isWritable = tag[1] == u'0';
    }
  }
  plant_testing::Add<plant_testing::CTag>(plant->tags, u"P").SetDescription(u"of all");
  return owner;
}

/// Single quotes stand for double ones, and "$" for the way to the first device.
inline std::string Expand(std::string_view text) {
  std::string expanded;
  for (const char c : text) {
    if (c == '$') {
      expanded += "/Channels/C0/Devices/D";
    } else {
      expanded += c == '\'' ? '"' : c;
    }
  }
  return expanded;
}

/// A patch in few words, "move FROM PATH; replace PATH VALUE; remove PATH", or a JSON text; expanded.
inline std::string Patch(std::string_view text) {
  const std::string patch = Expand(text);
  if (patch.find_first_of("[{") == 0) return patch;
  std::string operations;
  for (std::size_t at = 0; at < patch.size();) {
    const std::size_t end = std::min(patch.find("; ", at), patch.size());
    const std::string one = patch.substr(at, end - at);
    const std::size_t first = one.find(' ');
    const std::size_t second = std::min(one.find(' ', first + 1), one.size());
    const std::string op = one.substr(0, first), place = one.substr(first + 1, second - first - 1);
    operations += (operations.empty() ? "" : ",") + ("{\"op\":\"" + op + "\",\"path\":\"");
    if (op == "move" || op == "copy") {
      operations += one.substr(second + 1) + "\",\"from\":\"" + place + "\"}";
    } else {
      operations += place + (second < one.size() ? "\",\"value\":" + one.substr(second + 1) : "\"") + "}";
    }
    at = end + 2;
  }
  return "[" + operations + "]";
}

}  // namespace patch_testing
