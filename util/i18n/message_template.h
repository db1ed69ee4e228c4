// The templates of messages: text with printf-like conversions, each of which shows one argument.
//
//   const CVariant arguments[] = {u"Pump 2", CVariant::FromInt32(7)};
//   CString text = i18n::ExpandTemplate(u"%s: %02d errors", arguments);                      // "Pump 2: 07 errors"
//   CString other = i18n::ExpandTemplate(u"%2$d Fehler bei %1$s", arguments);                // "7 Fehler bei Pump 2"
//
//   %[position$][flags][width][.precision][length]conversion
//
//   position    which argument, from 1; without one, the next in order. A position does not move that order on.
//   flags       - left, + and blank for the sign, 0 zeros, # the other form: as printf has them
//   width, precision   up to kMaxTemplateWidth; greater ones are taken as that. In units of UTF-16. There is no *.
//   length      hh h l ll L j z t q w I I32 I64: accepted, and without meaning, for each argument knows its own type
//   conversion  d i u o x X   integer. Signed ones in their own width for u o x X; reals rounded, half to even; a text
//                             that is a number as that number; truth as 0 and 1
//               f F e E g G a A   real, from any number or text that is one
//               c C           the character of a number; of a text the first
//               s S           CVariant::ToString; the precision cuts it
//               p             the integer as hexadecimal digits in its full width. Nothing is ever read by it
//   %%          one %
//
// An argument that a conversion of numbers cannot take (a text that is none, a date, an array, no value, a number that
// does not fit) is shown as ToString gives it. A % that begins nothing of the above stands for itself.
// Nothing here looks at the C locale. No state; any number of threads.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/values/variant.h"

namespace i18n {

/// In units of UTF-16. No message is made huge by its template.
inline constexpr unsigned kMaxTemplateWidth = 1024;

/// zorplatform::CException -1 when the template asks for more arguments than there are.
ZORUTIL_API CString ExpandTemplate(std::u16string_view text, std::span<const CVariant> arguments);

/// What a template asks for: `kind` is d (integers), f (reals), c, s or p.
struct template_argument_t {
  unsigned position;  ///< from 1
  char kind;          ///< d, f, c, s or p
  friend auto operator<=>(const template_argument_t&, const template_argument_t&) = default;
};
/// In rising order, one for each conversion: two templates with equal lists can stand for each other.
ZORUTIL_API std::vector<template_argument_t> GetTemplateArguments(std::u16string_view text);

}  // namespace i18n
