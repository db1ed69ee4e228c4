// JSON of any bytes: what is accepted is written, pretty and compact, and both read as the same values; as a document
// it is accepted exactly when it is made of objects. A refusal names a place inside the text.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <string>
#include <string_view>

#include "util/json/json_serializer.h"
#include "util/json/json_text.h"
#include "util/json/patch.h"

namespace {

using namespace zorutil::json;

void Require(bool claim) {
  if (!claim) std::abort();
}

void CheckPlace(const text_error_t& error, std::string_view text) {
  Require(error.offset <= text.size() && error.line >= 1 && error.column >= 1);
  Require(static_cast<std::size_t>(error.line) + static_cast<std::size_t>(error.column) <= text.size() + 2);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  // A copy without a terminator, so that a read behind the end is found.
  const auto bytes = std::make_unique<char[]>(size);
  for (std::size_t i = 0; i != size; ++i) bytes[i] = static_cast<char>(data[i]);
  const std::string_view text(bytes.get(), size);

  std::shared_ptr<IValue> value;
  const text_error_t error = ReadText(text, value);
  if (error) CheckPlace(error, text);
  Require((value != nullptr) == !error);
  if (!error) {
    for (const int indent : {0, 3}) {
      const std::string written = WriteText(*value, {.indent = indent});
      std::shared_ptr<IValue> again;
      Require(!ReadText(written, again));
      Require(AreEqual(value.get(), again.get()));
      // Equality forgives the order of members and the types of numbers; the text does not.
      Require(WriteText(*again, {.indent = indent}) == written);
    }
  }

  root_t document;
  const text_error_t documentError = ReadText(text, document);
  if (documentError) CheckPlace(documentError, text);
  if (!error && value->IsObject()) Require(!documentError);
  if (!error && value->IsScalar()) Require(static_cast<bool>(documentError));
  if (!documentError) {
    json_serializer_t out;
    document.Serialize(out);
    root_t again;
    again.Deserialize(out);
    Require(WriteText(again) == out.GetUtf8());
    Require(again.objects.size() == document.objects.size());
  }
  return 0;
}
