#include "util/properties/property_types.h"

#include <algorithm>
#include <iterator>

#include "platform/ole/ole_types.h"
#include "util/i18n/localized_resource.h"
#include "util/i18n/message_ids.h"
#include "util/values/enum_text_internal.h"

namespace zorutil::properties {

namespace {

struct type_name_t {
  property_type_t type;
  const char16_t* name;
};

// In the order in which people are offered them, which is not that of the numbers.
constexpr type_name_t kNames[] = {
    {TYPE_NONE, u"None"},
    {TYPE_ALLOW_DENY, u"AllowDeny"},
    {TYPE_ENABLE_DISABLE, u"EnableDisable"},
    {TYPE_YES_NO, u"YesNo"},
    {TYPE_STRING, u"String"},
    {TYPE_PASSWORD, u"Password"},
    {TYPE_LOCAL_FILE_SPEC, u"LocalFileSpec"},
    {TYPE_UNC_FILE_SPEC, u"UncFileSpec"},
    {TYPE_LOCAL_PATH_SPEC, u"LocalPathSpec"},
    {TYPE_UNC_PATH_SPEC, u"UncPathSpec"},
    {TYPE_STRING_WITH_BROWSER, u"StringWithBrowser"},
    {TYPE_INTEGER, u"Integer"},
    {TYPE_HEX, u"Hex"},
    {TYPE_OCTAL, u"Octal"},
    {TYPE_SIGNED_INTEGER, u"SignedInteger"},
    {TYPE_REAL4, u"Real4"},
    {TYPE_REAL8, u"Real8"},
    {TYPE_ENUMERATION, u"Enumeration"},
    {TYPE_PROP_ARRAY, u"PropArray"},
    {TYPE_GROUP, u"Group"},
    {TYPE_TIME_OF_DAY, u"TimeOfDay"},
    {TYPE_DATE, u"Date"},
    {TYPE_DATE_AND_TIME, u"DateAndTime"},
    {TYPE_BLOB, u"Blob"},
    {TYPE_STRING_ARRAY, u"StringArray"},
};

}  // namespace

property_type_t PropertyTypeFromText(const char16_t* text) noexcept {
  const int row = enum_text::IndexOf(kNames, text, &type_name_t::name);
  return row < 0 ? TYPE_UNKNOWN : kNames[row].type;
}

const char16_t* PropertyTypeToText(property_type_t type) noexcept {
  const auto row = std::find_if(std::begin(kNames), std::end(kNames), [type](auto& r) { return r.type == type; });
  return row == std::end(kNames) ? u"" : row->name;
}

bool IsNoDataProperty(property_type_t type) noexcept { return type == TYPE_NONE; }

bool IsBooleanProperty(property_type_t type) noexcept {
  return type == TYPE_ALLOW_DENY || type == TYPE_ENABLE_DISABLE || type == TYPE_YES_NO;
}

bool IsStringProperty(property_type_t type) noexcept {
  return (type >= TYPE_STRING && type <= TYPE_UNC_PATH_SPEC) || type == TYPE_STRING_WITH_BROWSER ||
         type == TYPE_STRING_ARRAY;
}

bool IsIntegerProperty(property_type_t type) noexcept { return type >= TYPE_INTEGER && type <= TYPE_SIGNED_INTEGER; }

bool IsFloatingPointProperty(property_type_t type) noexcept { return type == TYPE_REAL8 || type == TYPE_REAL4; }

bool IsEnumProperty(property_type_t type) noexcept { return type == TYPE_ENUMERATION; }

bool IsPropertyArrayProperty(property_type_t type) noexcept { return type == TYPE_PROP_ARRAY; }

bool IsGroupProperty(property_type_t type) noexcept { return type == TYPE_GROUP; }

bool IsTimeOfDayProperty(property_type_t type) noexcept { return type == TYPE_TIME_OF_DAY; }

bool IsDateProperty(property_type_t type) noexcept { return type == TYPE_DATE; }

bool IsDateAndTimeProperty(property_type_t type) noexcept { return type == TYPE_DATE_AND_TIME; }

bool IsTimeBasedProperty(property_type_t type) noexcept {
  return type >= TYPE_TIME_OF_DAY && type <= TYPE_DATE_AND_TIME;
}

bool IsBlobProperty(property_type_t type) noexcept { return type == TYPE_BLOB; }

unsigned short ExpectedVartype(property_type_t type) noexcept {
  if (type == TYPE_STRING_ARRAY) return VT_ARRAY | VT_BSTR;
  if (IsStringProperty(type)) return VT_BSTR;
  if (IsBooleanProperty(type)) return VT_BOOL;
  if (IsTimeBasedProperty(type)) return VT_I4;
  switch (type) {
    case TYPE_NONE: return VT_EMPTY;
    case TYPE_SIGNED_INTEGER:
    case TYPE_ENUMERATION: return VT_INT;
    case TYPE_REAL8: return VT_R8;
    case TYPE_REAL4: return VT_R4;
    case TYPE_BLOB: return VT_ARRAY | VT_UI1;
    default: return VT_UINT;
  }
}

void GetBooleanStrings(property_type_t type, CString& trueText, CString& falseText) {
  const auto take = [&](unsigned idOfTrue, unsigned idOfFalse) {
    trueText = i18n::CLocalizedResource(idOfTrue).GetText(0);
    falseText = i18n::CLocalizedResource(idOfFalse).GetText(0);
  };
  switch (type) {
    case TYPE_ALLOW_DENY: return take(i18n::IDS_ALLOW, i18n::IDS_DENY);
    case TYPE_ENABLE_DISABLE: return take(i18n::IDS_ENABLE, i18n::IDS_DISABLE);
    case TYPE_YES_NO: return take(i18n::IDS_YES, i18n::IDS_NO);
    default: trueText = u"True", falseText = u"False";
  }
}

}  // namespace zorutil::properties
