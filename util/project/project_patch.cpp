#include "util/project/project_patch.h"

#include <algorithm>
#include <optional>

#include "util/i18n/message_ids.h"
#include "util/json/json_text.h"
#include "util/json/pointer.h"
#include "util/project/patch_plan_internal.h"

namespace zorutil::project {

namespace {

using json::IValue;
using json::member_list_t;
using json::member_t;

message_ptr Message(unsigned id, std::vector<CVariant> arguments = {}) {
  return i18n::MakeLocalizedMessage(id, std::move(arguments));
}

struct operation_name_t {
  operation_t kind;
  const char16_t* name;
};
constexpr operation_name_t kOperations[] = {{operation_t::ADD, u"add"},         {operation_t::REMOVE, u"remove"},
                                            {operation_t::REPLACE, u"replace"}, {operation_t::MOVE, u"move"},
                                            {operation_t::COPY, u"copy"},       {operation_t::TEST, u"test"}};

// Reads one operation; null, or what is wrong with it. The path stays as far as it is known.
class CReader {
 public:
  explicit CReader(patch_operation_t& out) : out_(out) {}

  message_ptr Read(const IValue* operation) {
    if (operation == nullptr || !operation->IsObject()) return Message(i18n::IDS_PATCH_NO_OPERATION);
    const auto& members = static_cast<const json::object_t*>(operation)->members;
    if (auto message = ReadPointer(members, u"path", out_.path, out_.pathTokens)) return message;
    CString name;
    if (!ReadText(members, u"op", name)) return Message(i18n::IDS_PATCH_MEMBER, {CVariant(u"op")});
    const auto known = std::find_if(std::begin(kOperations), std::end(kOperations),
                                    [&](const operation_name_t& one) { return name == one.name; });
    if (known == std::end(kOperations)) return Message(i18n::IDS_PATCH_UNKNOWN, {CVariant(name)});
    out_.kind = known->kind;
    if (out_.kind == operation_t::MOVE || out_.kind == operation_t::COPY) {
      return ReadPointer(members, u"from", out_.from, out_.fromTokens);
    }
    if (out_.kind == operation_t::REMOVE) return nullptr;
    const member_t* const value = Find(members, u"value");
    if (value == nullptr) return Message(i18n::IDS_PATCH_VALUE);
    out_.value = value->value;
    return nullptr;
  }

 private:
  static const member_t* Find(const member_list_t& members, std::u16string_view name) {
    const auto found =
        std::find_if(members.begin(), members.end(), [&](const member_t& member) { return member.name == name; });
    return found != members.end() ? &*found : nullptr;
  }
  static bool ReadText(const member_list_t& members, std::u16string_view name, CString& text) {
    const member_t* const found = Find(members, name);
    if (found == nullptr || found->value == nullptr || !found->value->IsString()) return false;
    text = CString(static_cast<const json::scalar_t&>(*found->value).value.GetStringView());
    return true;
  }
  static message_ptr ReadPointer(const member_list_t& members, const char16_t* name, CString& pointer,
                                 std::vector<CString>& tokens) {
    if (!ReadText(members, name, pointer)) return Message(i18n::IDS_PATCH_MEMBER, {CVariant(name)});
    auto parsed = json::ParsePointer(pointer);
    if (!parsed) return Message(i18n::IDS_PATCH_POINTER, {CVariant(pointer)});
    tokens = std::move(*parsed);
    return nullptr;
  }

  patch_operation_t& out_;
};

// The places where operations failed: what goes there afterwards cannot be judged.
class CFailedPlaces {
 public:
  void Add(const patch_operation_t& operation) {
    places_.push_back(&operation.pathTokens);
    if (!operation.fromTokens.empty()) places_.push_back(&operation.fromTokens);
  }
  bool Concern(const patch_operation_t& operation) const {
    return std::any_of(places_.begin(), places_.end(), [&](const std::vector<CString>* place) {
      return Meet(*place, operation.pathTokens) ||
             (!operation.fromTokens.empty() && Meet(*place, operation.fromTokens));
    });
  }

 private:
  static bool Meet(const std::vector<CString>& a, const std::vector<CString>& b) {
    return std::equal(a.begin(), a.begin() + static_cast<std::ptrdiff_t>(std::min(a.size(), b.size())), b.begin());
  }
  std::vector<const std::vector<CString>*> places_;
};

std::vector<patch_operation_t> ReadOperations(const json::array_t& patch, const patch_options_t& options,
                                              patch_result_t& result) {
  std::vector<patch_operation_t> operations;
  operations.reserve(patch.elements.size());
  for (const auto& element : patch.elements) {
    patch_operation_t& operation = operations.emplace_back();
    operation.number = static_cast<int>(operations.size());
    message_ptr message = CReader(operation).Read(element.get());
    if (message == nullptr) continue;
    result.failures.push_back({operation.number, operation.path, {}, std::move(message)});
    if (result.failures.size() >= options.maxErrors) break;
  }
  return operations;
}

}  // namespace

CString patch_result_t::ToString(unsigned short languageId) const {
  CString text;
  for (const patch_failure_t& failure : failures) {
    CString line = failure.message->GetMessageText(languageId);
    if (!failure.object.IsEmpty()) {
      line =
          Message(i18n::IDS_OBJECT_NOT_SAVED, {CVariant(failure.object), CVariant(line)})->GetMessageText(languageId);
    }
    if (failure.operation != 0) {
      const CVariant number = CVariant::FromInt32(failure.operation);
      line = (failure.path.IsEmpty()
                  ? Message(i18n::IDS_PATCH_OPERATION, {number, CVariant(line)})
                  : Message(i18n::IDS_PATCH_OPERATION_AT, {number, CVariant(failure.path), CVariant(line)}))
                 ->GetMessageText(languageId);
    }
    text += line.View();
    text += u'\n';
  }
  return text;
}

patch_result_t ApplyPatch(const json::IValue& patch, CTableObj& root, const patch_options_t& options) {
  patch_result_t result;
  if (!patch.IsArray()) {
    result.failures.push_back({0, {}, {}, Message(i18n::IDS_PATCH_NO_LIST)});
    return result;
  }
  // An operation that cannot be read leaves open what the others would find.
  const auto operations = ReadOperations(static_cast<const json::array_t&>(patch), options, result);
  if (!result) return result;
  CPatchPlan plan(root, options, result);
  CFailedPlaces failed;
  for (const patch_operation_t& operation : operations) {
    if (!result && failed.Concern(operation)) continue;
    if (plan.Plan(operation)) continue;
    if (operation.kind == operation_t::TEST || result.failures.size() >= options.maxErrors) break;
    failed.Add(operation);
  }
  if (!result) return result;
  if (options.context != nullptr) plan.Validate(*options.context);
  if (!result) return result;
  plan.Count();
  if (!options.isCheck) plan.CarryOut();
  if (!result) result.added = result.removed = result.moved = result.changed = 0;
  return result;
}

patch_result_t ApplyPatch(std::string_view patchText, CTableObj& root, const patch_options_t& options) {
  std::shared_ptr<IValue> patch;
  if (const auto error = json::ReadText(patchText, patch)) {
    patch_result_t result;
    result.failures.push_back({0, {}, {}, Message(i18n::IDS_PROJECT_TEXT, {CVariant(error.ToString())})});
    return result;
  }
  return ApplyPatch(*patch, root, options);
}

}  // namespace zorutil::project
