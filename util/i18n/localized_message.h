// A failure on its way to a person: the number of a text and the arguments that fill it, rendered when somebody asks,
// in the language they ask for.
//
//   auto message = i18n::MakeLocalizedMessage(i18n::IDS_XML_FAILED, {path, line, column});
//   operatorLog << message->GetMessageText(i18n::kLanguageGerman).ToUtf8();
//
// Messages are owned through std::unique_ptr; ownership moves. One thread at a time uses a message.
#pragma once

#include <memory>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_resource.h"
#include "util/serialization/serializer.h"
#include "util/values/variant.h"

namespace i18n {

class ZORUTIL_API ILocalizedMessage {
 public:
  virtual ~ILocalizedMessage();
  /// 0 is the product language. A template that asks for more arguments than there are: zorplatform::CException -1.
  virtual CString GetMessageText(unsigned short languageId) = 0;
  virtual unsigned int GetMessageId() const = 0;
  virtual bool IsLocalized() const = 0;
  virtual bool IsMultipartMessage() const = 0;
  /// The part that follows this one, without separator; one that stood there is destroyed.
  virtual void Append(std::unique_ptr<ILocalizedMessage> message) = 0;
  virtual void Serialize(zorutil::ISerializer& out) const = 0;
  virtual void Deserialize(zorutil::ISerializer& in) = 0;
};

class ZORUTIL_API CLocalizedMessage : public ILocalizedMessage {
  // (owner: complete this)
};

/// A message of this library's own texts (message_ids.h).
ZORUTIL_API std::unique_ptr<ILocalizedMessage> MakeLocalizedMessage(unsigned id, std::vector<CVariant> arguments = {});
/// A message that is `text` in every language.
ZORUTIL_API std::unique_ptr<ILocalizedMessage> MakeNonLocalizedMessage(const CString& text);
/// A deep copy; null gives null.
ZORUTIL_API std::unique_ptr<ILocalizedMessage> CopyLocalizedMessage(std::unique_ptr<ILocalizedMessage>& message);

}  // namespace i18n
