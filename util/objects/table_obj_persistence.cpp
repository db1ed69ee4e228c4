// Loading and saving an object: what stands before its own data.

#include <string>

#include "platform/framework/file.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/element_internal.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/objects/copying_internal.h"
#include "util/objects/load_errors.h"
#include "util/objects/record_head_internal.h"
#include "util/objects/table_obj_internal.h"
#include "util/objects/type_registry.h"
#include "util/serialization/primitives_internal.h"
#include "util/serialization/stream_serializers.h"
#include "util/serialization/string_serialization.h"

using zorplatform::CException;
using zorutil::object_lock_t;
using zorutil::primitives::ReadLittle;
using zorutil::primitives::WriteLittle;

namespace {

constexpr std::uint16_t kDescriptionFollows = 0x8000;

thread_local const CString* loadedName = nullptr;

// Of one thread; counts copies within copies.
thread_local unsigned copies = 0;

[[noreturn]] void Fail(const CFile& file, const std::string& what) {
  const std::string path = file.GetFilePath().ToUtf8();  // memory has none
  CException::Throw(CException::kEndOfStream, path + (path.empty() ? "byte " : ", byte ") +
                                                  std::to_string(file.GetPosition()) + ": object record " + what);
}

void CheckDepth() {
  if (CTableObj::serialization_scope_t::sm_uRecursionCount < CTableObj::kMaxDepth) return;
  CException::Throw(CException::kEndOfStream,
                    "objects are nested more than " + std::to_string(CTableObj::kMaxDepth) + " levels deep");
}

}  // namespace

namespace zorutil {

record_type_t ReadRecordType(CFile& file) {
  file_serializer_t in(&file);
  const auto format = ReadLittle<std::uint16_t>(in);
  if (format > kRecordFormat) Fail(file, "format " + std::to_string(format) + " is not known");
  if (format < 2) return {format, CTableObj::MakeFullType(ReadLittle<std::int16_t>(in), 0)};
  return {format, ReadLittle<std::int32_t>(in)};
}

copying_t::copying_t() noexcept { ++copies; }
copying_t::~copying_t() { --copies; }

}  // namespace zorutil

bool CTableObj::IsCopying() noexcept { return copies != 0; }

// The name that a loading object gives itself needs no second copy, unless it ends before its end: names hold no NUL.
CString CTableObj::TextOf(const char16_t* text) {
  const bool isLoaded = loadedName != nullptr && loadedName->GetString() == text;
  return isLoaded && std::u16string_view(text).size() == loadedName->View().size() ? *loadedName : CString(text);
}

void CTableObj::SetLoadedName(const CString& name) {
  struct scope_t {
    const CString* outer;
    ~scope_t() { loadedName = outer; }
  } const scope{std::exchange(loadedName, &name)};
  SetName(name.GetString());
}

thread_local unsigned CTableObj::serialization_scope_t::sm_uRecursionCount = 0;
thread_local bool CTableObj::serialization_scope_t::sm_bRootSerializing = false;

CTableObj::serialization_scope_t::serialization_scope_t(const CTableObj& object, bool single, bool isDocument) noexcept
    : object_(object), saved_(static_cast<std::uint8_t>(object.GetFlags() & (kSerializing | kSingle | kBinary))) {
  object.ReplaceFlags(kSerializing | kSingle | kBinary,
                      kSerializing | (single ? kSingle : 0U) | (isDocument ? 0U : kBinary));
  if (++sm_uRecursionCount == 1) sm_bRootSerializing = !single && object.GetParent() == nullptr;
}

CTableObj::serialization_scope_t::~serialization_scope_t() {
  object_.ReplaceFlags(kSerializing | kSingle | kBinary, saved_);
  if (--sm_uRecursionCount == 0) sm_bRootSerializing = false;
}

// --- records -------------------------------------------------------------------------------------------------------

int CTableObj::Save(CFile* file, bool single) const {
  const object_lock_t guard(*this);
  if (file == nullptr || !file->IsOpen()) return 0;
  CheckDepth();
  int result = 0;
  {
    const serialization_scope_t scope(*this, single, false);
    zorutil::file_serializer_t out(file);
    const CString description = GetDescription();
    WriteLittle(out, zorutil::kRecordFormat);
    WriteLittle(out, fullType_);
    WriteLittle(out, static_cast<std::uint16_t>((versionWord_ & kVersionMask) |
                                                (description.IsEmpty() ? 0 : kDescriptionFollows)));
    zorutil::Serialize(CopyName(), out);
    if (!description.IsEmpty()) zorutil::Serialize(description, out);
    result = OnSave(file);
  }
  if (result != 0 && !IsCopying()) SetFlags(kModified, false);
  return result;
}

