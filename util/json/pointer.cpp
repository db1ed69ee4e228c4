#include "util/json/pointer.h"

#include <algorithm>

#include "platform/text/ascii_internal.h"
#include "platform/text/number_text.h"
#include "util/json/pointer_internal.h"

namespace zorutil::json {

std::optional<std::size_t> ParseIndex(std::u16string_view token) {
  const bool areDigits = std::all_of(token.begin(), token.end(), ascii::IsDigit);
  if (token.empty() || !areDigits || (token.size() > 1 && token[0] == u'0')) return std::nullopt;
  return number_text::ParseUInt64(token);  // beyond 64 bits the largest, which no array reaches
}

member_list_t::iterator FindExactly(member_list_t& members, const CString& name) {
  return std::find_if(members.begin(), members.end(), [&](const member_t& member) { return member.name == name; });
}

namespace {

// Where one step from a value leads, or null.
std::shared_ptr<IValue>* Step(IValue* from, const CString& token) {
  if (from == nullptr) return nullptr;
  if (from->IsObject()) {
    auto& members = static_cast<object_t*>(from)->members;
    const auto found = FindExactly(members, token);
    return found != members.end() ? &found->value : nullptr;
  }
  if (!from->IsArray()) return nullptr;
  auto& elements = static_cast<array_t*>(from)->elements;
  const auto index = ParseIndex(token);
  return index && *index < elements.size() ? &elements[*index] : nullptr;
}

}  // namespace

std::optional<std::vector<CString>> ParsePointer(std::u16string_view pointer) {
  std::vector<CString> tokens;
  if (pointer.empty()) return tokens;
  if (pointer[0] != u'/') return std::nullopt;
  for (std::size_t begin = 1; begin <= pointer.size();) {
    const std::size_t end = std::min(pointer.find(u'/', begin), pointer.size());
    CString token(pointer.substr(begin, end - begin));
    begin = end + 1;
    if (token.Find(u'~') >= 0) {
      for (int at = -1; (at = token.Find(u'~', at + 1)) >= 0;) {
        const char16_t kind = token[at + 1];
        if (kind != u'0' && kind != u'1') return std::nullopt;
      }
      token.Replace(u"~1", u"/");
      token.Replace(u"~0", u"~");  // last, so that "~01" is "~1"
    }
    tokens.push_back(std::move(token));
  }
  return tokens;
}

void AppendPointerToken(CString& pointer, std::u16string_view name) {
  CString token(name);
  token.Replace(u"~", u"~0");
  token.Replace(u"/", u"~1");
  pointer += u'/';
  pointer += token;
}

std::shared_ptr<IValue>* ResolvePointer(std::shared_ptr<IValue>& document, std::u16string_view pointer) {
  const auto tokens = ParsePointer(pointer);
  if (!tokens) return nullptr;
  std::shared_ptr<IValue>* place = &document;
  for (const CString& token : *tokens) {
    place = Step(place->get(), token);
    if (place == nullptr) return nullptr;
  }
  return place;
}

std::shared_ptr<IValue> ResolvePointer(const object_t& object, std::u16string_view pointer) {
  // Borrowed for the walk, which changes nothing.
  std::shared_ptr<IValue> borrowed(std::shared_ptr<void>(), const_cast<object_t*>(&object));
  const std::shared_ptr<IValue>* const place = ResolvePointer(borrowed, pointer);
  return place != nullptr && place != &borrowed ? *place : nullptr;
}

}  // namespace zorutil::json
