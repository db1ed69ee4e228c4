// A document and a patch in one text, two values in an array: a patch that is refused leaves the document as it was,
// one that is carried out leaves a document that can be written and read. Either way the patch itself is unchanged.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

#include "util/json/json_text.h"
#include "util/json/patch.h"
#include "util/json/pointer.h"
#include "util/json/value_conversions.h"

namespace {

using namespace zorutil::json;

void Require(bool claim) {
  if (!claim) std::abort();
}

constexpr write_options_t kCompact{.indent = 0};

std::string Text(const std::shared_ptr<IValue>& value) {
  return value != nullptr ? WriteText(*value, kCompact) : "null";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::shared_ptr<IValue> both;
  if (ReadText({reinterpret_cast<const char*>(data), size}, both) || !both->IsArray()) return 0;
  auto& elements = ValueAsArray(both).elements;
  if (elements.size() != 2) return 0;
  std::shared_ptr<IValue>& document = elements[0];
  const std::shared_ptr<IValue>& patch = elements[1];

  const std::string documentBefore = Text(document);
  const std::string patchBefore = Text(patch);
  const patch_error_t error = ApplyPatch(*patch, document, {.maxCopies = 2000});
  Require(Text(patch) == patchBefore);
  const std::string after = Text(document);
  if (error) {
    Require(after == documentBefore && error.operation >= 0);
    return 0;
  }
  std::shared_ptr<IValue> again;
  Require(!ReadText(after, again) && Text(again) == after);

  // The same on an object, where the document is one before and after.
  std::shared_ptr<IValue> object;
  Require(!ReadText(documentBefore, object));
  if (object->IsObject() && !ApplyPatch(*patch, ValueAsObject(object), {.maxCopies = 2000}))
    Require(Text(object) == after);

  // Each operation as a patch of its own, which has no time to learn where members are.
  Require(!ReadText(documentBefore, document));
  for (const auto& operation : ValueAsArray(patch).elements) {
    array_t one;
    one.elements.push_back(operation);
    Require(!ApplyPatch(one, document, {.maxCopies = 2000}));
  }
  Require(Text(document) == after);
  return 0;
}
