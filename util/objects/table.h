// The records of one kind that an object holds as its children: objects of the configuration tree in the order of their
// names, which differ.
//
//   class CChannels : public CTable {
//    public:
//     explicit CChannels(CTableObj& project) : CTable(kChannel, true, 16) { SetOwner(&project); }
//     CString GetTableName() const override { return u"Channels"; }
//   };
//
//   CString name = u"Channel1";
//   if (channels.GenerateName(name, 256)) {                      // "Channel2", when there is a "channel1"
//     zorutil::owned_obj_ptr channel(CTableObj::CreateObject(kChannel, 0));
//     channel->SetName(name);
//     if (channels.Insert(channel.get()) != CTable::invalid_index) channel.release();       // now the table's
//   }
//   CTableObj* found = channels.FindRecord(u"CHANNEL2", nullptr);
//
// Names are compared as OnCompare says, which by default is the family's order of names (platform/text/collation.h):
// letter case does not count, accents do.
//
// Ownership: the table owns its records and destroys them with itself, or when it is reset. Remove gives a record back
// to its caller. A reference on a record (util/objects/object_ref.h) counts for the record, its table, the table's
// owner and all that lies above; when the record leaves, its references leave with it, so at all times the count of a
// table is that of its records and of those who hold the table itself. Destroying or resetting a table destroys its
// records whatever their references are.
//
// Threads: each table has one lock, that of its records too; it is re-entrant. Any thread may call any operation at any
// time, but setting the owner, making and destroying. A record that was found stays while the lock is held, or with a
// reference on it. Locks are taken downwards only (table_obj.h): references and modified marks climb to the owner
// without one. Who calls an operation keeps the table alive meanwhile; the references that a removed record takes along
// are given back last, which may destroy an owner that waits for that, and this table with it.
//
// Hooks (OnRecordInsert and the others) run under the lock and may themselves insert, remove, rename and look up. What
// they throw passes through; what was done before the hook was called stays done.
//
// Speed: inserting in name order and the loading of such a file compare with the last record first; any other order
// costs a binary search and a move of some hundred pointers at most, in a table of a million records too.
// std::bad_alloc of any operation leaves the table as it was, but where it says otherwise.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/framework/sync.h"
#include "util/objects/record_list.h"

class CFile;
class CStructuredDoc;
class CTableObj;

namespace i18n {
class ILocalizedMessage;
}
namespace zorutil {
class CTableChanges;
}

class ZORUTIL_API CTable {
 public:
  /// No record: what Insert returns on failure, and FindInsertPos when the name is taken.
  static constexpr unsigned invalid_index = 0xFFFFFFFF;
  /// The most records, less one.
  static constexpr unsigned max_index = 0x7FFFFFFF;

  /// An empty table without owner, unmodified. The first argument is not used. `growthIncrement`: the least number of
  /// slots by which a small table grows; a table that will hold a few records is smallest with that number.
  CTable(short type, bool trackMods, unsigned growthIncrement);
  /// Destroys the records.
  virtual ~CTable();

  /// The object that holds this table; null for a free table. It is called while the counts of references are in
  /// motion, so an override gives a value that it has, and takes no lock.
  virtual CTableObj* GetOwner() const;
  /// The name of the table's element in a document; empty by default.
  virtual CString GetTableName() const;
  /// The record of that name, and its index if `index` is not null; null, and `index` untouched, when there is none or
  /// the name is null.
  virtual CTableObj* FindRecord(const char16_t* name, unsigned* index = nullptr) const;

 protected:
  /// Where the object belongs: the index of the first record behind it; invalid_index when the name is taken.
  virtual unsigned FindInsertPos(const CTableObj* object) const;
  /// A copy of the record with all its children, in no table; the caller's. Null when it cannot be copied. The index
  /// lies below the count.
  virtual CTableObj* CopyRecord(unsigned index) const;
  /// A record was made by a load, and has not been read yet.
  virtual void OnCreateRecord(CTableObj* object) const;
  /// A record was put in at `index`.
  virtual void OnRecordInsert(unsigned index);
  /// After OnRecordInsert, for a record that was loaded.
  virtual void OnRecordLoad(unsigned index);
  /// The record is still there.
  virtual void OnRecordRemove(unsigned index);
  /// False leaves the record out of what is saved.
  virtual bool OnRecordSave(unsigned index) const;
  /// All records are gone: Reset was called, or a load begins.
  virtual void OnReset();
  /// All records are loaded. Not called when there was none.
  virtual void OnLoad();
  /// Saving begins.
  virtual void OnSave() const;
  /// The order of names: negative, zero or positive. Both end in a NUL; the first is a record's. It is called under the
  /// lock, and an override may ask this one. The order must not change while there are records.
  virtual int OnCompare(const char16_t* a, const char16_t* b) const;
  /// Whether the table takes objects of this type. What it does not take is not inserted, and a load fails on it, so
  /// that whoever uses the records may rely on their class. True by default.
  virtual bool CanHold(const CTableObj& object) const;

