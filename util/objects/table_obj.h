// An object of the configuration tree: a named, typed node that is a record of a table of its parent (table.h).
//
//   zorutil::owned_obj_ptr channel(CTableObj::CreateObject(kChannel, 0));       // by a registered factory
//   channel->SetName(u"Channel 1");
//   plant.AddObject(channel.release());                                        // now the plant's
//   plant.FindObject(u"Channel 1.PLC 1")->SetDescription(u"boiler house");
//   plant.Save(&file, false);                                                  // with everything below it
//
// Types derive from it (or from CDescribedObj, which does the work), and are made through factories: by number, by name
// (type_registry.h), by property list, or from a stored record.
//
// Ownership. A table owns its records; an object in no table belongs to whoever made it. Delete() ends its life, or
// leaves that to the last reference. An object is told by its address, and copied by CopyObject.
//
// Threads. One rule for each kind of access:
//
// - References (AddRef, RemoveRef, object_ref.h): any thread that holds one may take and give back others, at any time.
//   So may the others insert, remove, rename and delete the object or any ancestor meanwhile: the counts of the object,
//   of its table and of each ancestor add up at every moment when no such call is under way. An object is destroyed
//   once, by whoever gives back the last reference on it and on everything below it. The first reference is taken where
//   the object cannot go: under the lock of its table, or by the one who made it. FindObject and its like do so.
// - An object with a reference keeps its table and all ancestors in memory as long as it stands below them. What
//   GetParent, GetTable and GetLock return is valid as long as the object stays where it is.
// - The names, the descriptions and the bool queries of the state may be read at any time, but GetName itself: where
//   others may rename, take GetDisplayName, GetPath, or the lock. SetName, SetDescription and SetModified may be called
//   at any time, but SetName for an object that is just being put into a table.
// - Everything else that changes, properties above all, is read and changed under the object's lock (GetLock, best held
//   by zorutil::object_lock_t), which is that of its table. SetCustomBit, GetCustomBit, Load and Save take it
//   themselves, but for objects in no table, which are one thread's: there Load and the custom bits do without.
// - Locks are taken downwards only: the process's lock of objects in no table (of the root, that is), the lock of a
//   table, that of a table below one of its records. Whoever holds one does not take an upper one. The library itself
//   climbs (counts, modified marks, paths) without these locks.
// - A table destroys its records with itself, on Reset and on CTable::Delete, whoever holds references on them.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/framework/sync.h"
#include "util/objects/object_ref.h"
#include "util/properties/property_model.h"

class CFile;
class CStructuredDoc;
class CTable;

namespace zorutil {

class object_lock_t;
class CTableChanges;

/// The properties that every object has, of namespace 1.
enum object_property_t : int {
  kObjectName = 0x200100,         ///< VT_BSTR
  kObjectDescription = 0x200200,  ///< VT_BSTR
  kObjectType = 0x200300,         ///< VT_I2
  kObjectSubtype = 0x200400,      ///< VT_I2
};

}  // namespace zorutil

/// A node of the tree; the top of this header says how it is used.
class ZORUTIL_API CTableObj : public zorutil::properties::IPropertyModel {
 public:
  /// For short: the names of zorutil::properties that the members below use.
  /// @{
  using property_list_t = zorutil::properties::property_list_t;
  using IValidationContext = zorutil::properties::IValidationContext;
  using IPropertyEditor = zorutil::properties::IPropertyEditor;
  /// @}

  /// What CopyObject copies: the object alone, or with all its children.
  enum copy_how_t : int { kCopyHierarchy = 0, kCopyObject = 1 };

  /// An order of objects for people, where a type has one.
  class ZORUTIL_API ITableObjectCompare {
   public:
    virtual ~ITableObjectCompare();
    /// Negative, zero or positive.
    virtual int Compare(const CTableObj& a, const CTableObj& b) const = 0;
  };

