// A definition file of any bytes: it is skipped, refused by an exception of the family, or read; what was read is
// written, and reads as the same again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "util/properties/definition_file.h"
#include "util/properties/validation.h"
#include "util/serialization/stream_serializers.h"

namespace {

using namespace zorutil::properties;

void Require(bool claim) {
  if (!claim) std::abort();
}

struct collector_t : IDefinitionFileClient {
  bool OnNamespace(int namespaceNumber, const CString& fileName, const CString& namespaceName) override {
    number = namespaceNumber;
    Require(number >= 1 && number <= kMaxNamespace && fileName == u"fuzz" && !namespaceName.IsEmpty());
    return true;
  }
  bool OnDefinition(std::shared_ptr<IPropertyDefinition> definition) override {
    Require(number != 0 && definition != nullptr);
    definitions.push_back(std::move(definition));
    return true;
  }
  int number = 0;
  std::vector<std::shared_ptr<IPropertyDefinition>> definitions;
};

bool Read(zorutil::ISerializer& in, collector_t& collector) {
  try {
    return ReadDefinitionStream(in, u"fuzz", collector);
  } catch (const zorplatform::CException& error) {
    Require(error.GetCode() == -1 || error.GetCode() == -3);
    return false;
  }
}

std::vector<std::byte> Written(const IPropertyDefinition& definition) {
  zorutil::memory_serializer_t out;
  definition.Serialize(out);
  return {out.GetContent().begin(), out.GetContent().end()};
}

// Checks its own default: whatever its limits are, it ends.
void CheckDefault(const IPropertyDefinition& definition) {
  CValidationContext plain;
  const auto value = CProperty::Create(definition.GetId(), definition.GetDefaultValue());
  if (const auto message = CheckValue(definition, *value, plain)) Require(!message->GetMessageText(0).IsEmpty());
  property_list_t list{value};
  EvaluateConditions(value, definition.GetAllowConditions(), list);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  zorutil::memory_serializer_t in(std::as_bytes(std::span(data, size)));
  collector_t collector;
  Read(in, collector);
  for (const auto& definition : collector.definitions) {
    const std::vector<std::byte> bytes = Written(*definition);
    zorutil::memory_serializer_t again(bytes);
    property_def_t copy;
    copy.Deserialize(again);
    Require(Written(copy) == bytes);
    Require(copy.GetMinLength() == definition->GetMinLength() && copy.GetMaxLength() == definition->GetMaxLength());
    CheckDefault(*definition);
  }
  return 0;
}