 public:
  /// `owner` outlives the table or is taken away before it ends. The table has no references yet.
  void SetOwner(CTableObj* owner) noexcept { owner_ = owner; }
  /// The table's lock; it lives as long as the table.
  CSyncObject* GetLock() const noexcept { return &lock_; }
  /// The number of records.
  unsigned GetCount() const;
  /// True while records are being loaded, in the hooks that are called about them too.
  bool IsLoading() const noexcept { return loading_; }
  /// Whether changes leave a mark at all; as the constructor was told.
  /// @{
  bool IsTrackingMods() const noexcept { return !notTracking_; }
  void SetTrackMods(bool trackMods) noexcept { notTracking_ = !trackMods; }
  /// @}
  /// Whether anything changed since the table was made, loaded, saved or reset.
  bool IsModified() const noexcept { return modified_; }
  /// Nothing happens while loading or without tracking. True reaches the owner as well.
  void SetModified(bool modified);

  /// Null when the index is not below the count.
  CTableObj* GetRecord(unsigned index) const;

  // --- records come and go ---------------------------------------------------------------------------------------

  /// Takes ownership of an object in no table, and returns its index. invalid_index, and the object stays the caller's:
  /// it is null, or in a table, or of a type that the table does not take, its name is taken, or the table is full. A
  /// record whose OnRecordInsert moves it has the index to which it came; one that it takes out again, the index that
  /// it had.
  unsigned Insert(CTableObj* object);
  /// Gives the record back to the caller; nothing happens for an index not below the count.
  void Remove(unsigned index);
  /// The same for a record of this table, wherever it stands. Nothing happens for null and for other objects.
  void Remove(CTableObj* object);
  /// Removes the record and destroys it at once, whatever its references. So with an object in no table; nothing
  /// happens for null and for a record of another table.
  void Delete(CTableObj* object);
  /// Renames a record of this table and puts it where it then belongs, in one step for whoever takes the lock. False,
  /// and nothing changed, when the name is taken or the object is not a record of this table. CTableObj::SetName does
  /// this for records, and more. OnRecordRemove is called before, OnRecordInsert after.
  bool Rename(CTableObj* object, const CString& name);
  /// Destroys all records. References on the records are gone, those that others hold on the table itself stay. The
  /// table is unmodified afterwards, if it tracks modifications, and not loading.
  void Reset();

  /// Makes a name free: it stays if it is, or a number at its end is counted up until it is: Channel, Channel1; Tag007,
  /// Tag008; Tag9, Tag10. Numbers beyond 2147483647 begin again at 1. So that the name has at most `maxLength` units,
  /// the text in front of the number is shortened. 0, and `name` as it was, when that leaves none of it, or after
  /// 10,000,000 attempts.
  /// The next call for the same text goes on behind the number that this one gave, when the first number is taken.
  int GenerateName(CString& name, unsigned maxLength) const;

  // --- references ------------------------------------------------------------------------------------------------

  /// Counts for the table, its owner and all above; returns the table's count. The last RemoveRef may destroy the
  /// owner, and this table with it, if it was waiting for that.
  /// @{
  std::int32_t AddRef() const noexcept { return AddRefs(1); }
  std::int32_t RemoveRef() const noexcept { return RemoveRefs(1); }
  std::int32_t GetRefCount() const noexcept { return references_.load(std::memory_order_relaxed); }
  /// @}

  // --- persistence -----------------------------------------------------------------------------------------------
  // Binary: the format number 1 in 2 bytes, the number of records in 4, little-endian, then the records as
  // CTableObj::Save writes them. Format 0, which is read too, has 2 more bytes after the format number and 4 after the
  // count. A newer format is refused.
  // Documents: an element named GetTableName(), in it one element per record as CTableObj::Save writes it, named after
  // its type.