  /// Says, as long as it lives, that an object is being loaded or saved. Load and Save open one around the object's own
  /// data. The two figures are those of the calling thread.
  class ZORUTIL_API serialization_scope_t {
   public:
    /// `isDocument`: to or from a structured document, rather than a binary record.
    serialization_scope_t(const CTableObj& object, bool single, bool isDocument) noexcept;
    serialization_scope_t(const serialization_scope_t&) = delete;
    serialization_scope_t& operator=(const serialization_scope_t&) = delete;
    ~serialization_scope_t();

    /// How many scopes are open.
    static thread_local unsigned sm_uRecursionCount;
    /// Whether the outermost one is of a whole tree: of an object without parent, with its children.
    static thread_local bool sm_bRootSerializing;

   private:
    const CTableObj& object_;
    std::uint8_t saved_;
  };

  /// The deepest nesting of Load and Save, and so of a tree that is stored.
  static constexpr unsigned kMaxDepth = 128;

  // --- virtual operations, in the order of their slots -------------------------------------------------------------

  ~CTableObj() override;
  /// Whether children come and go by themselves, as the devices found on a bus do.
  virtual bool HasDynamicChildren() const { return false; }
  /// Those of zorutil::object_property_t.
  void GetProperties(property_list_t& list) const override;
  /// Takes the name and the description from the list, where they stand in it; the type is not changed.
  void SetProperties(const property_list_t& list) override;
  /// i18n::message_exception_t, message 504, for a name that is not valid.
  void ValidateProperties(const property_list_t& list, IValidationContext& context) const override;
  std::shared_ptr<IPropertyEditor> GetPropertyHelper(int id, const property_list_t& list) override;
  bool MayChildrenChange() const override { return HasDynamicChildren(); }
  /// For derived types: a property was changed by somebody else than this object.
  virtual void OnPropertyChanged(int id);
  /// Gives the object another name, and in its table the place that goes with it. False, and nothing changes, when the
  /// table holds another object of that name. Null is empty; no other name is refused here. Other threads that take
  /// the table's lock never see the table without the object. std::bad_alloc changes nothing.
  virtual bool SetName(const char16_t* name);
  /// For derived types: gives a new object a name; here it stays without one.
  virtual void SetDefaultName() {}
  /// The rule of IsValidBaseName.
  virtual bool IsValidName(const char16_t* name) const;
  /// The name as people see it, also while another thread renames the object. A name that SetName then refuses may be
  /// seen for a moment.
  virtual CString GetDisplayName() const;
  /// Gives an object that is to be added a name that is free among the children. False if there is none, and here.
  virtual bool GenerateName(CTableObj* object) const;
  /// The first object below this one that has the name and that the visitor accepts. Empty here; object_search.h has
  /// what types with child tables answer.
  virtual zorutil::ref_counted_obj_ptr FindObjectByName(const char16_t* name, zorutil::ITableObjVisitor& visitor) const;
  /// The children of a type and subtype; -1 is any. Empty here, see object_search.h.
  virtual zorutil::ref_counted_obj_ptr_vec_t GetChildObjects(short type, short subtype);
  /// Takes an object into the child table that it belongs to, and then owns it. False if it takes none such, and here.
  virtual bool AddObject(CTableObj* object);
  /// The object at a path: the names below this object, joined by ".", of which the last is of a type and subtype (-1
  /// is any). On an object without parent the path may begin with its own name, as GetPath gives it; it is read so
  /// first. Empty when there is none.
  virtual zorutil::ref_counted_obj_ptr FindObject(const char16_t* path, short type, short subtype) const;
  zorutil::ref_counted_obj_ptr FindObject(const char16_t* path) const { return FindObject(path, -1, -1); }
  /// Whether the object is a child of this one.
  virtual bool CanDeleteObject(const CTableObj* object) const;
  /// Whether AddObject makes sense; here, for any but null.
  virtual bool CanAddObject(const CTableObj* object) const;
  /// That of the table; for objects in no table one of the process. An override takes no reference on this object.
  virtual CSyncObject* GetLock() const;
  /// True marks the object, its table and every ancestor, each only if it tracks modifications; while the object is
  /// being loaded or saved, only itself. False clears the object's own mark.
  virtual void SetModified(bool isModified);
  /// Null for an object in no table, and in a table without owner. An override takes no reference on this object.
  virtual CTableObj* GetParent() const;
  /// The object was made by a person, not loaded.
  virtual void OnInitialCreation() {}
  /// Everything that was loaded together is in.
  virtual void OnLoadComplete() {}
  /// For derived types: the object was moved within its tree. Called by patches.
  virtual void OnObjMove() {}
  /// For derived types: the object was pasted from a copy. The library does not call it.
  virtual void OnObjPaste() {}
  /// For derived types: people may look, but not change. The library does not ask.
  virtual bool IsReadOnly() const { return false; }
  /// The object was made from this list (CreateObject). Exceptions end the creation.
  virtual void PostCreate(const property_list_t& list);
  /// Null when the order is that of the names.
  virtual std::unique_ptr<ITableObjectCompare> GetObjectComparisonFunc();

