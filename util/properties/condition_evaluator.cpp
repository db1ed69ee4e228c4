#include "util/properties/condition_evaluator_internal.h"

#include <algorithm>

#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/validation.h"

namespace zorutil::properties {
namespace {

// After an "==" that holds and a "!=" that does not, no further condition is looked at.
bool IsDecided(const IPropertyCondition& condition, bool holds) {
  return condition.GetOperation() == (holds ? CVariantCompare::EQUAL : CVariantCompare::NOT_EQUAL);
}

bool Hold(int id, const condition_list_t& conditions, const property_list_t& list, CDefinitionStore& definitions) {
  return conditions.empty() || CConditionEvaluator(list, definitions).Hold(conditions, id);
}

using get_conditions_t = const condition_list_t& (IPropertyDefinition::*)() const;

bool HoldForOne(const std::shared_ptr<IProperty>& property, get_conditions_t getConditions, const property_list_t& list,
                CDefinitionStore& definitions) {
  if (property.get() == nullptr) return true;
  const IPropertyDefinition* const definition = definitions.FindDefinition(property->GetId());
  return definition == nullptr || Hold(property->GetId(), (definition->*getConditions)(), list, definitions);
}

}  // namespace

CConditionEvaluator::CConditionEvaluator(const property_list_t& list, CDefinitionStore& definitions) {
  entries_.reserve(list.size());
  ids_.reserve(list.size());
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

bool CConditionEvaluator::IsEntryAllowed(std::size_t at) {
  if (GetState(at) == kUnknown) Evaluate(at);
  if (GetState(at) == kCircle) ThrowCircle(at);
  return GetState(at) == kAllowed;
}

CConditionEvaluator::state_t CConditionEvaluator::GetState(std::size_t at) const {
  const IPropertyDefinition* const definition = entries_[at].definition;
  if (definition == nullptr || definition->GetAllowConditions().empty()) return kAllowed;
  return states_.empty() ? kUnknown : states_[at];
}

// Conditions watch properties whose conditions watch others. The way is kept here and not on the stack of the thread,
// so that no list is too long.
void CConditionEvaluator::Evaluate(std::size_t at) {
  states_.resize(entries_.size());
  path_.clear();
  for (std::size_t next = at;;) {
    if (next != kNone) {
      if (GetState(next) == kEvaluating || GetState(next) == kCircle) ThrowCircle(next);
      path_.push_back({next, 0});
      states_[next] = kEvaluating;
    }
    next = kNone;
    frame_t& frame = path_.back();
    const bool holds = Advance(frame, next);
    if (next != kNone) continue;
    states_[frame.at] = holds ? kAllowed : kForbidden;
    path_.pop_back();
    if (path_.empty()) return;
  }
}

// Whether the allow conditions hold, from the frame's on; or which entry must be decided before.
bool CConditionEvaluator::Advance(frame_t& frame, std::size_t& undecided) {
  const condition_list_t& conditions = entries_[frame.at].definition->GetAllowConditions();
  for (;; ++frame.nextCondition) {
    const IPropertyCondition& condition = *conditions[frame.nextCondition];
    const std::size_t watched = FindWatched(condition, ids_[frame.at] & 0xFF);
    if (watched != kNone && GetState(watched) != kAllowed && GetState(watched) != kForbidden) {
      undecided = watched;
      return false;
    }
    const bool holds = HoldsFor(condition, watched);
    if (IsDecided(condition, holds) || frame.nextCondition + 1 == conditions.size()) return holds;
  }
}

void CConditionEvaluator::ThrowCircle(std::size_t last) {
  // Of a long way the end tells enough.
  constexpr std::size_t kTold = 8;
  std::string ids;
  for (std::size_t i = 0; i < path_.size(); ++i) {
    if (i + kTold >= path_.size()) ids += std::to_string(ids_[path_[i].at]) + " -> ";
    states_[path_[i].at] = kCircle;
  }
  path_.clear();
  throw CConditionCircle("the conditions of properties lead back to themselves: " + ids + std::to_string(ids_[last]));
}

std::size_t CConditionEvaluator::FindWatched(const IPropertyCondition& condition, int byte) {
  const int id = condition.GetWatchedId();
  if (id == 0) return kNone;
  const std::size_t found = Find(id | byte);
  return found == kNone && byte != 0 ? Find(id) : found;
}

bool CConditionEvaluator::HoldsFor(const IPropertyCondition& condition, std::size_t watched) const {
  if (condition.GetWatchedId() == 0) return true;
  return watched != kNone && GetState(watched) == kAllowed &&
         CVariantCompare::Values(condition.GetValue(), entries_[watched].property->GetValue(),
                                 condition.GetOperation());
}

bool CConditionEvaluator::Holds(const IPropertyCondition& condition, int byte) {
  const std::size_t watched = FindWatched(condition, byte);
  return (watched == kNone || IsEntryAllowed(watched)) && HoldsFor(condition, watched);
}

bool CConditionEvaluator::Hold(const condition_list_t& conditions, int propertyId) {
  bool holds = true;
  for (const auto& condition : conditions) {
    holds = Holds(*condition, propertyId & 0xFF);
    if (IsDecided(*condition, holds)) break;
  }
  return holds;
}

// --- validation.h ----------------------------------------------------------------------------------------------------

bool EvaluateCondition(const IPropertyCondition& condition, unsigned char byte, const property_list_t& list) {
  return CConditionEvaluator(list, GetDefinitionStore()).Holds(condition, byte);
}

bool EvaluateConditions(const std::shared_ptr<IProperty>& property, const condition_list_t& conditions,
                        const property_list_t& list) {
  return Hold(property.get() == nullptr ? 0 : property->GetId(), conditions, list, GetDefinitionStore());
}

bool IsAllowed(const std::shared_ptr<IProperty>& property, const property_list_t& list, IValidationContext& context) {
  return HoldForOne(property, &IPropertyDefinition::GetAllowConditions, list, context.GetDefinitions());
}

bool IsEnabled(const std::shared_ptr<IProperty>& property, const property_list_t& list, IValidationContext& context) {
  return HoldForOne(property, &IPropertyDefinition::GetEnableConditions, list, context.GetDefinitions());
}

}  // namespace zorutil::properties
