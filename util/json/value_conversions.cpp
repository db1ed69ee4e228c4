#include "util/json/value_conversions.h"

#include "platform/zorplatform/exception.h"
#include "util/json/json_text.h"

namespace zorutil::json {
namespace {

template <class Node>
Node& Checked(const std::shared_ptr<IValue>& value, bool (IValue::*is)() const, const char* expected) {
  if (value == nullptr || !((*value).*is)()) {
    zorplatform::CException::Throw(zorplatform::CException::kEndOfStream, expected);
  }
  return static_cast<Node&>(*value);
}

}  // namespace

CVariant& ValueAsVariant(const std::shared_ptr<IValue>& value) {
  static CVariant nothing;
  if (value != nullptr && value->IsScalar()) return static_cast<scalar_t&>(*value).value;
  // Only what has been written to is emptied, so that threads that merely read it do not write.
  if (!nothing.IsEmpty()) nothing.Clear();
  return nothing;
}

bool ValueAsBool(const std::shared_ptr<IValue>& value) {
  return value != nullptr && value->IsScalar() && static_cast<bool>(static_cast<const scalar_t&>(*value).value);
}

CString ValueAsString(const std::shared_ptr<IValue>& value) {
  if (value == nullptr) return {};
  if (value->IsScalar()) return static_cast<const scalar_t&>(*value).value.ToString();
  return CString(WriteText(*value, {.indent = 0}));
}

object_t& ValueAsObject(const std::shared_ptr<IValue>& value) {
  return Checked<object_t>(value, &IValue::IsObject, "JSON: the value is not an object");
}

array_t& ValueAsArray(const std::shared_ptr<IValue>& value) {
  return Checked<array_t>(value, &IValue::IsArray, "JSON: the value is not an array");
}

scalar_t& ValueAsScalar(const std::shared_ptr<IValue>& value) {
  return Checked<scalar_t>(value, &IValue::IsScalar, "JSON: the value is not a scalar");
}

}  // namespace zorutil::json
