// A message from any bytes: what was read is written, read and copied to the same bytes and texts; a failed read leaves
// the message as it was.
#include <optional>

#include "fuzz/value_fuzz_internal.h"
#include "util/i18n/localized_message.h"

using namespace value_fuzz;
using i18n::CLocalizedMessage;
using i18n::ILocalizedMessage;

namespace {

using message_t = std::unique_ptr<ILocalizedMessage>;

bool TryReadMessage(std::span<const std::byte> bytes, ILocalizedMessage& message) {
  zorutil::memory_serializer_t in(bytes);
  try {
    message.Deserialize(in);
  } catch (const zorplatform::CException& error) {
    Require(error.GetCode() == -1 || error.GetCode() == -3);
    return false;
  }
  return true;
}

std::vector<std::byte> WriteMessage(const ILocalizedMessage& message) {
  zorutil::memory_serializer_t out;
  message.Serialize(out);
  return {out.GetContent().begin(), out.GetContent().end()};
}

// Nothing when a template asks for more arguments than there are.
std::optional<CString> TextOf(ILocalizedMessage& message, unsigned short language) {
  try {
    return message.GetMessageText(language);
  } catch (const zorplatform::CException& error) {
    Require(error.GetCode() == -1);
    return {};
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const auto module = i18n::CLanguageModule::Register(
      u"fuzz", "[Texts]\n1 = plain\n2 = %s\n3 = %2$d of %1$08.3f%%\n4 = %c %x %g %p %s\n", nullptr);
  message_t message = i18n::MakeNonLocalizedMessage(u"before");
  if (!TryReadMessage(BytesOf(data, size), *message)) {
    Require(message->GetMessageText(0) == u"before" && !message->IsMultipartMessage());
    return 0;
  }
  // Malformed UTF-16 may be written as repaired UTF-8, which then stays.
  const auto written = WriteMessage(*message);
  message_t again = std::make_unique<CLocalizedMessage>();
  Require(TryReadMessage(written, *again) && WriteMessage(*again) == written);
  message_t copy = i18n::CopyLocalizedMessage(again);
  Require(WriteMessage(*copy) == written);
  Require(copy->IsLocalized() == message->IsLocalized() && copy->GetMessageId() == message->GetMessageId());
  for (const unsigned short language : {i18n::kLanguageEnglish, i18n::kLanguageGerman}) {
    Require(TextOf(*copy, language) == TextOf(*again, language));
  }
  return 0;
}
