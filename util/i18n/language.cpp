#include "util/i18n/language.h"

#include <algorithm>
#include <atomic>
#include <iterator>

#include "util/i18n/language_internal.h"
#include "util/i18n/language_module.h"

namespace i18n {

namespace {

struct row_t {
  std::uint16_t id;
  const char* tag;
};

// Rising identifiers. Where a language has several regions, the one that a tag without region means is marked below.
constexpr row_t kLanguages[] = {
    {0x0401, "ar-SA"}, {0x0402, "bg-BG"},      {0x0403, "ca-ES"},      {0x0404, "zh-TW"}, {0x0405, "cs-CZ"},
    {0x0406, "da-DK"}, {0x0407, "de-DE"},      {0x0408, "el-GR"},      {0x0409, "en-US"}, {0x040B, "fi-FI"},
    {0x040C, "fr-FR"}, {0x040D, "he-IL"},      {0x040E, "hu-HU"},      {0x040F, "is-IS"}, {0x0410, "it-IT"},
    {0x0411, "ja-JP"}, {0x0412, "ko-KR"},      {0x0413, "nl-NL"},      {0x0414, "nb-NO"}, {0x0415, "pl-PL"},
    {0x0416, "pt-BR"}, {0x0418, "ro-RO"},      {0x0419, "ru-RU"},      {0x041A, "hr-HR"}, {0x041B, "sk-SK"},
    {0x041C, "sq-AL"}, {0x041D, "sv-SE"},      {0x041E, "th-TH"},      {0x041F, "tr-TR"}, {0x0420, "ur-PK"},
    {0x0421, "id-ID"}, {0x0422, "uk-UA"},      {0x0423, "be-BY"},      {0x0424, "sl-SI"}, {0x0425, "et-EE"},
    {0x0426, "lv-LV"}, {0x0427, "lt-LT"},      {0x0429, "fa-IR"},      {0x042A, "vi-VN"}, {0x042B, "hy-AM"},
    {0x042D, "eu-ES"}, {0x042F, "mk-MK"},      {0x0436, "af-ZA"},      {0x0437, "ka-GE"}, {0x0439, "hi-IN"},
    {0x043A, "mt-MT"}, {0x043E, "ms-MY"},      {0x043F, "kk-KZ"},      {0x0441, "sw-KE"}, {0x0445, "bn-IN"},
    {0x0449, "ta-IN"}, {0x044A, "te-IN"},      {0x0450, "mn-MN"},      {0x0452, "cy-GB"}, {0x0456, "gl-ES"},
    {0x0461, "ne-NP"}, {0x0462, "fy-NL"},      {0x0464, "fil-PH"},     {0x046E, "lb-LU"}, {0x0801, "ar-IQ"},
    {0x0804, "zh-CN"}, {0x0807, "de-CH"},      {0x0809, "en-GB"},      {0x080A, "es-MX"}, {0x080C, "fr-BE"},
    {0x0810, "it-CH"}, {0x0813, "nl-BE"},      {0x0814, "nn-NO"},      {0x0816, "pt-PT"}, {0x0818, "ro-MD"},
    {0x0819, "ru-MD"}, {0x081D, "sv-FI"},      {0x083C, "ga-IE"},      {0x083E, "ms-BN"}, {0x0845, "bn-BD"},
    {0x0C01, "ar-EG"}, {0x0C04, "zh-HK"},      {0x0C07, "de-AT"},      {0x0C09, "en-AU"}, {0x0C0A, "es-ES"},
    {0x0C0C, "fr-CA"}, {0x1004, "zh-SG"},      {0x1007, "de-LU"},      {0x1009, "en-CA"}, {0x100A, "es-GT"},
    {0x100C, "fr-CH"}, {0x101A, "hr-BA"},      {0x1404, "zh-MO"},      {0x1407, "de-LI"}, {0x1409, "en-NZ"},
    {0x140A, "es-CR"}, {0x140C, "fr-LU"},      {0x141A, "bs-Latn-BA"}, {0x1801, "ar-MA"}, {0x1809, "en-IE"},
    {0x180A, "es-PA"}, {0x1C09, "en-ZA"},      {0x200A, "es-VE"},      {0x240A, "es-CO"}, {0x241A, "sr-Latn-RS"},
    {0x280A, "es-PE"}, {0x281A, "sr-Cyrl-RS"}, {0x2C0A, "es-AR"},      {0x300A, "es-EC"}, {0x3409, "en-PH"},
    {0x340A, "es-CL"}, {0x3801, "ar-AE"},      {0x380A, "es-UY"},      {0x3C0A, "es-PY"}, {0x4009, "en-IN"},
    {0x400A, "es-BO"}, {0x4409, "en-MY"},      {0x4809, "en-SG"},      {0x500A, "es-PR"}, {0x540A, "es-US"},
};
static_assert(std::size(kLanguages) <= kMaxLanguages);
static_assert(std::is_sorted(std::begin(kLanguages), std::end(kLanguages),
                             [](const row_t& a, const row_t& b) { return a.id < b.id; }));

// Languages whose first row is not the region that is meant when none is named.
constexpr row_t kDefaults[] = {{0x0804, "zh"}, {0x0C0A, "es"}};

// Unknown identifiers, and those that name no region, have no row of their own.
const row_t* RowOf(unsigned short languageId) {
  const auto* row = std::lower_bound(std::begin(kLanguages), std::end(kLanguages), languageId,
                                     [](const row_t& a, unsigned short id) { return a.id < id; });
  return row != std::end(kLanguages) && row->id == languageId ? row : nullptr;
}

char Lower(char unit) { return unit == '_' ? '-' : unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit + 32) : unit; }

bool IsSameTag(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return Lower(x) == Lower(y); });
}

