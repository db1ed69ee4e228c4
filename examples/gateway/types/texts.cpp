#include "examples/gateway/types/texts.h"

#include "util/i18n/language_module.h"

namespace gateway {
namespace {

const char kEnglish[] =
    "[Texts]\n"
    "1 = Values of this data type cannot be scaled.\n"
    "2 = The scaled type cannot hold a scaled value.\n"
    "3 = The raw range must rise, and lie within what the data type holds.\n"
    "4 = The scaled range must rise, and lie within what the scaled type holds.\n";

const std::shared_ptr<const i18n::CLanguageModule>& Texts() {
  static const auto texts = i18n::CLanguageModule::Register(u"gateway_types", kEnglish, kEnglish);
  return texts;
}

}  // namespace

std::unique_ptr<i18n::ILocalizedMessage> MakeScalingMessage(CScaling::SCALINGRESULT verdict) {
  static_assert(CScaling::INVALID_RAW_TYPE == 1 && CScaling::INVALID_SCALED_TYPE == 2 &&
                CScaling::INVALID_RAW_RANGE == 3 && CScaling::INVALID_SCALED_RANGE == 4);
  return std::make_unique<i18n::CLocalizedMessage>(i18n::CLocalizedResource(Texts(), static_cast<unsigned>(verdict)));
}

}  // namespace gateway