  /// The object's own data, after the head that Load and Save care for; with the children when IsRecursing(). Non-zero
  /// for success. While a record is loaded, GetVersion() is that of the record.
  /// @{
  virtual int OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const = 0;
  virtual int OnSave(CFile* file) const = 0;
  virtual int OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) = 0;
  virtual int OnLoad(CFile* file) = 0;
  /// @}

  /// The tables of children, from 0 on; null behind the last. The tables stay the same as long as the object lives.
  virtual CTable* GetChildTable(unsigned index) const;

  // --- identity ----------------------------------------------------------------------------------------------------

  /// Type in the high half, subtype in the low one. A negative subtype fills the high half with ones.
  static constexpr std::int32_t MakeFullType(short type, short subtype) noexcept {
    return static_cast<std::int32_t>((static_cast<std::uint32_t>(type) << 16) | static_cast<std::uint32_t>(subtype));
  }
  /// The halves of a full type, as MakeFullType joins them.
  /// @{
  static constexpr short TypeFromFullType(std::int32_t fullType) noexcept { return static_cast<short>(fullType >> 16); }
  static constexpr short SubTypeFromFullType(std::int32_t fullType) noexcept { return static_cast<short>(fullType); }
  /// @}

  /// Stored in records and documents: the numbers of a type never change.
  /// @{
  short GetType() const noexcept { return TypeFromFullType(fullType_); }
  short GetSubType() const noexcept { return SubTypeFromFullType(fullType_); }
  std::int32_t GetFullType() const noexcept { return fullType_; }
  /// @}
  /// -1 for null.
  static std::int32_t GetFullType(const CTableObj* object) noexcept {
    return object == nullptr ? -1 : object->fullType_;
  }
  /// Of the class; while a record is loaded, of the record.
  unsigned short GetVersion() const noexcept { return versionWord_ & kVersionMask; }
  /// Valid until the object is renamed.
  const CString& GetName() const noexcept { return name_; }
  /// Empty for null.
  static CString GetName(const CTableObj* object) { return object == nullptr ? CString() : object->CopyName(); }
  /// For people; empty at first, and when there is none. A copy.
  CString GetDescription() const;
  /// Null is empty. std::bad_alloc changes nothing.
  void SetDescription(const char16_t* text);
  /// Whether the description is not empty; without a copy.
  bool HaveDescription() const;
  /// The name of the type (type_registry.h); empty for a type without one.
  CString GetObjectName() const { return GetObjectName(this); }
  /// For null the name of the full type -1.
  static CString GetObjectName(const CTableObj* object);
  /// The names from the root to this object, joined by ".". Another thread may rename, move and delete meanwhile.
  CString& GetPath(CString& path) const { return GetPath(this, path); }
  /// Empty for null.
  static CString& GetPath(const CTableObj* object, CString& path);

  /// Whether a text is no null and not empty, does not begin with "_" or a blank, and holds neither "." nor a double
  /// quote.
  static bool IsValidBaseName(const char16_t* name) noexcept;
  /// Makes a name of former times valid, double quotes aside: trims white space; empty becomes "noname", each "."
  /// becomes "_", and a "_" in front "U". Returns its argument.
  static CString& FixUpLegacyName(CString& name);

  // --- state -------------------------------------------------------------------------------------------------------

  /// Whether anything changed since the object was made, loaded or saved; never without tracking.
  bool IsModified() const noexcept { return HasFlags(kModified); }
  /// Whether changes leave a mark at all.
  /// @{
  bool IsTrackingMods() const noexcept { return !HasFlags(kNotTracking); }
  void SetTrackMods(bool trackMods) noexcept { SetFlags(kNotTracking, !trackMods); }
  /// @}
  /// Whether Delete waits for the last reference.
  bool IsDeletePending() const noexcept { return (references_.load(std::memory_order_relaxed) & kDeletePending) != 0; }
  /// Whether it is being loaded or saved just now, on whatever thread.
  bool IsSerializing() const noexcept { return HasFlags(kSerializing); }
  /// Being loaded or saved with its children.
  bool IsRecursing() const noexcept { return (GetFlags() & (kSerializing | kSingle)) == kSerializing; }
  /// Whether it is being loaded from, or saved to, a binary record.
  bool IsSerializingBinary() const noexcept { return HasFlags(kSerializing | kBinary); }
  /// Whether an object stands in a table, and in which; null for none. See the top for how long that holds.
  /// @{
  bool IsInTable() const noexcept { return GetTable() != nullptr; }
  CTable* GetTable() const noexcept { return table_.load(std::memory_order_acquire); }
  /// @}
  /// The user's own; never looked at, never copied.
  void SetParam(void* param) noexcept { param_ = param; }
  void* GetParam() const noexcept { return param_; }
  /// Eight bits for the application. Others than 0 to 7 are ignored, and false.
  void SetCustomBit(unsigned bit, bool value);
  bool GetCustomBit(unsigned bit) const;

  // --- references and lifetime -------------------------------------------------------------------------------------

  /// Each also counts for the table and every ancestor. Returns the object's new count.
  std::int32_t AddRef() const noexcept { return AddRefs(1); }
  /// The object may be gone when this returns.
  std::int32_t RemoveRef() const noexcept { return RemoveRefs(1); }
  /// References on the object and on everything below it; what was true a moment ago.
  std::int32_t GetRefCount() const noexcept {
    return static_cast<std::int32_t>(references_.load(std::memory_order_acquire) >> kCountShift);
  }
  /// Takes the object out of its table and destroys it, at once or with its last reference. The caller holds a
  /// reference, or the lock under which it found the object, or the object is its own.
  void Delete();
  static void Delete(CTableObj* object) {
    if (object != nullptr) object->Delete();
  }

  // --- factories ---------------------------------------------------------------------------------------------------
  // One registry of the process, with a lock of its own, under which factories run. A factory makes an object with its
  // type and subtype, in no table. What it throws passes through.

  /// CException -1, and nothing changes, when the full type has a factory.
  static void Register(short type, short subtype, CTableObj* (*factory)());
  /// Takes out the lowest full type that has this factory; nothing without one.
  static void Unregister(CTableObj* (*factory)());

  // The new object is the caller's. CException -1 for a type without factory; null only when the factory returns null.
  static CTableObj* CreateObject(int fullType);
  static CTableObj* CreateObject(short type, short subtype) { return CreateObject(MakeFullType(type, subtype)); }
  static CTableObj* CreateObject(const char16_t* typeName);
  /// Of the type and subtype in the list, -1 and 0 where there is none; then PostCreate(list). CException -1 also for
  /// one that is no number of 16 bits.
  static CTableObj* CreateObject(const property_list_t& list);
  /// Of the type that the record at the file's position is of. The object's Load is then to read the rest. Null when
  /// the file is not open; CException -1 for a record format above 4, -3 at the end of the file.
  static CTableObj* CreateObject(CFile* file);

  /// False, without change, when the types differ (subtypes may) and when the source cannot be written; then also null
  /// as the target. If the target refuses the data, it is as far as its OnLoad got. Afterwards the target says about
  /// being modified what the source does, which is not changed. A name that is taken in the target's table is not
  /// copied; custom bits and the parameter never are.
  static bool CopyObject(const CTableObj& source, CTableObj& target, copy_how_t how);
  static bool CopyObject(const CTableObj& source, CTableObj* target, copy_how_t how) {
    return target != nullptr && CopyObject(source, *target, how);
  }
  /// A new object of the source's full type, the caller's. Null when the copy fails.
  static CTableObj* CopyObject(const CTableObj& source, copy_how_t how);

  // --- persistence -------------------------------------------------------------------------------------------------
  // Non-zero is success. `single` covers the object without its children. Records, little-endian: the record format 4
  // (16 bits), the full type (32), the version and in bit 15 whether there is a description (16), the name, the
  // description if there is one (string_serialization.h), the object's own data. Older formats are read: below 3 a byte
  // without meaning follows the version, below 2 the type has 16 bits and no subtype, and in format 0 a name that is
  // not valid is repaired.

  /// 0 when the file is not open, the object refuses the data, or the record is newer than the class, of which then
  /// name and description are read. CException -1 for a record of another type, a format above 4 and a tree that is
  /// nested too deep, -3 at the end of the file. A failure leaves the object as far as it was read, and its modified
  /// mark as it was.
  int Load(CFile* file, bool single);
  /// 0 when the file is not open or the object's own OnSave fails. Success makes the object unmodified.
  int Save(CFile* file, bool single) const;
  /// From an element that Save wrote. A name that is not valid is repaired; 0 with message 504 in the document when it
  /// cannot be.
  int Load(CStructuredDoc* doc, void* element, const char16_t* ns, bool single);
  /// As a child of `parent` that is named after the type, with the name in a child "Name". 0 with message 550 in the
  /// document for a type without name.
  int Save(CStructuredDoc* doc, void* parent, const char16_t* ns, bool single) const;

  /// Whether the calling thread saves to make a copy. A save then leaves modified marks alone, tables' own too.
  static bool IsCopying() noexcept;

 protected:
  /// Subtype 0; the low 7 bits of the version count.
  CTableObj(short type, bool trackMods, unsigned short version);
  /// Takes name, description, full type, version and tracking; the rest is as in a new object.
  CTableObj(const CTableObj& other);
  /// Takes name (in a table through SetName), description and tracking; unmodified then, without custom bits.
  CTableObj& operator=(const CTableObj& other);

  /// The subtype becomes 0.
  void SetType(short type) noexcept { fullType_ = MakeFullType(type, 0); }
  /// The type stays.
  void SetSubtype(short subtype) noexcept {
    fullType_ = static_cast<std::int32_t>((static_cast<std::uint32_t>(fullType_) & 0xFFFF0000U) |
                                          static_cast<std::uint16_t>(subtype));
  }

  /// For tables, under their lock. With a table: the object is its record from here on, and the object's references
  /// were counted for the table and its owner. Null: the object is in no table any more; returns how many references
  /// the table then has to give back (CTable::RemoveRefs), after the lock.
  std::int32_t SetTable(CTable* table) noexcept;

 private:
  friend class CTable;
  friend class zorutil::ref_counted_obj_ptr;
  friend class zorutil::object_lock_t;
  friend class zorutil::CTableChanges;

  enum flags_t : unsigned {
    kNotTracking = 0x01,
    kModified = 0x02,
    kHeadRead = 0x04,  // CreateObject read the type of the record; its format stands in the version word's bits 8 to 14
    kHasDescription = 0x08,
    kSerializing = 0x10,
    kSingle = 0x20,
    kBinary = 0x80,
  };
  static constexpr unsigned short kVersionMask = 0x7FFF;

  // What is known of references, in one word, so that each change is one step: the count in the upper half; how many
  // threads are on their way between the object and its table; whether the object is just being put into or taken out
  // of a table, which waits for those and keeps new ones away; whether the last reference destroys the object.
  static constexpr int kCountShift = 32;
  static constexpr std::uint64_t kOneReference = std::uint64_t{1} << kCountShift;
  static constexpr std::uint64_t kMoving = 1;
  static constexpr std::uint64_t kDeletePending = 2;
  static constexpr std::uint64_t kOneVisit = 4;
  static constexpr std::uint64_t kVisits = 0xFFFFFFFC;

  class table_visit_t;
  class table_pin_t;
  class record_load_t;
  // Changes are not recorded as long as it lives.
  class untracked_t {
   public:
    explicit untracked_t(CTableObj& object) noexcept : object_(object), wasTracking_(object.IsTrackingMods()) {
      object.SetTrackMods(false);
    }
    untracked_t(const untracked_t&) = delete;
    untracked_t& operator=(const untracked_t&) = delete;
    ~untracked_t() { object_.SetTrackMods(wasTracking_); }

   private:
    CTableObj& object_;
    bool wasTracking_;
  };

  unsigned GetFlags() const noexcept { return flags_.load(std::memory_order_relaxed); }
  bool HasFlags(unsigned flags) const noexcept { return (GetFlags() & flags) == flags; }
  void ReplaceFlags(unsigned mask, unsigned value) const noexcept;
  void SetFlags(unsigned flags, bool value) const noexcept { ReplaceFlags(flags, value ? flags : 0); }
  std::int32_t AddRefs(std::int32_t count) const noexcept;
  std::int32_t RemoveRefs(std::int32_t count) const noexcept;
  void BeginVisit(std::uint64_t references) const noexcept;
  static CSyncObject* GetFreeObjectsLock();
  static CString TextOf(const char16_t* text);
  void SetLoadedName(const CString& name);
  void SetDescriptionText(const CString& text);
  std::uint16_t ReadRecordFormat(CFile& file);
  // Names have locks of their own, in which nothing else is done, so that reading one never waits for a load or save.
  CString CopyName() const;
  /// For tables too, which hold their lock.
  void SwapName(CString& name) noexcept;

  void* param_ = nullptr;
  std::int32_t fullType_;
  std::uint16_t versionWord_;
  mutable std::atomic<std::uint8_t> flags_;
  std::atomic<std::uint8_t> customBits_{0};
  CString name_;
  std::atomic<CTable*> table_{nullptr};
  mutable std::atomic<std::uint64_t> references_{0};
};
static_assert(sizeof(void*) != 8 || sizeof(CTableObj) == 48);

