// One text of a library's language resources: which module, which number.
//
//   CString none = i18n::CLocalizedResource(i18n::IDS_SCALING_NONE).GetText(i18n::kLanguageGerman);   // "Keine"
#pragma once

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace i18n {

class ZORUTIL_API CLocalizedResource {
  // (owner: complete this)
};

}  // namespace i18n
