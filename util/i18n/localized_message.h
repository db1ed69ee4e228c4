// A failure on its way to a person: the number of a text and the arguments that fill it, rendered when somebody asks,
// in the language they ask for.
//
//   auto message = i18n::MakeLocalizedMessage(i18n::IDS_VALUE_OUT_OF_RANGE, {u"0", u"100"});
//   operatorLog << message->GetMessageText(i18n::kLanguageGerman).ToUtf8();
//
// Messages are owned through std::unique_ptr; ownership moves. One thread at a time uses a message.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/localized_resource.h"
#include "util/serialization/serializer.h"
#include "util/values/variant.h"

namespace i18n {

/// A failure as every part of the system passes it on: see the top of this header.
class ZORUTIL_API ILocalizedMessage {
 public:
  virtual ~ILocalizedMessage();
  /// 0 is the product language. A template that asks for more arguments than there are: zorplatform::CException -1.
  virtual CString GetMessageText(unsigned short languageId) = 0;
  /// The number of the text; 0 for a message without one.
  virtual unsigned int GetMessageId() const = 0;
  /// Whether the text comes from resources, and so depends on the language.
  virtual bool IsLocalized() const = 0;
  /// Whether another message was appended.
  virtual bool IsMultipartMessage() const = 0;
  /// The part that follows this one, without separator; one that stood there is destroyed.
  virtual void Append(std::unique_ptr<ILocalizedMessage> message) = 0;
  /// The binary form, which Deserialize of the same class reads.
  virtual void Serialize(zorutil::ISerializer& out) const = 0;
  /// Replaces the message by one that was written by Serialize; as it was after an exception.
  virtual void Deserialize(zorutil::ISerializer& in) = 0;
};

/// The message that the library makes. A chain of appended ones may be of any length, as far as memory goes, but only
/// one of at most kMaxParts can be written and read. Other implementations of the interface may stand in it: they are
/// asked for their own text and binary form, which is to be the one below, and what was appended to them is their own.
class ZORUTIL_API CLocalizedMessage final : public ILocalizedMessage {
 public:
  /// Of a chain that can be written.
  static constexpr unsigned kMaxParts = 128;

  /// Without a text: renders as an empty one.
  CLocalizedMessage() = default;
  /// A text, and the arguments that fill it, which are taken over.
  /// @{
  explicit CLocalizedMessage(CLocalizedResource resource);
  CLocalizedMessage(CLocalizedResource resource, std::vector<CVariant>&& arguments);
  /// @}
  CLocalizedMessage(const CLocalizedMessage&) = delete;
  CLocalizedMessage& operator=(const CLocalizedMessage&) = delete;
  ~CLocalizedMessage() override;

  /// The resource's text in that language, filled with the arguments (message_template.h), then the text of the
  /// appended message. A number that the resource does not hold gives "<<Missing string resource %u>>" with it. A
  /// message without valid resource is the text of its first argument, empty without one.
  CString GetMessageText(unsigned short languageId) override;
  unsigned int GetMessageId() const override { return resource_.GetId(); }
  /// Whether every part has a valid resource.
  bool IsLocalized() const override;
  bool IsMultipartMessage() const override { return appended_ != nullptr; }
  void Append(std::unique_ptr<ILocalizedMessage> message) override;

  /// The text; not valid for a message that is its own text.
  const CLocalizedResource& GetResource() const noexcept { return resource_; }
  /// In the order in which the template counts them.
  const std::vector<CVariant>& GetArguments() const noexcept { return arguments_; }
  /// Null when nothing is appended.
  const ILocalizedMessage* GetAppended() const noexcept { return appended_.get(); }
  /// A byte that travels with the message and means nothing to it; 0 at first.
  std::uint8_t GetFlag() const noexcept { return flag_; }
  void SetFlag(std::uint8_t flag) noexcept { flag_ = flag; }

  /// Little-endian: the resource, the flag (1 byte), the number of arguments (4), the arguments in the form of
  /// CVariant, 1 or 0 (1 byte) for whether a message follows, and that one in the same form. CException -1, and nothing
  /// is written, for more than kMaxParts parts; -5 for an argument that CVariant cannot write, and then part of the
  /// record is there.
  void Serialize(zorutil::ISerializer& out) const override;
  /// Replaces all parts. CException -1 for a corrupt record, the serializer's own at the end of data; then the message
  /// is as it was. Memory grows with the bytes that really arrive.
  void Deserialize(zorutil::ISerializer& in) override;

 private:
  friend ZORUTIL_API std::unique_ptr<ILocalizedMessage> CopyLocalizedMessage(
      std::unique_ptr<ILocalizedMessage>& message);

  CString GetPartText(unsigned short languageId) const;

  CLocalizedResource resource_;
  std::uint8_t flag_ = 0;
  std::vector<CVariant> arguments_;
  std::unique_ptr<ILocalizedMessage> appended_;
};

/// A message of this library's own texts (message_ids.h).
ZORUTIL_API std::unique_ptr<ILocalizedMessage> MakeLocalizedMessage(unsigned id, std::vector<CVariant> arguments = {});
/// A message that is `text` in every language.
ZORUTIL_API std::unique_ptr<ILocalizedMessage> MakeNonLocalizedMessage(const CString& text);
/// A deep copy with all parts; null gives null. A part that is no CLocalizedMessage is copied by its binary form, and
/// becomes one; CException -1 when it does not write that form.
ZORUTIL_API std::unique_ptr<ILocalizedMessage> CopyLocalizedMessage(std::unique_ptr<ILocalizedMessage>& message);

}  // namespace i18n