// Whether `tag` names the same language with something left out at the end.
bool IsBeginOf(std::string_view tag, std::string_view whole) {
  return tag.size() < whole.size() && whole[tag.size()] == '-' && IsSameTag(tag, whole.substr(0, tag.size()));
}

std::atomic<unsigned short> productLanguage{kLanguageEnglish};

}  // namespace

unsigned short GetProductLanguageId() noexcept { return productLanguage.load(std::memory_order_relaxed); }

void SetProductLanguageId(unsigned short languageId) noexcept {
  productLanguage.store(languageId == 0 ? kLanguageEnglish : languageId, std::memory_order_relaxed);
}

unsigned short LanguageIdFromTag(std::string_view tag) {
  for (const row_t& row : kLanguages) {
    if (IsSameTag(tag, row.tag)) return row.id;
  }
  if (tag.empty()) return 0;
  for (const row_t& row : kDefaults) {
    if (IsSameTag(tag, row.tag)) return row.id;
  }
  for (const row_t& row : kLanguages) {
    if (IsBeginOf(tag, row.tag)) return row.id;
  }
  return 0;
}

std::string TagFromLanguageId(unsigned short languageId) {
  if (const row_t* const row = RowOf(languageId)) return row->tag;
  // A language without region: what its first region is called without it.
  if (languageId == 0 || languageId >= 0x0400) return {};
  for (const row_t& row : kLanguages) {
    if ((row.id & 0x03FF) == languageId) return std::string(row.tag, std::string_view(row.tag).find('-'));
  }
  return {};
}

std::size_t GetLanguageSlot(unsigned short languageId) noexcept {
  if (languageId == 0) languageId = GetProductLanguageId();
  if (const row_t* const row = RowOf(languageId)) return static_cast<std::size_t>(row - kLanguages);
  // Without region, or with one that has no row, a language has the texts of the region that is meant by itself.
  const std::string tag = TagFromLanguageId(languageId & 0x03FF);
  const row_t* const row = RowOf(tag.empty() ? kLanguageEnglish : LanguageIdFromTag(tag));
  return static_cast<std::size_t>(row - kLanguages);
}

std::string GetSlotTag(std::size_t slot) { return kLanguages[slot].tag; }

std::vector<language_t> GetAvailableLanguages() { return CLanguageModule::GetOwn()->GetLanguages(); }

}  // namespace i18n
