// The English texts of this library, as the bytes of lang/libutil.en.lang.
#pragma once

#include <string_view>

namespace i18n {

std::string_view GetEnglishTexts();

}  // namespace i18n
