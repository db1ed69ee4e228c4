#include <gtest/gtest.h>
#include <stdlib.h>

#include <exception>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "platform/zorplatform/exception.h"
#include "util/i18n/language_module.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/i18n/zor_error.h"
#include "util/serialization/stream_testing.h"
#include "util/serialization/string_serialization.h"

namespace i18n {
namespace {

using message_t = std::unique_ptr<ILocalizedMessage>;

// A program that is linked statically has no library beside which the files lie.
const int kFolderIsSet = setenv("ZORUTIL_LANG_DIR", ZORUTIL_SOURCE_DIR "/util/i18n/lang", 1);

std::string Text(const message_t& message, unsigned short language = kLanguageEnglish) {
  return message->GetMessageText(language).ToUtf8();
}

message_t OutOfRange() { return MakeLocalizedMessage(IDS_VALUE_OUT_OF_RANGE, {u"0", CVariant::FromDouble(1.5)}); }

std::string Written(const ILocalizedMessage& message) {
  zorutil::memory_serializer_t out;
  message.Serialize(out);
  return stream_testing::Hex(out.GetContent());
}

message_t Read(std::string_view hex) {
  auto message = MakeNonLocalizedMessage(u"before");
  const auto bytes = stream_testing::Bytes(hex);
  stream_testing::CCountingReader in(bytes);
  message->Deserialize(in);
  return message;
}

// A message of somebody else's, in the same binary form.
class CForeignMessage : public ILocalizedMessage {
 public:
  CString GetMessageText(unsigned short) override { return u"foreign"; }
  unsigned int GetMessageId() const override { return 0; }
  bool IsLocalized() const override { return false; }
  bool IsMultipartMessage() const override { return false; }
  void Append(message_t) override {}
  void Serialize(zorutil::ISerializer& out) const override { MakeNonLocalizedMessage(u"foreign")->Serialize(out); }
  void Deserialize(zorutil::ISerializer&) override {}
};

TEST(LocalizedMessage, IsRenderedInTheLanguageThatIsAskedFor) {
  ASSERT_EQ(kFolderIsSet, 0);
  const message_t message = OutOfRange();
  const std::string english = "The value is out of range. Enter a value from 0 to 1.5.";
  const std::string german = "Der Wert liegt außerhalb des Bereichs. Geben Sie einen Wert von 0 bis 1.5 ein.";
  EXPECT_EQ(Text(message, 0) + Text(message, 0x0411), english + english);
  EXPECT_EQ(Text(message, kLanguageGerman) + Text(message, 0x0C07), german + german);
  SetProductLanguageId(kLanguageGerman);
  EXPECT_EQ(Text(message, 0), german);
  EXPECT_EQ(Text(message, kLanguageEnglish), english);
  SetProductLanguageId(0);
  EXPECT_EQ(GetProductLanguageId(), kLanguageEnglish);
  EXPECT_TRUE(message->IsLocalized());

  EXPECT_EQ(Text(MakeLocalizedMessage(0xFFFFFFFF)), "<<Missing string resource 4294967295>>");
  const message_t plain = MakeNonLocalizedMessage(u"100 % d\u00E4 %s");
  EXPECT_EQ(plain->GetMessageText(0) + plain->GetMessageText(kLanguageGerman), u"100 % d\u00E4 %s100 % d\u00E4 %s");
}

TEST(LocalizedMessage, PartsFollowEachOtherWithoutSeparator) {
  message_t message = MakeLocalizedMessage(IDS_YES), none;
  message->Append(MakeLocalizedMessage(IDS_NO));
  EXPECT_TRUE(message->IsMultipartMessage() && message->IsLocalized());
  EXPECT_EQ(Text(message), "YesNo");
  message->Append(MakeNonLocalizedMessage(u"!"));
  EXPECT_EQ(Text(message, kLanguageGerman), "Ja!");
  EXPECT_FALSE(message->IsLocalized());
  message->Append(std::make_unique<CForeignMessage>());
  EXPECT_TRUE(Text(message) == "Yesforeign" && !message->IsLocalized());
  const message_t copy = CopyLocalizedMessage(message);
  EXPECT_EQ(Written(*copy), Written(*message));
  message->Append(nullptr);
  EXPECT_FALSE(message->IsMultipartMessage());
  EXPECT_EQ(Text(message) + Text(copy), "YesYesforeign");
  EXPECT_EQ(CopyLocalizedMessage(none), nullptr);
  EXPECT_EQ(CLocalizedMessage().GetMessageText(0), u"");
}

TEST(LocalizedMessage, OfManyPartsIsCopiedRenderedAndDestroyedButNotWritten) {
  constexpr std::size_t kParts = 200'000;
  message_t message = MakeNonLocalizedMessage(u".");
  for (std::size_t i = 1; i < kParts; ++i) {
    message_t longer = MakeNonLocalizedMessage(u".");
    longer->Append(std::move(message));
    message = std::move(longer);
  }
  const message_t copy = CopyLocalizedMessage(message);
  EXPECT_EQ(Text(copy).size(), kParts);
  EXPECT_FALSE(copy->IsLocalized());
  zorutil::memory_serializer_t out;
  EXPECT_THROW(copy->Serialize(out), zorplatform::CException);
  EXPECT_EQ(out.GetContent().size(), 0U);
}

TEST(LocalizedMessage, IsReadBackFromItsBytes) {
  constexpr char kRecord[] =
      "07000080 6C69627574696C FC010000 07 02000000 0800 01000080 30 0300 64000000 01"
      "00000000 00000000 00 01000000 0800 01000080 21 00";
  auto message = std::make_unique<CLocalizedMessage>(CLocalizedResource(IDS_VALUE_OUT_OF_RANGE),
                                                     std::vector<CVariant>{u"0", CVariant::FromInt32(100)});
  message->SetFlag(7);
  message->Append(MakeNonLocalizedMessage(u"!"));
  EXPECT_EQ(Written(*message), stream_testing::Hex(stream_testing::Bytes(kRecord)));
  message_t read = Read(kRecord);
  EXPECT_EQ(Written(*CopyLocalizedMessage(read)), Written(*message));
  stream_testing::CCountingReader empty({});
  EXPECT_THROW(read->Deserialize(empty), zorplatform::CException);
  EXPECT_EQ(Written(*read), Written(*message));
  EXPECT_EQ(Read(kRecord)->GetMessageText(kLanguageGerman), message->GetMessageText(kLanguageGerman));
  stream_testing::ExpectRefusesDamage(kRecord, [](zorutil::ISerializer& in) { CLocalizedMessage().Deserialize(in); });
  // The deepest chain is read, one part more is refused; so is a count that the bytes do not bear out.
  const std::string part = "00000000 00000000 00 00000000 01", last = "00000000 00000000 00 00000000 00";
  std::string chain;
  for (unsigned i = 1; i < CLocalizedMessage::kMaxParts; ++i) chain += part;
  EXPECT_EQ(Written(*Read(chain + last)), stream_testing::Hex(stream_testing::Bytes(chain + last)));
  EXPECT_THROW(Read(chain + part + last), zorplatform::CException);
  EXPECT_THROW(Read("00000000 00000000 00 FFFFFFFF 0000"), zorplatform::CException);
}

TEST(LocalizedMessage, KeepsTheNameOfAModuleThatIsNotRegisteredYet) {
  const CString names[] = {u"late", u"..\\..\\etc\\passwd", CString(u'x', 70000)};
  for (const CString& name : names) {
    zorutil::memory_serializer_t out;
    zorutil::Serialize(name, out);
    const std::string record = stream_testing::Hex(out.GetContent()) + "01000000 00 00000000 00";
    const message_t message = Read(record);
    EXPECT_EQ(Text(message), "<<Missing string resource 1>>");
    EXPECT_EQ(Written(*message), stream_testing::Hex(stream_testing::Bytes(record)));
    if (name != u"late") continue;
    auto module = CLanguageModule::Register(name, "[Texts]\n1 = here\n", nullptr);
    EXPECT_EQ(Text(message), "here");
    const message_t again = Read(record);
    module.reset();
    EXPECT_EQ(Text(again), "here");
  }
}

TEST(Error, HandsItsMessageOn) {
  zor_error_t source(-7, MakeLocalizedMessage(IDS_YES));
  zor_error_t copy(source);
  EXPECT_TRUE(source.GetErrorCode() == -7 && !source.HasMessage() && source.GetMessageText(0).IsEmpty());
  zor_error_t assigned(3, MakeLocalizedMessage(IDS_NO));
  assigned = copy;
  assigned = *&assigned;
  EXPECT_TRUE(assigned.GetErrorCode() == -7 && !copy.HasMessage());
  EXPECT_EQ(assigned.GetMessageText(kLanguageGerman), u"Ja");
  const zor_error_t moved = std::move(assigned);
  EXPECT_TRUE(moved.HasMessage() && !assigned.HasMessage());
}

TEST(MessageException, LeavesItsContextBehindWhenItIsCopied) {
  message_exception_t source(OutOfRange(), u"object", u"property", 4, 527);
  EXPECT_EQ(source.GetText1() + source.GetText2(), u"objectproperty");
  message_exception_t copy(source);
  EXPECT_FALSE(source.HasMessage());
  EXPECT_EQ(copy.GetText1() + copy.GetText2(), u"");
  EXPECT_TRUE(copy.GetErrorCode() == 527 && copy.GetNumber() == 4);
  EXPECT_EQ(copy.GetMessageText(0), OutOfRange()->GetMessageText(0));
}

TEST(MessageException, TellsItsMessageToWhoeverKnowsOnlyTheStandardOne) {
  const auto whatOf = [](message_t message) -> std::string {
    try {
      message_exception_t::Throw(std::move(message), 1);
    } catch (const std::exception& error) {
      EXPECT_EQ(error.what(), error.what());
      return error.what();
    }
  };
  EXPECT_EQ(whatOf(MakeLocalizedMessage(IDS_DENY)), "Deny");
  EXPECT_EQ(whatOf(nullptr), "error without a message");
  EXPECT_EQ(whatOf(MakeLocalizedMessage(IDS_OBJECT_NAME_NOT_VALID)), "error whose message cannot be shown");
}

}  // namespace
}  // namespace i18n
