// A user of the installed package: something through each library, each third-party library behind them, and the
// language files that were installed.
#include <cstdio>

#include "platform/framework/cstring.h"
#include "util/docs/xml_document.h"
#include "util/i18n/language.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/json/json_text.h"
#include "util/json/root.h"
#include "util/properties/password.h"
#include "util/tagproc/scaling.h"
#include "util/values/variant.h"

namespace {

int failures = 0;

void Expect(bool holds, const char* what) {
  if (holds) return;
  std::printf("not so: %s\n", what);
  ++failures;
}

}  // namespace

int main() {
  CScaling scaling;  // the raw value as it is, but as a double
  CVariant value = CVariant::FromInt32(42);
  Expect(scaling.DoScaling(value) && value.vt == VT_R8 && value.ToString() == u"42", "a value is scaled");

  CXmlDocument document;
  int speed = 0;
  Expect(document.SetXml(u"<pump><speed>1500</speed></pump>") != 0, "a document is read");
  Expect(document.ReadElement(nullptr, nullptr, u"speed", true, speed) != nullptr && speed == 1500, "so is an element");

  zorutil::json::root_t root;
  Expect(!zorutil::json::ReadText("{\"a\": 1}", root), "JSON is read");

  const CString secret = zorutil::properties::EncryptPassword(u"secret");
  CString text;
  Expect(zorutil::properties::DecryptPassword(secret, text) && text == u"secret", "a password comes back");

  const auto message = i18n::MakeLocalizedMessage(i18n::IDS_LOW_RANGE_ABOVE_HIGH);
  text = message->GetMessageText(i18n::kLanguageGerman);
  Expect(text.Find(u"Untergrenze") >= 0, "German was installed");
  std::printf("%s\n", text.ToUtf8().c_str());
  return failures;
}
