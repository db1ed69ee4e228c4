// An object of the tree that stores what its type's description says (type_description.h shows one), and the table of
// its children.
//
// From the description come the records, documents and property lists of the object, which children it takes and where
// they are found. A type overrides what is its own: names, hooks, checks of its values (ValidateProperties), and calls
// the base from OnLoadComplete.
//
// Its own data in a record: the fields in their order, little-endian, without gaps, each as long as its kind (texts as
// in string_serialization.h, variants in their own form), then, unless the object alone is written, its tables in their
// order. In a document: "Description" when there is one, an element for each field, one for each table.
//
// Loading a record fails (0) when an object refuses a value of its own; loading a document when an element is no field
// or table, is there twice, or holds what the field cannot take, with the document's last error set. An open
// CLoadErrorScope hears of each of them instead, and loading goes on with the next element (load_errors.h). A field
// that a document does not have stays as it was; a description or table that it does not have is emptied. Saving a text
// that the document cannot hold (control characters in XML) writes it in base64, with the attribute "encoding".
//
// Threads, lifetime and copying are those of CTableObj. The description outlives the object.
#pragma once

#include <atomic>

#include "platform/export.h"
#include "util/objects/table.h"
#include "util/objects/table_obj.h"
#include "util/objects/type_description.h"

namespace zorutil {

/// An object whose data is told by a description: the top of this header says what that gives.
class ZORUTIL_API CDescribedObj : public CTableObj {
 public:
  ~CDescribedObj() override;

  /// The description, not the text of that name.
  const type_description_t& GetTypeDescription() const noexcept { return *type_; }

  // --- properties ------------------------------------------------------------------------------------------------

  /// Those of CTableObj, then one for each field, of the type that its definition expects.
  void GetProperties(properties::property_list_t& list) const override;
  /// Takes the name, the description and the fields of the list; of two properties of one id the later counts; other
  /// ids, and the type, are left alone. All or nothing: i18n::message_exception_t for a value that a field cannot take,
  /// with the field's name as its first text, or a name that is taken or not valid, and then the object is as it was.
  void SetProperties(const properties::property_list_t& list) override;

  // --- children --------------------------------------------------------------------------------------------------

  /// Whether a table takes objects of this type.
  bool CanAddObject(const CTableObj* object) const override;
  /// Inserts into the first table that takes the type. False, and the object is still the caller's, when none does or
  /// the name is taken there.
  bool AddObject(CTableObj* object) override;
  CTable* GetChildTable(unsigned index) const override;
  ref_counted_obj_ptr_vec_t GetChildObjects(short type, short subtype) override;
  ref_counted_obj_ptr FindObjectByName(const char16_t* name, ITableObjVisitor& visitor) const override;
  /// Makes the name of an object free in the table that takes it; an object without name is called after its type.
  /// False when no table takes it.
  bool GenerateName(CTableObj* object) const override;
  /// That of every child, then nothing of its own: called once for the root when a project is loaded.
  void OnLoadComplete() override;

  /// The data as the description lists it, in the forms above.
  /// @{
  int OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const override;
  int OnSave(CFile* file) const override;
  int OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) override;
  int OnLoad(CFile* file) override;
  /// @}

 protected:
  /// Modifications are tracked.
  explicit CDescribedObj(const type_description_t& type);
  CDescribedObj(const CDescribedObj&) = default;

 private:
  class CDocumentReader;
  CTable* GetTableFor(const CTableObj* object) const;

  const type_description_t* type_;
};

/// The object as a described one; null when it is null or none.
inline const CDescribedObj* AsDescribed(const CTableObj* object) { return dynamic_cast<const CDescribedObj*>(object); }
inline CDescribedObj* AsDescribed(CTableObj* object) { return dynamic_cast<CDescribedObj*>(object); }

/// Sets one field, under the object's lock (the caller's to take): converts the value (FieldFromVariant), marks the
/// object as modified when it takes it. Anything else leaves the object as it was.
ZORUTIL_API field_result_t SetField(CDescribedObj& object, const field_t& field, const CVariant& value);
/// The value as FieldToVariant gives it; under the object's lock (the caller's to take).
ZORUTIL_API CVariant GetField(const CTableObj& object, const field_t& field);

/// A table of children as a member of a described object. Its name is the description's, and it takes no objects of
/// other types than the description says.
class ZORUTIL_API CChildTable : public CTable {
 public:
  /// The owner's description says what the table is called and takes. `growthIncrement`: see CTable.
  explicit CChildTable(CDescribedObj& owner, unsigned growthIncrement = 16);
  ~CChildTable() override;
  CString GetTableName() const override;
  /// Null when the owner's description does not have the table, which then takes nothing.
  const child_table_t* GetTableDescription() const;

 protected:
  bool CanHold(const CTableObj& object) const override;

 private:
  mutable std::atomic<const child_table_t*> description_{nullptr};
};

}  // namespace zorutil
