#include "util/project/tree_validation.h"

#include <utility>

#include "platform/framework/sync.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_exception.h"
#include "util/objects/table.h"

namespace zorutil::project {

namespace {

using properties::property_list_t;

// What the object itself knows better than its definitions.
class CObjectContext final : public properties::IValidationContext {
 public:
  CObjectContext(CTableObj& object, const property_list_t& list, properties::CDefinitionStore* definitions)
      : object_(object), list_(list), definitions_(definitions) {}
  std::shared_ptr<properties::IPropertyEditor> GetPropertyEditor(int id) override {
    return object_.GetPropertyHelper(id, list_);
  }
  properties::CDefinitionStore& GetDefinitions() override {
    return definitions_ == nullptr ? IValidationContext::GetDefinitions() : *definitions_;
  }

 private:
  CTableObj& object_;
  const property_list_t& list_;
  properties::CDefinitionStore* definitions_;
};

class CValidation {
 public:
  CValidation(std::size_t most, properties::CDefinitionStore* definitions) : most_(most), definitions_(definitions) {}

  void Check(const CTableObj& object) {
    if (IsFull()) return;
    property_list_t list;
    object.GetProperties(list);
    CObjectContext context(const_cast<CTableObj&>(object), list, definitions_);
    for (auto& failure : properties::CollectValidationFailures(list, context)) Add(object, std::move(failure));
    try {
      object.ValidateProperties(list, context);
    } catch (i18n::message_exception_t& error) {
      properties::validation_failure_t failure{error.GetNumber(), error.GetText1(), error.DetachMessage()};
      if (failure.message == nullptr) failure.message = i18n::MakeNonLocalizedMessage(error.what());
      Add(object, std::move(failure));
    }
  }

  void CheckAll(const CTableObj& object) {
    Check(object);
    for (unsigned i = 0; const CTable* const table = object.GetChildTable(i); ++i) {
      const CSingleLock lock(table->GetLock());
      for (unsigned index = 0; index < table->GetCount() && !IsFull(); ++index) CheckAll(*table->GetRecord(index));
    }
  }

  std::vector<object_failure_t> Take() { return std::move(failures_); }

 private:
  bool IsFull() const { return failures_.size() >= most_; }
  void Add(const CTableObj& object, properties::validation_failure_t&& failure) {
    if (IsFull()) return;
    object_failure_t& added = failures_.emplace_back();
    object.GetPath(added.path);
    added.failure = std::move(failure);
  }

  const std::size_t most_;
  properties::CDefinitionStore* const definitions_;
  std::vector<object_failure_t> failures_;
};

}  // namespace

std::vector<object_failure_t> ValidateTree(const CTableObj& root, std::size_t maxFailures,
                                           properties::CDefinitionStore* definitions) {
  const object_lock_t lock(root);
  CValidation validation(maxFailures, definitions);
  validation.CheckAll(root);
  return validation.Take();
}

}  // namespace zorutil::project