namespace zorutil {

/// Holds the lock of an object (GetLock) as long as it lives, also when other threads move or delete the object: once
/// it is had, the object stays where it is. The caller holds a reference, or the object is its own.
class ZORUTIL_API object_lock_t {
 public:
  /// Waits for the lock.
  explicit object_lock_t(const CTableObj& object);
  object_lock_t(const object_lock_t&) = delete;
  object_lock_t& operator=(const object_lock_t&) = delete;
  ~object_lock_t() {
    if (lock_ != nullptr) lock_->Unlock();
  }

 private:
  friend class ::CTableObj;
  /// Without the process's lock, if that is the object's: it is not the first that this thread takes.
  struct unless_free_t {};
  object_lock_t(const CTableObj& object, unless_free_t) : object_lock_t(object, false) {}
  object_lock_t(const CTableObj& object, bool evenIfFree);

  CSyncObject* lock_;
};

}  // namespace zorutil

/// An object that is never loaded or saved, of any name: tracking off, version 99.
class ZORUTIL_API CTableObjNp : public CTableObj {
 public:
  ~CTableObjNp() override;
  /// True for any text.
  bool IsValidName(const char16_t*) const override { return true; }
  /// Failures: there is nothing to save or load.
  /// @{
  int OnSave(CStructuredDoc*, void*, const char16_t*) const override { return 0; }
  int OnSave(CFile*) const override { return 0; }
  int OnLoad(CStructuredDoc*, void*, const char16_t*) override { return 0; }
  int OnLoad(CFile*) override { return 0; }
  /// @}

  /// An object of that type in no table, without subtype.
  explicit CTableObjNp(short type) : CTableObj(type, false, 99) {}

 protected:
  CTableObjNp(const CTableObjNp&) = default;
  CTableObjNp& operator=(const CTableObjNp&) = default;
};

/// Whether two objects have the same properties: as many, and of each id equal values, in whatever order.
ZORUTIL_API bool operator==(const CTableObj& a, const CTableObj& b);
