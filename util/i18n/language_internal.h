// The known languages as small numbers, by which tables of texts are kept.
#pragma once

#include <cstddef>
#include <string>

namespace i18n {

/// More than there are known languages.
inline constexpr std::size_t kMaxLanguages = 128;

/// The number of a language, from 0: of the product's for 0, of the language without region for a region that is not
/// known, of English for a language that is not known.
std::size_t GetLanguageSlot(unsigned short languageId) noexcept;
/// The tag with region of a number that GetLanguageSlot gives.
std::string GetSlotTag(std::size_t slot);

}  // namespace i18n
