#include "util/json/patch.h"

#include <algorithm>
#include <iterator>
#include <list>
#include <map>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "util/json/json_text.h"
#include "util/json/pointer.h"
#include "util/json/pointer_internal.h"

namespace zorutil::json {
namespace {

using tokens_t = std::vector<CString>;

// Ends the patch; only Run throws and catches it.
struct failure_t {
  const char* cause;
};

// Calls with each value inside an object or array.
template <class Look>
void ForEachInner(const IValue& value, Look look) {
  if (value.IsObject()) {
    for (const member_t& member : static_cast<const object_t&>(value).members) look(member.value.get());
  } else if (value.IsArray()) {
    for (const auto& element : static_cast<const array_t&>(value).elements) look(element.get());
  }
}

// The levels of objects and arrays in a value; more than `limit` when there are more.
int Height(const IValue* value, int limit) {
  if (value == nullptr || value->IsScalar()) return 0;
  if (limit == 0) return 1;
  int highest = 0;
  ForEachInner(*value, [&](const IValue* inner) { highest = std::max(highest, Height(inner, limit - 1)); });
  return highest + 1;
}

// Whether a node stands in a value of known height.
bool Holds(const IValue* value, const IValue* sought) {
  bool holds = value == sought;
  if (value != nullptr) ForEachInner(*value, [&](const IValue* inner) { holds = holds || Holds(inner, sought); });
  return holds;
}

// A second value, of known height; `budget` is what may still be copied.
std::shared_ptr<IValue> Clone(const IValue* value, std::size_t& budget) {
  if (value == nullptr) return nullptr;
  if (budget == 0) throw failure_t{"the patch copies too many values"};
  --budget;
  if (value->IsScalar()) return std::make_shared<scalar_t>(static_cast<const scalar_t*>(value)->value);
  if (value->IsArray()) {
    auto copy = std::make_shared<array_t>();
    const auto& elements = static_cast<const array_t*>(value)->elements;
    copy->elements.reserve(elements.size());
    for (const auto& element : elements) copy->elements.push_back(Clone(element.get(), budget));
    return copy;
  }
  const auto& object = static_cast<const object_t&>(*value);
  auto copy = std::make_shared<object_t>(object.kind, member_list_t(), object.number1, object.number2, object.number3);
  properties::CopyPropertyList(object.properties, copy->properties);
  for (const member_t& member : object.members) {
    copy->members.emplace_back(member.name, Clone(member.value.get(), budget), 0);
  }
  return copy;
}

// Members by their names, for objects of many in which many are looked for: a list alone would make a patch of many
// operations on one object take the square of their number. Names that only differ in their place (duplicates) are left
// to the list, whose first one counts; no operation makes any.
class member_index_t {
 public:
  member_list_t::iterator Find(object_t& object, const CString& name) {
    places_t* const places = PlacesOf(object);
    if (places == nullptr) return FindExactly(object.members, name);
    const auto found = places->find(name.View());
    return found == places->end() ? object.members.end() : found->second;
  }
  /// A member came to the end of the object, which had none of its name.
  void OnAdded(object_t& object, member_list_t::iterator member) {
    if (places_t* const places = KnownPlacesOf(object)) places->emplace(member->name.View(), member);
  }
  /// A member is about to leave the object.
  void OnRemove(object_t& object, member_list_t::iterator member) noexcept {
    if (places_t* const places = KnownPlacesOf(object)) places->erase(member->name.View());
  }

 private:
  // By order, not by hash: names may be chosen to collide.
  using places_t = std::map<std::u16string_view, member_list_t::iterator>;
  static constexpr std::size_t kFewMembers = 16;
  static constexpr std::size_t kFewLooks = 8;
  struct entry_t {
    std::size_t looks = 0;
    std::optional<places_t> places;
  };

  places_t* KnownPlacesOf(const object_t& object) noexcept {
    const auto entry = entries_.find(&object);
    return entry == entries_.end() || !entry->second.places ? nullptr : &*entry->second.places;
  }
  places_t* PlacesOf(object_t& object) {
    if (object.members.size() <= kFewMembers) return KnownPlacesOf(object);
    entry_t& entry = entries_[&object];
    if (++entry.looks == kFewLooks) {
      places_t places;
      bool isUnique = true;
      for (auto at = object.members.begin(); isUnique && at != object.members.end(); ++at) {
        isUnique = places.emplace(at->name.View(), at).second;
      }
      if (isUnique) entry.places = std::move(places);
    }
    return entry.places ? &*entry.places : nullptr;
  }

