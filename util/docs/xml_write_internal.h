// From a libxml2 tree to its text in UTF-8, laid out so that a changed value is a changed line.
#pragma once

#include <libxml/tree.h>

#include <functional>
#include <string_view>

namespace xml {

/// True when the white space among the children of an element is layout: there is nothing else beside child elements,
/// comments and processing instructions.
bool IsLaidOut(const xmlNode* element) noexcept;

/// Gives the text to `write` in blocks.
void Write(const xmlDoc* doc, const std::function<void(std::string_view)>& write);

}  // namespace xml
