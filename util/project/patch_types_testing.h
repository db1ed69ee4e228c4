// For tests and fuzz targets of patches: a recipe with steps in an order of their own and parts in that of their names,
// an object that refuses and checks, and hooks that are counted and can throw. Beside the plants.
#pragma once

#include <stdexcept>

#include "util/i18n/message_exception.h"
#include "util/objects/described_object.h"
#include "util/objects/unordered_table.h"
#include "util/project/plant_types_testing.h"
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
  static inline int insertionsLeft = -1;  ///< that do not throw; -1: all

 private:
  void OnRecordInsert(unsigned) override {
    if (insertionsLeft == 0) {
      insertionsLeft = -1;
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

}  // namespace patch_testing