  std::map<const object_t*, entry_t> entries_;  // the records of changes keep every object alive
};

// Carries operations out, and takes them back.
class patcher_t {
 public:
  patcher_t(std::shared_ptr<IValue>& document, bool mustBeObject, std::size_t maxCopies)
      : document_(document), mustBeObject_(mustBeObject), budget_(maxCopies) {}

  /// `path` is the one to name should it fail.
  void Run(const IValue* operation, CString& path) {
    if (operation == nullptr || !operation->IsObject()) throw failure_t{"an operation must be an object"};
    const auto& members = static_cast<const object_t*>(operation)->members;
    const CString op = Text(members, u"op", "an operation needs an \"op\" that is a text");
    path = Text(members, u"path", "an operation needs a \"path\" that is a text");
    const tokens_t to = Tokens(path);
    if (op == u"add") return Add(to, ValueOf(members));
    if (op == u"replace") return Replace(to, ValueOf(members));
    if (op == u"remove") {
      Remove(to);
      return;
    }
    if (op == u"test") {
      const auto* const expected = Find(members, u"value");
      if (expected == nullptr) throw failure_t{"the operation needs a \"value\""};
      if (!AreEqual(Existing(to)->get(), expected->value.get())) throw failure_t{"the value is another one"};
      return;
    }
    if (op != u"move" && op != u"copy") {
      throw failure_t{"\"op\" must be add, remove, replace, move, copy or test"};
    }
    const CString target = std::exchange(path, Text(members, u"from", "the operation needs a \"from\" that is a text"));
    const tokens_t from = Tokens(path);
    const std::shared_ptr<IValue> source = *Existing(from);
    path = target;
    if (op == u"copy") {
      CheckDepth(to, source.get());
      return Add(to, Clone(source.get(), budget_));
    }
    if (from == to) return;
    if (to.size() > from.size() && std::equal(from.begin(), from.end(), to.begin())) {
      throw failure_t{"a value cannot be moved into itself"};
    }
    Remove(from);
    CheckDepth(to, source.get());
    // By another of its places, in a document whose nodes stand in several.
    if (!to.empty() && Holds(source.get(), Existing(std::span(to).first(to.size() - 1))->get())) {
      throw failure_t{"a value cannot be moved into itself"};
    }
    Add(to, source);
  }

  void UndoAll() noexcept {
    for (; !undo_.empty(); undo_.pop_back()) Undo(undo_.back());
  }

 private:
  enum class change_t {
    NONE,
    DOCUMENT,
    MEMBER_VALUE,
    MEMBER_ADDED,
    MEMBER_REMOVED,
    ELEMENT_VALUE,
    ELEMENT_ADDED,
    ELEMENT_REMOVED
  };

  // What a change replaced. The objects and arrays live as long as the record: what holds them is in it or before it.
  struct undo_t {
    change_t change = change_t::NONE;
    object_t* object = nullptr;
    array_t* array = nullptr;
    member_list_t::iterator member;  // changed, added, or the one behind the removed
    std::size_t index = 0;
    std::shared_ptr<IValue> value;
    member_list_t removed;
  };

  static const member_t* Find(const member_list_t& members, std::u16string_view name) {
    const auto found =
        std::find_if(members.begin(), members.end(), [&](const member_t& member) { return member.name == name; });
    return found != members.end() ? &*found : nullptr;
  }
  static CString Text(const member_list_t& members, std::u16string_view name, const char* cause) {
    const member_t* const found = Find(members, name);
    if (found == nullptr || found->value == nullptr || !found->value->IsString()) throw failure_t{cause};
    return CString(static_cast<const scalar_t&>(*found->value).value.GetStringView());
  }
  static tokens_t Tokens(const CString& path) {
    auto tokens = ParsePointer(path);
    if (!tokens) throw failure_t{"this is not a JSON pointer"};
    return std::move(*tokens);
  }
  static std::shared_ptr<IValue> ValueOf(const member_list_t& members) {
    const member_t* const found = Find(members, u"value");
    if (found == nullptr) throw failure_t{"the operation needs a \"value\""};
    if (Height(found->value.get(), kMaxDepth) > kMaxDepth)
      throw failure_t{"the value is nested deeper than 128 levels"};
    std::size_t unlimited = SIZE_MAX;  // the patch holds it already
    return Clone(found->value.get(), unlimited);
  }