  /// Replaces the records by those at the file's position. A record whose name is taken gets another (GenerateName).
  /// 0, and the table is empty, when a record fails or the file is not open; so it is after an exception: CException -1
  /// for an unknown type or a corrupt record, -3 at the end of the file. Memory grows with the records that really
  /// arrive, whatever the count says.
  int Load(CFile* file);
  /// Writes the records for which OnRecordSave is true. 0 when a record fails; the file then holds a part. The file has
  /// positions, if a record is left out. Afterwards the table is unmodified.
  int Save(CFile* file) const;
  /// Replaces the records by those in the elements of the table's name under `element`, of which there may be none.
  /// (Null is the document's top element, taken for the table's own, whatever its name.) With a zorutil::ILoadErrors in
  /// scope each record that fails is told and left out, and the result is 1. Without one the first ends it: 0, the
  /// table is empty, and the document's error slot says why. A type that is not registered or that the table does not
  /// take and a name that is taken are failures.
  int Load(CStructuredDoc* document, void* element, const char16_t* ns);
  /// Writes the table's element under `element`. 0 when a record or the document fails; then the document has a part of
  /// it.
  int Save(CStructuredDoc* document, void* element, const char16_t* ns) const;

 protected:
  /// A free table of copies (CopyRecord) of the records, unmodified. CException -1 when a record cannot be copied.
  CTable(const CTable& other);
  /// Replaces the records by copies; so with the exceptions, which leave this table as it was. Nothing else is
  /// assigned.
  CTable& operator=(const CTable& other);

 private:
  friend class CTableObj;
  friend class CUnorderedTable;
  friend class zorutil::CTableChanges;
  // Follows a record through the hooks that are called about it.
  class CWatch;
  class CGeneratedNames;
  struct record_deleter_t;
  using record_ptr = std::unique_ptr<CTableObj, record_deleter_t>;

  std::int32_t AddRefs(std::int32_t count) const noexcept;
  std::int32_t RemoveRefs(std::int32_t count) const noexcept;
  bool InsertRecord(CTableObj* object, CWatch& watch);
  std::int32_t RemoveRecord(unsigned index);
  // `isMove`: of a record that is taken from one place and put to another, between which nothing else happens.
  void PutAt(unsigned index, CTableObj* record, bool isMove = false);
  CTableObj* TakeAt(unsigned index, bool isMove = false) noexcept;
  bool MoveRenamed(unsigned& index, CString& name);
  unsigned IndexOf(const CTableObj* object) const;
  std::int32_t DestroyRecords() noexcept;
  std::vector<record_ptr> CopyRecords() const;
  void TakeCopies(std::vector<record_ptr> copies);
  int CompareWith(const CTableObj* record, std::u16string_view name) const;
  zorutil::CRecordList::place_t FindPlace(std::u16string_view name) const;
  bool FitsAt(unsigned index, std::u16string_view name) const;
  template <class Read>
  int LoadAll(Read read);
  virtual void OnLoadEnd() noexcept;
  unsigned LoadRecords(CFile& file);
  bool LoadRecord(CFile* file);
  bool LoadRecords(CStructuredDoc& document, void* parent, const char16_t* ns);
  std::unique_ptr<i18n::ILocalizedMessage> LoadRecord(CStructuredDoc& document, void* element, const char16_t* ns);
  bool KeepLoaded(record_ptr record);

  mutable CCriticalSection lock_;
  std::atomic<bool> loading_{false};
  std::atomic<bool> notTracking_;
  mutable std::atomic<bool> modified_{false};
  // What is remembered of generated names; null while nothing is.
  mutable std::unique_ptr<CGeneratedNames> generated_;
  mutable std::atomic<std::int32_t> references_{0};
  zorutil::CRecordList records_;
  CTableObj* owner_ = nullptr;
  // Where the last look-up would have found its name, which the next insertion tries first.
  mutable unsigned lastMiss_ = invalid_index;
  // Records other than the last that left or moved; what an unordered table's index of names goes by.
  unsigned moves_ = 0;
  CWatch* watches_ = nullptr;
  // The texts being compared, so that OnCompare need not look for their ends.
  mutable std::u16string_view comparedRecord_;
  mutable std::u16string_view comparedName_;
};
