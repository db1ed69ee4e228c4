#include "platform/zorplatform/ini_file.h"

#include <algorithm>
#include <stdexcept>
#include <utility>

#include "platform/framework/read_to_end_internal.h"
#include "platform/framework/replace_file.h"
#include "platform/framework/string_array.h"
#include "platform/zorplatform/ini_document_internal.h"

namespace zorplatform {
namespace {

std::string ReadDocument(CFile& file) {
  constexpr std::size_t kMost = 2 * ini::CDocument::kMaxSize;  // of the bytes: UTF-16 has two for a letter
  std::string bytes = ReadToEnd(file, kMost + 1);
  if (bytes.size() > kMost) throw std::length_error("an INI document of more than 1 GiB");
  return bytes;
}

void WriteAll(CFile& file, std::string_view bytes) {
  constexpr std::size_t kMost = std::size_t{1} << 30;
  for (; !bytes.empty(); bytes.remove_prefix(std::min(bytes.size(), kMost))) {
    file.Write(bytes.data(), static_cast<unsigned>(std::min(bytes.size(), kMost)));
  }
}

}  // namespace

struct CIniFile::document_t : ini::CDocument {
  using ini::CDocument::CDocument;
};

CIniFile::CIniFile() = default;
CIniFile::CIniFile(const CIniFile& other)
    : document_(other.document_ == nullptr ? nullptr : std::make_unique<document_t>(*other.document_)),
      modified_(other.modified_) {}
CIniFile& CIniFile::operator=(const CIniFile& other) { return *this = CIniFile(other); }
CIniFile::CIniFile(CIniFile&& other) noexcept
    : document_(std::move(other.document_)), modified_(std::exchange(other.modified_, false)) {}
CIniFile& CIniFile::operator=(CIniFile&& other) noexcept {
  std::unique_ptr<document_t> document = std::move(other.document_);
  modified_ = std::exchange(other.modified_, false);
  document_ = std::move(document);
  return *this;
}
CIniFile::~CIniFile() = default;

CIniFile::document_t& CIniFile::Change() {
  if (document_ == nullptr) document_ = std::make_unique<document_t>();
  return *document_;
}

void CIniFile::Load(const CString& path) {
  CFile file(path, CFile::modeRead);
  Load(&file);
}

void CIniFile::Load(CFile* file) {
  document_ = std::make_unique<document_t>(ReadDocument(*file));
  modified_ = false;
}

void CIniFile::FromText(const CString& text) {
  document_ = std::make_unique<document_t>(text.View());
  modified_ = false;
}

const std::vector<ini_problem_t>& CIniFile::GetProblems() const noexcept {
  static const std::vector<ini_problem_t> none;
  return document_ == nullptr ? none : document_->GetProblems();
}

void CIniFile::Save(const CString& path) {
  CReplaceFile file(path);
  const bool before = modified_;
  Save(&file.GetFile());
  modified_ = before;  // until the bytes are where they belong
  file.Commit();
  modified_ = false;
}

void CIniFile::Save(CFile* file) {
  if (document_ != nullptr) document_->ForEachByte([&](std::string_view bytes) { WriteAll(*file, bytes); });
  modified_ = false;
}

void CIniFile::ToText(CString& text) const {
  if (document_ != nullptr) return document_->ToText(text);
  text.Empty();
}

bool CIniFile::ReadValue(const char16_t* section, const char16_t* key, CString& value) const {
  if (document_ != nullptr) return document_->ReadValue(section, key, value);
  value.Empty();
  return false;
}

std::uint32_t CIniFile::GetLine(const char16_t* section, const char16_t* key) const {
  return document_ == nullptr ? 0 : document_->GetLine(section, key);
}

bool CIniFile::WriteValue(const char16_t* section, const char16_t* key, const char16_t* value) {
  const std::u16string_view text = value == nullptr ? std::u16string_view() : std::u16string_view(value);
  if (!Change().WriteValue(section, key, text)) return false;
  modified_ = true;
  return true;
}

bool CIniFile::DeleteValue(const char16_t* section, const char16_t* key) {
  if (document_ == nullptr || !document_->DeleteValue(section, key)) return false;
  modified_ = true;
  return true;
}

bool CIniFile::DeleteSection(const char16_t* section) {
  if (document_ == nullptr || !document_->DeleteSection(section)) return false;
  modified_ = true;
  return true;
}

void CIniFile::QuerySections(CStringArray& sections) const {
  if (document_ != nullptr) return document_->QuerySections(sections);
  sections.RemoveAll();
}

void CIniFile::QueryKeys(const char16_t* section, CStringArray& keys) const {
  if (document_ != nullptr) return document_->QueryKeys(section, keys);
  keys.RemoveAll();
}

void CIniFile::Reset() {
  document_.reset();
  modified_ = false;
}

bool CIniFile::IsEmpty() const noexcept { return document_ == nullptr || document_->IsEmpty(); }

bool CIniFile::IsModified() const noexcept { return modified_; }

void CIniFile::SetModified(bool modified) noexcept { modified_ = modified; }

}  // namespace zorplatform
