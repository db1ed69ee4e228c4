// What differs between two trees of objects, object by object and setting by setting.
//
//   const auto diff = zorutil::project::DiffTrees(*saved, *running);
//   if (diff.IsEmpty()) return;                                       // the trees are equal
//   std::cout << diff.ToString().ToUtf8();
//   // ~ Plant.Boiler.PLC1.FT101
//   //     ScanRate: 100 -> 250
//   // - Plant.Boiler.PLC1.FT102 (Tag)
//   // + Plant.Boiler.PLC2 (Device), with 12 objects below it
//   // > Plant.Boiler.PLC1.FT103 -> Plant.Boiler.PLC1.FT203
//   SavePatch(json::WriteText(*diff.ToPatch()));                      // carries the first tree over into the second
//
// Objects are told by their names: one whose name is only in the first tree was removed, one whose name is only in the
// second was added, with all that is below. So is one whose type is another: it is told as removed and then as added.
// A name that changed in letter case only, where the table finds it so, is a changed name of one object. Beyond that
// two trees do not tell a renamed object from a removed and an added one; but where exactly one that was removed and
// exactly one that was added are equal in all but the name, whatever their tables, they are told as one that moved.
// Tables of their own order (CUnorderedTable) go by the exact name, and tell which records now stand behind the others.
//
// Settings are compared bit for bit (AreSame of field_value.h), a password by its encrypted text. IsEmpty() is
// AreTreesEqual (project_file.h).
//
// Differences stand in the order of the trees: an object before what is below it, tables in their order, what was
// removed where it stood in the first tree. Work and time grow with the size of both trees, and for each object that
// was removed by a look-up.
//
// A diff is a value; it holds references on the objects that it names. Both trees are locked branch by branch on the
// way down, so other threads may change them meanwhile by the rules of table_obj.h; each difference was then true at
// some moment. Different threads may use different diffs; ToPatch and ToString only read.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/json/object.h"
#include "util/objects/object_ref.h"
#include "util/values/variant.h"

namespace zorutil::project {

/// One setting that changed.
struct property_change_t {
  int id = 0;    ///< of the property (zorutil::kObjectName for the name)
  CString name;  ///< in documents: "Name", "Description", that of the field; the number for objects without description
  CVariant before;          ///< as in property lists; empty for a password, which is never told
  CVariant after;           ///< the same
  bool isPassword = false;  ///< whether it is one that is stored encrypted
};

/// What became of an object.
enum class change_t : int {
  ADDED,    ///< the object and all below it is only in the second tree
  REMOVED,  ///< only in the first
  CHANGED,  ///< its own settings
  MOVED,    ///< under another name or parent, with the same content; in a table of its own order, to another place
};

/// One object that differs.
struct object_change_t {
  change_t kind = change_t::CHANGED;  ///< which of the fields below have a meaning
  CString path;    ///< as CTableObj::GetPath gives it, in the first tree; of what was added, in the second
  CString toPath;  ///< of what moved, in the second tree
  std::vector<property_change_t> properties;  ///< of what changed
  std::size_t below = 0;                      ///< objects below one that was added or removed
  ref_counted_obj_ptr before;                 ///< the object in the first tree, if it is there
  ref_counted_obj_ptr after;                  ///< the object in the second tree, if it is there

  // JSON pointers as project_patch.h takes them, with the names of the first tree.
  CString pointer;    ///< of the object; of what was added, where it comes
  CString toPointer;  ///< of what moved
};

class ZORUTIL_API project_diff_t {
 public:
  project_diff_t();
  project_diff_t(const project_diff_t&);
  project_diff_t(project_diff_t&&) noexcept;
  project_diff_t& operator=(const project_diff_t&);
  project_diff_t& operator=(project_diff_t&&) noexcept;
  ~project_diff_t();

  /// Whether the trees are equal.
  bool IsEmpty() const noexcept { return changes_.empty(); }
  /// In the order of the trees; valid as long as the diff.
  const std::vector<object_change_t>& GetChanges() const noexcept { return changes_; }
  /// How many changes are of a kind.
  std::size_t Count(change_t kind) const noexcept;
  /// Lines for people and programs, the same in every language: "+", "-", "~" and ">" with the paths, under "~" a line
  /// for each setting. Values are as in documents, texts in quotes with \ escapes; of passwords only that they changed.
  CString ToString() const;
  /// The RFC 6902 patch that makes the second tree of the first (project_patch.h): an array of operations, without any
  /// for equal trees. Values, passwords in their encrypted form included, are those of the objects of the second tree
  /// now. i18n::message_exception_t for objects that are not described or have names that no pointer tells apart.
  std::shared_ptr<json::IValue> ToPatch() const;

 private:
  friend class CDiffer;
  std::vector<object_change_t> changes_;
  CString ambiguous_;  // the path of an object that is not the only one of its name
};

/// From `a` to `b`, which need not be roots: the first segment of a path is then the object's name. Two roots of
/// different types differ in everything: REMOVED and ADDED, and have no patch.
ZORUTIL_API project_diff_t DiffTrees(const CTableObj& a, const CTableObj& b);

}  // namespace zorutil::project
