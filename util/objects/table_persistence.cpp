// Tables in binary files and in documents.
#include <mutex>
#include <utility>

#include "platform/framework/file.h"
#include "util/docs/element_internal.h"
#include "util/i18n/message_ids.h"
#include "util/objects/load_errors.h"
#include "util/objects/table_internal.h"
#include "util/objects/type_registry.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"

namespace {

constexpr std::uint16_t kFormat = 1;
constexpr unsigned kMaxGeneratedLength = 256;

bool IsOpen(const CFile* file) { return file != nullptr && file->IsOpen(); }

}  // namespace

// Empties the table, calls `read`, which gives the number of records that there were, or invalid_index for a failure,
// and leaves nothing behind when that failed.
template <class Read>
int CTable::LoadAll(Read read) {
  const std::lock_guard lock(lock_);
  Reset();
  try {
    const unsigned count = read();
    if (count != invalid_index) {
      loading_ = false;
      if (generated_ != nullptr) generated_->ForgetRuns();
      OnLoadEnd();
      if (count != 0) OnLoad();
      if (!notTracking_) modified_ = false;
      return 1;
    }
  } catch (...) {
    Reset();
    throw;
  }
  Reset();
  return 0;
}

// Renames a record whose name is taken. False, and it is destroyed, when the table does not take it.
bool CTable::KeepLoaded(record_ptr record) {
  if (FindRecord(record->GetName()) != nullptr) {
    CString name = record->GetName();
    if (GenerateName(name, kMaxGeneratedLength) == 0) return false;
    record->SetName(name);
    record->SetModified(false);
  }
  CWatch watch(*this);
  CTableObj* const object = record.get();
  try {
    if (!InsertRecord(object, watch)) return false;
  } catch (...) {
    // A hook failed: the record is the table's already, or whoever's who took it.
    if (watch.WasThere()) record.release();
    throw;
  }
  record.release();
  if (watch.IsThere()) OnRecordLoad(watch.GetIndex());
  return true;
}

// --- binary files ---------------------------------------------------------------------------------------------------

bool CTable::LoadRecord(CFile* file) {
  record_ptr record(CTableObj::CreateObject(file));
  if (record == nullptr || !CanHold(*record)) return false;
  OnCreateRecord(record.get());
  if (record->Load(file, false) == 0) {
    if (auto* const errors = zorutil::ILoadErrors::GetCurrent()) errors->OnFailedObject(record->GetName());
    return false;
  }
  return KeepLoaded(std::move(record));
}

// How many there were; invalid_index for a failure.
unsigned CTable::LoadRecords(CFile& file) {
  using namespace zorutil::primitives;
  zorutil::file_serializer_t in(&file);
  const auto format = ReadLittle<std::uint16_t>(in);
  if (format > kFormat) return invalid_index;
  if (format == 0) ReadLittle<std::uint16_t>(in);
  const auto count = ReadLittle<std::uint32_t>(in);
  if (format == 0) ReadLittle<std::uint32_t>(in);
  if (count > max_index) return invalid_index;
  for (unsigned i = 0; i < count; ++i) {
    loading_ = true;  // each time: a hook may have reset the table
    if (!LoadRecord(&file)) return invalid_index;
  }
  return count;
}

int CTable::Load(CFile* file) {
  return LoadAll([&] { return IsOpen(file) ? LoadRecords(*file) : invalid_index; });
}

int CTable::Save(CFile* file) const {
  using zorutil::primitives::WriteLittle;
  if (!IsOpen(file)) return 0;
  const std::lock_guard lock(lock_);
  OnSave();
  zorutil::file_serializer_t out(file);
  WriteLittle(out, kFormat);
  const std::uint32_t count = records_.GetCount();
  const auto countPosition = static_cast<std::int64_t>(file->GetPosition());
  WriteLittle(out, count);
  std::uint32_t written = 0;
  for (unsigned index = 0; index < records_.GetCount(); ++index) {
    if (!OnRecordSave(index)) continue;
    if (records_.At(index)->Save(file, false) == 0) return 0;
    ++written;
  }
  if (written != count) {
    file->Seek(countPosition, CFile::begin);
    WriteLittle(out, written);
    file->SeekToEnd();
  }
  if (!CTableObj::IsCopying()) modified_ = false;
  return 1;
}

// --- documents ------------------------------------------------------------------------------------------------------

// Null, or what is wrong with the record.
std::unique_ptr<i18n::ILocalizedMessage> CTable::LoadRecord(CStructuredDoc& document, void* element,
                                                            const char16_t* ns) {
  using i18n::MakeLocalizedMessage;
  CString typeName;
  document.GetName(element, typeName);
  std::int32_t fullType = 0;
  if (!zorutil::CTypeRegistry::FindType(typeName, fullType))
    return MakeLocalizedMessage(i18n::IDS_TYPE_UNKNOWN, {typeName.GetString()});
  record_ptr record(CTableObj::CreateObject(fullType));
  if (record == nullptr) return MakeLocalizedMessage(i18n::IDS_TYPE_UNKNOWN, {typeName.GetString()});
  if (!CanHold(*record))
    return MakeLocalizedMessage(i18n::IDS_TYPE_NOT_TAKEN, {typeName.GetString(), GetTableName().GetString()});
  OnCreateRecord(record.get());
  if (record->Load(&document, element, ns, false) == 0) {
    auto message = document.RemoveLastError();
    return message != nullptr ? std::move(message)
                              : MakeLocalizedMessage(i18n::IDS_OBJECT_NOT_READ, {typeName.GetString()});
  }
  if (FindRecord(record->GetName()) != nullptr)
    return MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_TAKEN, {record->GetName().GetString()});
  if (!KeepLoaded(std::move(record))) return MakeLocalizedMessage(i18n::IDS_OBJECT_NOT_READ, {typeName.GetString()});
  return nullptr;
}

int CTable::Load(CStructuredDoc* document, void* element, const char16_t* ns) {
  return LoadAll([&] {
    if (document == nullptr) return invalid_index;
    unsigned count = 0;
    const CString tableName = GetTableName();
    for (CElement table(*document, document->GetElementByName(element, ns, tableName, false)); table.Get() != nullptr;
         table.GoToNextOfName()) {
      for (CElement child(*document, document->FindFirstChild(table.Get(), false)); child.Get() != nullptr;
           child.GoToNext()) {
        loading_ = true;
        ++count;
        auto message = LoadRecord(*document, child.Get(), ns);
        if (message == nullptr) continue;
        auto* const errors = zorutil::ILoadErrors::GetCurrent();
        if (errors == nullptr) {
          document->SetLastError(std::move(message));
          return invalid_index;
        }
        errors->Add(child.Get(), std::move(message));
      }
    }
    return count;
  });
}

int CTable::Save(CStructuredDoc* document, void* element, const char16_t* ns) const {
  if (document == nullptr) return 0;
  const std::lock_guard lock(lock_);
  const CElement table(*document, document->WriteElement(element, ns, GetTableName(), false, u""));
  if (table.Get() == nullptr) return 0;
  OnSave();
  for (unsigned index = 0; index < records_.GetCount(); ++index) {
    if (OnRecordSave(index) && records_.At(index)->Save(document, table.Get(), ns, false) == 0) return 0;
  }
  if (!CTableObj::IsCopying()) modified_ = false;
  return 1;
}
