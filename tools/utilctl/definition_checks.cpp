#include "tools/utilctl/definition_checks.h"

#include <algorithm>
#include <unordered_map>
#include <unordered_set>

#include "util/properties/validation.h"

namespace utilctl {

using namespace zorutil::properties;

namespace {

class CChecker {
 public:
  CChecker(const std::vector<definition_ptr_t>& definitions, int namespaceNumber, const find_by_id_t& find,
           unsigned short language)
      : definitions_(definitions), namespaceNumber_(namespaceNumber), find_(find), language_(language) {}

  std::vector<definition_fault_t> Run() {
    for (index_ = 0; index_ < definitions_.size(); ++index_) {
      const IPropertyDefinition& definition = *definitions_[index_];
      CheckIdentity(definition);
      CheckLimits(definition);
      CheckEnumeration(definition);
      CheckDefault(definition);
      CheckConditions(definition, definition.GetAllowConditions(), u"allow");
      CheckConditions(definition, definition.GetEnableConditions(), u"enable");
      CheckCircle(definition);
    }
    return std::move(faults_);
  }

 private:
  void Fault(const char16_t* member, std::string cause) { faults_.push_back({index_, member, std::move(cause)}); }

  void CheckIdentity(const IPropertyDefinition& definition) {
    if (GetNamespaceNumber(definition.GetId()) != namespaceNumber_) {
      Fault(u"id", "the id " + std::to_string(definition.GetId()) + " belongs to another namespace");
    }
    if (const auto [at, isNew] = ids_.emplace(definition.GetId(), index_); !isNew) {
      Fault(u"number", "the number is that of \"" + definitions_[at->second]->GetName().ToUtf8() + "\" already");
    }
    if (!names_.insert(FoldedName(definition.GetName())).second) {
      Fault(u"name", "the name \"" + definition.GetName().ToUtf8() + "\" is given twice");
    }
  }

  void CheckLimits(const IPropertyDefinition& definition) {
    const CVariant& min = definition.GetMinValue();
    const CVariant& max = definition.GetMaxValue();
    const property_type_t type = definition.GetType();
    const bool isText = IsStringProperty(type);
    const bool takesLimits =
        isText || IsIntegerProperty(type) || IsFloatingPointProperty(type) || IsTimeBasedProperty(type);
    if (!takesLimits) {
      const bool isSet = min.GetAsDouble() != 0 || max.GetAsDouble() != 0;
      if (isSet) Fault(min.IsEmpty() ? u"max" : u"min", "a property of this type has no limits");
      return;
    }
    if (isText && min.GetAsDouble() < 0) Fault(u"min", "a length is not negative");
    if (min.IsEmpty() || max.IsEmpty() || (isText && max.GetAsDouble() == -1)) return;
    if (CVariantCompare::Values(min, max, CVariantCompare::GREATER)) Fault(u"min", "the minimum exceeds the maximum");
    if (min.GetAsDouble() != 0 && CVariantCompare::Values(min, max, CVariantCompare::EQUAL)) {
      Fault(u"min", "equal limits are no limits; an Enumeration says which values there are");
    }
  }

  void CheckEnumeration(const IPropertyDefinition& definition) {
    std::unordered_set<int> seen;
    for (const auto& each : definition.GetEnumValues()) {
      if (!seen.insert(each->GetValue()).second) {
        Fault(u"values", "the value " + std::to_string(each->GetValue()) + " is given twice");
      }
    }
  }

  void CheckDefault(const IPropertyDefinition& definition) {
    const CVariant& value = definition.GetDefaultValue();
    // An enumeration without values gets them from its object, and its default with them.
    const bool isOpen = IsEnumProperty(definition.GetType()) && definition.GetEnumValues().empty();
    if (value.IsEmpty() || definition.IsExempt() || isOpen) return;
    const auto property = CProperty::Create(definition.GetId(), value);
    CValidationContext context;
    if (const auto message = CheckValue(definition, *property, context)) {
      Fault(u"default", "the default: " + message->GetMessageText(language_).ToUtf8());
    }
  }