  static void CheckDepth(const tokens_t& at, const IValue* value) {
    const int room = kMaxDepth - static_cast<int>(std::min<std::size_t>(at.size(), kMaxDepth));
    if (Height(value, room) > room) throw failure_t{"the result would be nested deeper than 128 levels"};
  }

  // The place that the tokens lead to; it exists.
  std::shared_ptr<IValue>* Existing(std::span<const CString> tokens) {
    std::shared_ptr<IValue>* place = &document_;
    for (const CString& token : tokens) {
      IValue* const from = place->get();
      if (from != nullptr && from->IsObject()) {
        place = &ExistingMember(static_cast<object_t&>(*from), token)->value;
      } else if (from != nullptr && from->IsArray()) {
        auto& elements = static_cast<array_t*>(from)->elements;
        place = &elements[ExistingIndex(token, elements.size())];
      } else {
        throw failure_t{"there is nothing inside a scalar"};
      }
    }
    return place;
  }
  static std::size_t ExistingIndex(const CString& token, std::size_t size) {
    const auto index = ParseIndex(token);
    if (!index && token != u"-") throw failure_t{"the index of an element is a number"};
    if (!index || *index >= size) throw failure_t{"there is no such element"};
    return *index;
  }

  // The object or array that holds the last token's place; exactly one of them is set.
  struct parent_t {
    object_t* object = nullptr;
    array_t* array = nullptr;
  };
  parent_t Parent(const tokens_t& tokens) {
    IValue* const parent = Existing(std::span(tokens).first(tokens.size() - 1))->get();
    if (parent != nullptr && parent->IsObject()) return {static_cast<object_t*>(parent), nullptr};
    if (parent != nullptr && parent->IsArray()) return {nullptr, static_cast<array_t*>(parent)};
    throw failure_t{"there is nothing inside a scalar"};
  }

  // Room for the record comes first, so that no change is left without one.
  undo_t& Record() { return undo_.emplace_back(); }

  void SetDocument(std::shared_ptr<IValue> value) {
    if (mustBeObject_ && (value == nullptr || !value->IsObject())) throw failure_t{"the document must stay an object"};
    undo_t& undo = Record();
    undo.value = std::exchange(document_, std::move(value));
    undo.change = change_t::DOCUMENT;
  }

  void SetMember(object_t& object, member_list_t::iterator member, std::shared_ptr<IValue> value) {
    undo_t& undo = Record();
    undo.object = &object;
    undo.member = member;
    undo.value = std::exchange(member->value, std::move(value));
    undo.change = change_t::MEMBER_VALUE;
  }

  void SetElement(array_t& array, std::size_t index, std::shared_ptr<IValue> value) {
    undo_t& undo = Record();
    undo.array = &array;
    undo.index = index;
    undo.value = std::exchange(array.elements[index], std::move(value));
    undo.change = change_t::ELEMENT_VALUE;
  }

  void Add(const tokens_t& to, std::shared_ptr<IValue> value) {
    CheckDepth(to, value.get());
    if (to.empty()) return SetDocument(std::move(value));
    const auto [object, array] = Parent(to);
    if (object != nullptr) {
      const auto found = index_.Find(*object, to.back());
      if (found != object->members.end()) return SetMember(*object, found, std::move(value));
      undo_t& undo = Record();
      object->members.emplace_back(to.back(), std::move(value), 0);
      undo.object = object;
      undo.member = std::prev(object->members.end());
      undo.change = change_t::MEMBER_ADDED;
      index_.OnAdded(*object, undo.member);
      return;
    }
    auto& elements = array->elements;
    const std::size_t index = to.back() == u"-" ? elements.size() : ExistingIndex(to.back(), elements.size() + 1);
    undo_t& undo = Record();
    elements.insert(elements.begin() + static_cast<std::ptrdiff_t>(index), std::move(value));
    undo.array = array;
    undo.index = index;
    undo.change = change_t::ELEMENT_ADDED;
  }

  void Replace(const tokens_t& at, std::shared_ptr<IValue> value) {
    CheckDepth(at, value.get());
    if (at.empty()) return SetDocument(std::move(value));
    const auto [object, array] = Parent(at);
    if (array != nullptr) {
      return SetElement(*array, ExistingIndex(at.back(), array->elements.size()), std::move(value));
    }
    SetMember(*object, ExistingMember(*object, at.back()), std::move(value));
  }

