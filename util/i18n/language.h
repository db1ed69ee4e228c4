// The languages in which messages are shown: their 16-bit identifiers, their tags, and the product's own choice.
//
//   i18n::SetProductLanguageId(i18n::LanguageIdFromTag("de-AT"));        // 0x0C07; texts fall back to German, English
//   for (const i18n::language_t& language : i18n::GetAvailableLanguages()) Offer(language);
//
// Identifiers are those of Windows: the low 10 bits are the language, the high 6 the region. 0 means the product
// language everywhere. Any number of threads may call these functions at once.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"

namespace i18n {

inline constexpr unsigned short kLanguageEnglish = 0x0409;  ///< en-US, the language that is built in
inline constexpr unsigned short kLanguageGerman = 0x0407;   ///< de-DE

/// The language of texts whose caller names none; English until it is set.
ZORUTIL_API unsigned short GetProductLanguageId() noexcept;
/// 0 sets English.
ZORUTIL_API void SetProductLanguageId(unsigned short languageId) noexcept;

/// The identifier of a BCP 47 tag such as "de", "de-AT" or "pt_BR" (letter case and "_" for "-" aside); a tag without
/// region gives the language's default one. 0 for a tag that is not known.
ZORUTIL_API unsigned short LanguageIdFromTag(std::string_view tag);
/// The tag of an identifier, such as "de-AT"; empty when it is not known.
ZORUTIL_API std::string TagFromLanguageId(unsigned short languageId);

/// A language that texts can be had in.
struct language_t {
  unsigned short id;  ///< the identifier; never 0
  std::string tag;    ///< the tag in the file's name, such as "de"
  CString name;       ///< in the language itself, such as "Deutsch"
};
/// English and every language of which this library's texts were found, in the order of their tags. Looks at the disk.
ZORUTIL_API std::vector<language_t> GetAvailableLanguages();

}  // namespace i18n