  // What the library looks at first: the watched property with the low byte of the watching one, which tells the
  // members of an array of properties apart.
  definition_ptr_t FindMember(const IPropertyDefinition& definition, int watchedId) const {
    return find_(watchedId | (definition.GetId() & 0xFF));
  }

  void CheckConditions(const IPropertyDefinition& definition, const condition_list_t& conditions,
                       const char16_t* member) {
    for (const auto& each : conditions) {
      const int id = each->GetWatchedId();
      if (id == 0) continue;
      const definition_ptr_t first = FindMember(definition, id);
      const definition_ptr_t watched = find_(id);
      if (first == nullptr && watched == nullptr) {
        Fault(member, "a condition watches the unknown id " + std::to_string(id));
      } else if (first != nullptr && watched != nullptr && first->GetId() != id) {
        Fault(member, "a condition on \"" + watched->GetName().ToUtf8() + "\" would watch \"" +
                          first->GetName().ToUtf8() +
                          "\", because the low byte of this property's number is added; give this property a multiple "
                          "of 256");
      }
      if (each->GetValue().IsEmpty()) Fault(member, "a condition without value never holds");
    }
  }

  // Whether a property is allowed asks whether those it watches are, so the way leads along the allow conditions. It is
  // walked without recursion, for it may be as long as there are definitions; each definition once.
  void CheckCircle(const IPropertyDefinition& start) {
    struct step_t {
      int id;
      std::vector<int> next;
    };
    const auto enter = [this](std::vector<step_t>& way, const IPropertyDefinition& definition) {
      step_t step{definition.GetId(), {}};
      for (const auto& each : definition.GetAllowConditions()) {
        if (each->GetWatchedId() == 0) continue;
        const definition_ptr_t first = FindMember(definition, each->GetWatchedId());
        step.next.push_back(first != nullptr ? first->GetId() : each->GetWatchedId());
      }
      visited_[step.id] = true;
      way.push_back(std::move(step));
    };
    if (visited_.contains(start.GetId())) return;
    std::vector<step_t> way;
    for (enter(way, start); !way.empty();) {
      if (way.back().next.empty()) {
        visited_[way.back().id] = false;
        way.pop_back();
        continue;
      }
      const int id = way.back().next.back();
      way.back().next.pop_back();
      const auto seen = visited_.find(id);
      if (seen == visited_.end()) {
        if (const definition_ptr_t definition = find_(id)) enter(way, *definition);
      } else if (seen->second) {
        ReportCircle(way, id);
      }
    }
  }

  template <class Way>
  void ReportCircle(const Way& way, int id) {
    std::string text = "its conditions lead back to themselves: ";
    auto at = std::find_if(way.begin(), way.end(), [id](const auto& step) { return step.id == id; });
    const std::string name = NameOf(id);
    for (; at != way.end(); ++at) text += NameOf(at->id) + " -> ";
    Fault(u"allow", text + name);
  }

  std::string NameOf(int id) const {
    const definition_ptr_t definition = find_(id);
    return definition == nullptr ? std::to_string(id) : definition->GetName().ToUtf8();
  }

  const std::vector<definition_ptr_t>& definitions_;
  const int namespaceNumber_;
  const find_by_id_t& find_;
  const unsigned short language_;
  std::size_t index_ = 0;
  std::vector<definition_fault_t> faults_;
  std::unordered_map<int, std::size_t> ids_;
  std::unordered_set<std::u16string> names_;
  std::unordered_map<int, bool> visited_;  // true while it is on the way
};

}  // namespace

std::vector<definition_fault_t> CheckDefinitions(const std::vector<definition_ptr_t>& definitions, int namespaceNumber,
                                                 const find_by_id_t& find, unsigned short language) {
  return CChecker(definitions, namespaceNumber, find, language).Run();
}

}  // namespace utilctl