  void Remove(const tokens_t& at) {
    if (at.empty()) throw failure_t{"the whole document cannot be removed"};
    const auto [object, array] = Parent(at);
    if (object != nullptr) {
      const auto member = ExistingMember(*object, at.back());
      undo_t& undo = Record();
      index_.OnRemove(*object, member);
      undo.object = object;
      undo.member = std::next(member);
      undo.removed.splice(undo.removed.end(), object->members, member);
      undo.change = change_t::MEMBER_REMOVED;
      return;
    }
    const std::size_t index = ExistingIndex(at.back(), array->elements.size());
    undo_t& undo = Record();
    undo.array = array;
    undo.index = index;
    undo.value = std::move(array->elements[index]);
    array->elements.erase(array->elements.begin() + static_cast<std::ptrdiff_t>(index));
    undo.change = change_t::ELEMENT_REMOVED;
  }

  member_list_t::iterator ExistingMember(object_t& object, const CString& name) {
    const auto found = index_.Find(object, name);
    if (found == object.members.end()) throw failure_t{"there is no such member"};
    return found;
  }

  void Undo(undo_t& undo) noexcept {
    const auto at = [&undo] { return undo.array->elements.begin() + static_cast<std::ptrdiff_t>(undo.index); };
    switch (undo.change) {
      case change_t::NONE: break;
      case change_t::DOCUMENT: document_ = std::move(undo.value); break;
      case change_t::MEMBER_VALUE: undo.member->value = std::move(undo.value); break;
      case change_t::MEMBER_ADDED: undo.object->members.erase(undo.member); break;
      case change_t::MEMBER_REMOVED: undo.object->members.splice(undo.member, undo.removed); break;
      case change_t::ELEMENT_VALUE: *at() = std::move(undo.value); break;
      case change_t::ELEMENT_ADDED: undo.array->elements.erase(at()); break;
      // The room that it had is still there.
      case change_t::ELEMENT_REMOVED: undo.array->elements.insert(at(), std::move(undo.value)); break;
    }
  }

  std::shared_ptr<IValue>& document_;
  const bool mustBeObject_;
  std::size_t budget_;
  std::list<undo_t> undo_;  // a list, because members' nodes move into it
  member_index_t index_;
};

// `finish` takes the result over; what it throws undoes the patch.
template <class Finish>
patch_error_t Apply(const IValue& patch, std::shared_ptr<IValue>& document, bool mustBeObject,
                    const patch_options_t& options, Finish finish) {
  if (!patch.IsArray()) return {"a patch must be an array of operations", 0, {}};
  patcher_t patcher(document, mustBeObject, options.maxCopies);
  int number = 0;
  CString path;
  try {
    for (const auto& operation : static_cast<const array_t&>(patch).elements) {
      ++number;
      path.Empty();
      patcher.Run(operation.get(), path);
    }
    finish();
  } catch (const failure_t& failure) {
    patcher.UndoAll();
    return {failure.cause, number, path};
  } catch (...) {
    patcher.UndoAll();
    throw;
  }
  return {};
}

}  // namespace

std::string patch_error_t::ToString() const {
  if (cause.empty()) return {};
  if (operation == 0) return cause;
  return "operation " + std::to_string(operation) + (path.IsEmpty() ? "" : ", " + path.ToUtf8()) + ": " + cause;
}

patch_error_t ApplyPatch(const IValue& patch, std::shared_ptr<IValue>& document, const patch_options_t& options) {
  return Apply(patch, document, false, options, [] {});
}

patch_error_t ApplyPatch(const IValue& patch, object_t& document, const patch_options_t& options) {
  std::shared_ptr<IValue> borrowed(std::shared_ptr<void>(), &document);
  return Apply(patch, borrowed, true, options, [&] {
    if (borrowed.get() == &document) return;
    object_t result(static_cast<const object_t&>(*borrowed));  // others may share the one that took the place
    document = std::move(result);
  });
}

patch_error_t ApplyPatch(const IValue& patch, root_t& document, const patch_options_t& options) {
  if (document.objects.size() == 1) return ApplyPatch(patch, document.objects.front(), options);
  return {"a patch needs a document of exactly one object", 0, {}};
}

}  // namespace zorutil::json
