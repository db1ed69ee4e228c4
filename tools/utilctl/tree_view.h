// A tree of objects as its types describe it: the objects of a project with their settings and tables, in order.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "platform/framework/cstring.h"
#include "util/objects/described_object.h"

namespace utilctl {

/// The records of one table.
struct children_t {
  CString name;
  std::vector<const CTableObj*> objects;
};
/// The tables that have records.
std::vector<children_t> ChildrenOf(const CTableObj& object);

std::string TypeNameOf(const CTableObj& object);
std::string NameOf(const CTableObj& object);

/// A setting as text for people: a password as stars, a text in quotes.
std::string FieldTextOf(const CTableObj& object, const zorutil::field_t& field);
/// The fields of the object's type; none without a description.
std::span<const zorutil::field_t> FieldsOf(const CTableObj& object);

/// Calls for the object and all below it, parents first, with the path and how deep it lies (0: the object itself).
/// False from the call leaves out what is below.
template <class Visit>
void WalkTree(const CTableObj& object, const std::string& path, int depth, Visit& visit) {
  if (!visit(object, path, depth)) return;
  for (const children_t& table : ChildrenOf(object)) {
    for (const CTableObj* const child : table.objects) {
      WalkTree(*child, path + '.' + NameOf(*child), depth + 1, visit);
    }
  }
}

}  // namespace utilctl
