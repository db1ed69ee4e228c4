// The language files that go with a definition file: "motors.en.lang" and "motors.de.lang" beside "motors.prop".
#pragma once

#include <string>
#include <vector>

#include "tools/utilctl/definition_source.h"

namespace utilctl {

/// What a language file of these texts says, in UTF-8. It begins with a remark that it is made.
std::string LanguageFileText(const std::string& tag, const std::map<unsigned, CString>& texts);
/// The texts of all language files of that name in the folder.
text_table_t ReadLanguageFiles(const std::string& folder, const std::string& stem);
/// The tags of the language files of that name: those that LanguageFileText made, or those written by hand.
std::vector<std::string> FindLanguageFiles(const std::string& folder, const std::string& stem, bool isMade);
/// The text of a number in a language, else in English; empty without one.
CString FindText(const text_table_t& texts, unsigned number, unsigned short language);

/// From now on the library looks for language files in this folder first.
void UseLanguageFolder(const std::string& folder);

}  // namespace utilctl
