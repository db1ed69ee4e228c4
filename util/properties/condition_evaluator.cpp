#include "util/properties/condition_evaluator_internal.h"

#include <algorithm>

#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/validation.h"

namespace zorutil::properties {

CConditionEvaluator::CConditionEvaluator(const property_list_t& list) {
  entries_.reserve(list.size());
  ids_.reserve(list.size());
  CDefinitionStore& definitions = GetDefinitionStore();
  for (const auto& property : list) {
    if (property.get() == nullptr) continue;
    const int id = property->GetId();
    entries_.push_back({property.get(), definitions.FindDefinition(id)});
    ids_.push_back(id);
  }
}

std::size_t CConditionEvaluator::Find(int id) {
  if (ids_.size() <= kScanned) {
    const auto found = std::find(ids_.begin(), ids_.end(), id);
    return found == ids_.end() ? kNone : static_cast<std::size_t>(found - ids_.begin());
  }
  if (order_.empty()) {
    for (std::size_t at = 0; at < ids_.size(); ++at) order_.emplace_back(ids_[at], static_cast<std::uint32_t>(at));
    std::sort(order_.begin(), order_.end());
  }
  const auto found = std::lower_bound(order_.begin(), order_.end(), std::pair<int, std::uint32_t>(id, 0));
  return found == order_.end() || found->first != id ? kNone : found->second;
}

void CConditionEvaluator::ThrowCircle(int lastId) const {
  std::string ids;
  // Of a long way the end tells enough.
  constexpr std::size_t kTold = 8;
  for (std::size_t i = path_.size() - std::min(path_.size(), kTold); i < path_.size(); ++i) {
    ids += std::to_string(ids_[path_[i]]) + " -> ";
  }
  throw CConditionCircle("the conditions of properties lead back to themselves, or through more than " +
                         std::to_string(kMaxConditionDepth) + " properties: " + ids + std::to_string(lastId));
}

bool CConditionEvaluator::IsEntryAllowed(std::size_t at) {
  const entry_t& entry = entries_[at];
  if (entry.definition == nullptr || entry.definition->GetAllowConditions().empty()) return true;
  if (states_.empty()) states_.resize(entries_.size());
  state_t& state = states_[at];
  if (state == kAllowed || state == kForbidden) return state == kAllowed;
  if (state == kEvaluating) {
    for (const std::size_t each : path_) states_[each] = kCircle;
  }
  if (state == kCircle || path_.size() >= kMaxConditionDepth) ThrowCircle(ids_[at]);

  state = kEvaluating;
  path_.push_back(at);
  try {
    state = Hold(entry.definition->GetAllowConditions(), ids_[at]) ? kAllowed : kForbidden;
  } catch (...) {
    if (state == kEvaluating) state = kUnknown;
    path_.pop_back();
    throw;
  }
  path_.pop_back();
  return state == kAllowed;
}

bool CConditionEvaluator::Holds(const IPropertyCondition& condition, int byte) {
  const int watchedId = condition.GetWatchedId();
  if (watchedId == 0) return true;
  std::size_t at = Find(watchedId | byte);
  if (at == kNone && byte != 0) at = Find(watchedId);
  if (at == kNone || !IsEntryAllowed(at)) return false;
  return CVariantCompare::Values(condition.GetValue(), entries_[at].property->GetValue(), condition.GetOperation());
}

bool CConditionEvaluator::Hold(const condition_list_t& conditions, int propertyId) {
  bool holds = true;
  for (const auto& condition : conditions) {
    holds = Holds(*condition, propertyId & 0xFF);
    if (condition->GetOperation() == (holds ? CVariantCompare::EQUAL : CVariantCompare::NOT_EQUAL)) break;
  }
  return holds;
}

// --- validation.h ----------------------------------------------------------------------------------------------------

bool EvaluateCondition(const IPropertyCondition& condition, unsigned char byte, const property_list_t& list) {
  return CConditionEvaluator(list).Holds(condition, byte);
}

bool EvaluateConditions(const std::shared_ptr<IProperty>& property, const condition_list_t& conditions,
                        const property_list_t& list) {
  if (conditions.empty()) return true;
  return CConditionEvaluator(list).Hold(conditions, property.get() == nullptr ? 0 : property->GetId());
}

bool IsAllowed(const std::shared_ptr<IProperty>& property, const property_list_t& list, IValidationContext&) {
  if (property.get() == nullptr) return true;
  const auto definition = GetDefinition(property->GetId());
  return definition == nullptr || EvaluateConditions(property, definition->GetAllowConditions(), list);
}

bool IsEnabled(const std::shared_ptr<IProperty>& property, const property_list_t& list, IValidationContext&) {
  if (property.get() == nullptr) return true;
  const auto definition = GetDefinition(property->GetId());
  return definition == nullptr || EvaluateConditions(property, definition->GetEnableConditions(), list);
}

}  // namespace zorutil::properties
