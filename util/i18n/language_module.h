// The language resources of one library: its name, the folders in which its language files lie, and English built in.
//
//   // In a plug-in, once, when it is loaded; it keeps the reference for as long as it is there.
//   static const char kEnglish[] = "[Texts]\n1 = The device %s does not answer.\n2 = Waiting\n";
//   std::shared_ptr<const i18n::CLanguageModule> texts = i18n::CLanguageModule::Register(u"motors", kEnglish,
//   kEnglish);
//
//   auto message = std::make_unique<i18n::CLocalizedMessage>(i18n::CLocalizedResource(texts, 1),
//                                                            std::vector<CVariant>{u"PLC 4"});
//
// A module's language file is named after it and the language's tag: motors.de.lang, motors.de-AT.lang. It is looked
// for in the folders of the environment variable ZORUTIL_LANG_DIR, beside the library, and in the data folder of the
// installation; the first that is found counts. A text is taken from the file of the region, else from that of the
// language, else it is English: from the English file, else built in. So nothing is ever missing that is built in.
//
// English is the reference. A text that asks for other arguments than the English one (GetTemplateArguments), or whose
// number English does not have, is not used, whatever the file says; see GetProblems.
//
// A module is read the first time a text of a language is asked for, and then never again. It is immutable and shared:
// a shared reference, such as each message holds one, keeps it alive, and it needs nothing of the plug-in that
// registered it. Any number of threads.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/i18n/language.h"

namespace i18n {

/// What is wrong with a line of a language file. `what` is in English.
struct language_problem_t {
  CString file;        ///< the path; "motors.en.lang" for what is built in
  std::uint32_t line;  ///< from 1; 0 for the file as a whole
  std::string what;    ///< for people, as in "no text of the number 12"
};

class ZORUTIL_API CLanguageModule {
 public:
  /// Makes a module and lets Find give it; one of the same name that was there is no longer found. `english` is the
  /// content of a language file, in UTF-8, and is copied. `addressInside` is any address in the library's code or
  /// constants and tells where it lies; null means that the module has no folder of its own.
  /// CInvalidArgException for a name that IsName refuses, and for this library's own.
  static std::shared_ptr<const CLanguageModule> Register(const CString& name, std::string_view english,
                                                         const void* addressInside);
  /// The module of that name that was registered last, while anybody holds it; else null.
  static std::shared_ptr<const CLanguageModule> Find(const CString& name);
  /// The module of this library, "libutil".
  static const std::shared_ptr<const CLanguageModule>& GetOwn();
  /// Whether a text may be a module's name: 1 to 64 ASCII letters, digits, "-", "_" and ".", the first of them no ".".
  static bool IsName(std::u16string_view name);

  CLanguageModule(const CLanguageModule&) = delete;
  CLanguageModule& operator=(const CLanguageModule&) = delete;
  ~CLanguageModule();

  /// As it was registered.
  const CString& GetName() const noexcept { return name_; }
  /// The template of a number; empty when there is none. 0 is the product language; a region that is not known means
  /// its language without region, and a language that is not known means English.
  CString GetText(unsigned id, unsigned short languageId) const;
  /// All numbers, rising: those that English has.
  std::vector<unsigned> GetIds() const;
  /// English, and every language of which a file is found, in the order of their tags. Looks at the disk.
  std::vector<language_t> GetLanguages() const;
  /// What was wrong with the files of a language and its region, in the order in which they were read; a number that
  /// none of them has is a problem too. For English that of the English file, or of what is built in.
  std::vector<language_problem_t> GetProblems(unsigned short languageId) const;

 private:
  struct state_t;
  struct table_t;
  CLanguageModule(const CString& name, std::string_view english, const void* addressInside);
  const table_t& GetTable(unsigned short languageId) const;
  std::unique_ptr<const table_t> LoadTable(const std::string& tag) const;

  CString name_;
  std::unique_ptr<state_t> state_;
};

}  // namespace i18n