// Ends a load, whatever its outcome: the object is again of its class's version.
class CTableObj::record_load_t {
 public:
  explicit record_load_t(CTableObj& object) noexcept
      : object_(object), classVersion_(static_cast<std::uint16_t>(object.versionWord_ & 0xFF)) {}
  record_load_t(const record_load_t&) = delete;
  record_load_t& operator=(const record_load_t&) = delete;
  ~record_load_t() {
    object_.versionWord_ = classVersion_;
    object_.SetFlags(kHeadRead, false);
  }
  std::uint16_t GetClassVersion() const noexcept { return classVersion_; }

 private:
  CTableObj& object_;
  std::uint16_t classVersion_;
};

std::uint16_t CTableObj::ReadRecordFormat(CFile& file) {
  if (HasFlags(kHeadRead)) return static_cast<std::uint16_t>(versionWord_ >> 8 & 0x7F);
  const auto [format, fullType] = zorutil::ReadRecordType(file);
  if (format >= 2 && TypeFromFullType(fullType) != GetType()) {
    Fail(file, "is of type " + std::to_string(TypeFromFullType(fullType)) + ", the object of type " +
                   std::to_string(GetType()));
  }
  return format;
}

int CTableObj::Load(CFile* file, bool single) {
  const object_lock_t guard(*this, object_lock_t::unless_free_t());
  if (file == nullptr || !file->IsOpen()) return 0;
  CheckDepth();
  int result = 0;
  {
    const record_load_t load(*this);
    const std::uint16_t format = ReadRecordFormat(*file);
    zorutil::file_serializer_t in(file);
    versionWord_ = ReadLittle<std::uint16_t>(in);
    if (format < 3) ReadLittle<std::uint8_t>(in);
    CString name;
    zorutil::Deserialize(name, in);
    if (format == 0 && !IsValidName(name.GetString())) FixUpLegacyName(name);
    const untracked_t untracked(*this);
    const serialization_scope_t scope(*this, single, false);
    SetLoadedName(name);
    CString description;
    if ((versionWord_ & kDescriptionFollows) != 0) zorutil::Deserialize(description, in);
    versionWord_ &= kVersionMask;
    SetDescriptionText(description);
    if (versionWord_ <= load.GetClassVersion()) {
      result = OnLoad(file);
    } else if (zorutil::ILoadErrors* const errors = zorutil::ILoadErrors::GetCurrent()) {
      errors->Add(nullptr, i18n::MakeLocalizedMessage(i18n::IDS_PROJECT_NEWER));
    }
  }
  if (result != 0) SetModified(false);
  return result;
}

// --- documents -----------------------------------------------------------------------------------------------------

int CTableObj::Save(CStructuredDoc* doc, void* parent, const char16_t* ns, bool single) const {
  const object_lock_t guard(*this);
  const CString type = GetObjectName();
  if (type.IsEmpty()) {
    doc->SetLastError(i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_TYPE_WITHOUT_NAME,
                                                 {CVariant::FromInt32(GetType()), CVariant::FromInt32(GetSubType())}));
    return 0;
  }
  CheckDepth();
  const CElement element(*doc, doc->WriteElement(parent, ns, type.GetString(), false, u""));
  if (!element) return 0;
  if (doc->WriteElement(element.Get(), ns, u"Name", true, CopyName()) == nullptr) return 0;
  int result = 0;
  {
    const serialization_scope_t scope(*this, single, true);
    result = OnSave(doc, element.Get(), ns);
  }
  if (result != 0 && !IsCopying()) SetFlags(kModified, false);
  return result;
}

int CTableObj::Load(CStructuredDoc* doc, void* element, const char16_t* ns, bool single) {
  const object_lock_t guard(*this, object_lock_t::unless_free_t());
  CheckDepth();
  CString name;
  doc->ReadElement(element, ns, u"Name", true, name);
  if (!IsValidName(name.GetString())) FixUpLegacyName(name);
  if (!IsValidName(name.GetString())) {
    doc->SetLastError(i18n::MakeLocalizedMessage(i18n::IDS_OBJECT_NAME_NOT_VALID, {CVariant::FromString(name.View())}));
    return 0;
  }
  int result = 0;
  {
    const untracked_t untracked(*this);
    const serialization_scope_t scope(*this, single, true);
    SetLoadedName(name);
    result = OnLoad(doc, element, ns);
  }
  if (result != 0) SetModified(false);
  return result;
}
