// A user of the library, however he came by it: something through each library, each third-party library behind them,
// the language files, and a project of his own type of object.
#include <cstdint>
#include <cstdio>
#include <memory>

#include "platform/framework/cstring.h"
#include "util/docs/xml_document.h"
#include "util/i18n/language.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/json/json_text.h"
#include "util/json/root.h"
#include "util/objects/described_object.h"
#include "util/objects/object_ref.h"
#include "util/project/project_file.h"
#include "util/properties/password.h"
#include "util/tagproc/scaling.h"
#include "util/values/variant.h"

namespace {

class CPump : public zorutil::CDescribedObj {
 public:
  static const zorutil::type_description_t kType;
  CPump() : CDescribedObj(kType) {}
  std::uint32_t speed_ = 1450;

 private:
  static const zorutil::field_t kFields[];
};

constexpr zorutil::field_t CPump::kFields[] = {
    zorutil::Field<&CPump::speed_>(zorutil::MakePropertyId(200, 256), u"Speed"),
};
constexpr zorutil::type_description_t CPump::kType = {2001,          0, 1, u"Pump", &zorutil::CreateDescribed<CPump>,
                                                      CPump::kFields};

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

  zorutil::RegisterType(CPump::kType);
  CPump pump;
  pump.SetName(u"P1");
  pump.speed_ = 2900;
  zorutil::project::SaveProject(pump, u"consumer.json", zorutil::project::form_t::JSON);
  zorutil::project::load_report_t report;
  const auto loaded = zorutil::project::LoadProject(u"consumer.json", report);
  const auto* const same = dynamic_cast<const CPump*>(loaded.get());
  Expect(same != nullptr && same->speed_ == 2900 && same->GetName() == u"P1", "a project comes back");
  std::remove("consumer.json");

  const auto message = i18n::MakeLocalizedMessage(i18n::IDS_LOW_RANGE_ABOVE_HIGH);
  text = message->GetMessageText(i18n::kLanguageGerman);
  Expect(text.Find(u"Untergrenze") >= 0, "German was installed");
  std::printf("%s\n", text.ToUtf8().c_str());
  return failures;
}
