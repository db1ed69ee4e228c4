// The conditions of all properties of one list, each evaluated once.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "util/properties/property_definition.h"
#include "util/properties/property_list.h"

namespace zorutil::properties {

class CDefinitionStore;

/// CException -1: conditions that lead back to themselves.
class CConditionCircle : public zorplatform::CException {
 public:
  explicit CConditionCircle(std::string text) : CException(kEndOfStream, std::move(text)) {}
};

/// Whether a property of the list is allowed depends on its id and the list alone, so one answer serves every condition
/// that watches it, and all conditions together cost no more than their number. The list, its properties and values
/// stay as they are while this is used, and the definitions stay alive.
class CConditionEvaluator {
 public:
  struct entry_t {
    const IProperty* property;
    const IPropertyDefinition* definition;  // null when there is none
  };

  CConditionEvaluator(const property_list_t& list, CDefinitionStore& definitions);

  /// The list without its empty pointers.
  const std::vector<entry_t>& GetEntries() const noexcept { return entries_; }
  bool IsEntryAllowed(std::size_t at);
  bool Holds(const IPropertyCondition& condition, int byte);
  bool Hold(const condition_list_t& conditions, int propertyId);

 private:
  enum state_t : std::uint8_t { kUnknown, kEvaluating, kForbidden, kAllowed, kCircle };
  struct frame_t {
    std::size_t at;
    std::size_t nextCondition;
  };
  static constexpr std::size_t kNone = ~std::size_t{0};
  static constexpr std::size_t kScanned = 64;  // entries; longer lists are searched by order

  std::size_t Find(int id);
  std::size_t FindWatched(const IPropertyCondition& condition, int byte);
  bool HoldsFor(const IPropertyCondition& condition, std::size_t watched) const;
  state_t GetState(std::size_t at) const;
  void Evaluate(std::size_t at);
  bool Advance(frame_t& frame, std::size_t& undecided);
  [[noreturn]] void ThrowCircle(std::size_t last);

  std::vector<entry_t> entries_;
  std::vector<int> ids_;
  std::vector<state_t> states_;
  std::vector<std::pair<int, std::uint32_t>> order_;  // by id, then place; filled by the first search of a long list
  std::vector<frame_t> path_;                         // the entries that are being evaluated, each for the one before
};

}  // namespace zorutil::properties
