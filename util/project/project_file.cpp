#include "util/project/project_file.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/read_to_end_internal.h"
#include "platform/framework/replace_file.h"
#include "platform/framework/sync.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_exception.h"
#include "util/i18n/message_ids.h"
#include "util/json/json_text.h"
#include "util/objects/described_object.h"
#include "util/objects/table.h"
#include "util/objects/type_registry.h"
#include "util/project/json_mapping.h"

namespace zorutil::project {

namespace {

using zorplatform::CException;

constexpr std::array<std::uint8_t, 12> kHead = {0x89, 'Z', 'P', 'J', '\r', '\n', 0x1A, '\n', 1, 0, 0, 0};
constexpr std::size_t kMagicSize = 8;
constexpr std::array<std::uint8_t, 4> kEnd = {'Z', 'E', 'N', 'D'};

constexpr const char16_t* kFormNames[] = {u"bin", u"xml", u"json"};

std::unique_ptr<i18n::ILocalizedMessage> Message(unsigned id, std::vector<CVariant> arguments = {}) {
  return i18n::MakeLocalizedMessage(id, std::move(arguments));
}

// --- loading -------------------------------------------------------------------------------------------------------

owned_obj_ptr LoadBinary(CFile& file, load_report_t& report) {
  std::array<std::uint8_t, kHead.size()> head{};
  const auto fail = [&](unsigned id) -> owned_obj_ptr {
    report.AddAt(0, 0, Message(id));
    return nullptr;
  };
  const unsigned size = file.Read(head.data(), head.size());
  if (!std::equal(head.begin(), head.begin() + std::min<std::size_t>(size, kMagicSize), kHead.begin())) {
    return fail(i18n::IDS_PROJECT_FORM);
  }
  if (size < head.size()) return fail(i18n::IDS_PROJECT_CUT);
  if (!std::equal(head.begin() + kMagicSize, head.end(), kHead.begin() + kMagicSize)) {
    return fail(i18n::IDS_PROJECT_NEWER);
  }
  owned_obj_ptr root(CTableObj::CreateObject(&file));
  if (root == nullptr || root->Load(&file, false) == 0) {
    if (!report.HasErrors()) {
      report.AddAt(0, 0, Message(i18n::IDS_OBJECT_NOT_READ, {CVariant(CTableObj::GetObjectName(root.get()))}));
    }
    if (root != nullptr) report.OnFailedObject(root->GetName());
    report.EndFailedObject();
    return nullptr;
  }
  std::array<std::uint8_t, kEnd.size() + 1> end{};
  const unsigned endSize = file.Read(end.data(), end.size());
  if (endSize < kEnd.size()) return fail(i18n::IDS_PROJECT_CUT);
  if (endSize > kEnd.size() || !std::equal(kEnd.begin(), kEnd.end(), end.begin())) {
    report.AddAt(0, 0, Message(i18n::IDS_PROJECT_DAMAGED, {CVariant(u"end mark")}));
    return nullptr;
  }
  return root;
}

// The message of the document, or what stands for it.
std::unique_ptr<i18n::ILocalizedMessage> ErrorOf(CStructuredDoc& document, unsigned otherwise) {
  auto message = document.RemoveLastError();
  return message != nullptr ? std::move(message) : Message(otherwise);
}

// Faults of the text begin with file, line and column.
void AddTextFault(load_report_t& report, std::unique_ptr<i18n::ILocalizedMessage> message) {
  int line = 0, column = 0;
  const auto* const fault = dynamic_cast<const i18n::CLocalizedMessage*>(message.get());
  if (fault != nullptr && fault->GetArguments().size() >= 3) {
    line = fault->GetArguments()[1].lVal;
    column = fault->GetArguments()[2].lVal;
  }
  report.AddAt(line, column, std::move(message));
}

owned_obj_ptr LoadXml(CFile& file, load_report_t& report) {
  CXmlDocument document;
  if (document.LoadFrom(file) == 0) {
    AddTextFault(report, ErrorOf(document, i18n::IDS_PROJECT_FORM));
    return nullptr;
  }
  struct line_of_t {
    line_of_t(load_report_t& r, const CXmlDocument& doc) : report(r) {
      report.SetLineOf(
          [](const void* of, void* element) {
            return static_cast<int>(static_cast<const CXmlDocument*>(of)->GetLine(element));
          },
          &doc);
    }
    line_of_t(const line_of_t&) = delete;
    line_of_t& operator=(const line_of_t&) = delete;
    ~line_of_t() { report.SetLineOf(nullptr, nullptr); }
    load_report_t& report;
  } const lineOf(report, document);
  const CLoadErrorScope scope(&report);
  void* const element = document.GetElementByName(nullptr, nullptr, nullptr, false);
  CString typeName;
  document.GetName(element, typeName);
  std::int32_t fullType = 0;
  if (!CTypeRegistry::FindType(typeName, fullType)) {
    report.Add(element, Message(i18n::IDS_TYPE_UNKNOWN, {CVariant(typeName)}));
    return nullptr;
  }
  owned_obj_ptr root(CTableObj::CreateObject(fullType));
  if (root == nullptr || root->Load(&document, element, nullptr, false) == 0) {
    if (!report.HasErrors() || document.GetLastErrorText() != CString()) {
      report.Add(element, ErrorOf(document, i18n::IDS_PROJECT_FORM));
    }
    return nullptr;
  }
  return root;
}

owned_obj_ptr LoadJson(CFile& file, load_report_t& report) {
  json::root_t document;
  if (const auto error = json::ReadText(ReadToEnd(file, std::size_t{INT32_MAX} + 1), document)) {
    report.AddAt(error.line, error.column, Message(i18n::IDS_PROJECT_TEXT, {CVariant(error.cause)}));
    return nullptr;
  }
  if (document.objects.size() != 1 || document.objects.front().members.size() != 1) {
    report.AddAt(0, 0, Message(i18n::IDS_PROJECT_ONE_ROOT));
    return nullptr;
  }
  const json::member_t& root = document.objects.front().members.front();
  return ObjectFromJson(root.name, root.value, root.line, report);
}

owned_obj_ptr LoadAs(form_t form, CFile& file, load_report_t& report) {
  switch (form) {
    case form_t::BINARY: {
      const CLoadErrorScope scope(&report);
      return LoadBinary(file, report);
    }
    case form_t::XML: return LoadXml(file, report);
    case form_t::JSON: return LoadJson(file, report);
  }
  return nullptr;
}

owned_obj_ptr Load(CFile& file, load_report_t& report, const load_options_t& options) {
  owned_obj_ptr root;
  const auto fail = [&](std::unique_ptr<i18n::ILocalizedMessage> message) {
    root.reset();
    report.AddAt(0, 0, std::move(message));
    report.EndFailedObject();
  };
  try {
    std::optional<form_t> form = options.form;
    if (!form) {
      std::array<std::byte, 4096> begin;
      const unsigned size = file.Read(begin.data(), begin.size());
      file.SeekToBegin();
      form = FormOf(std::span(begin.data(), size));
    }
    if (!form) {
      fail(Message(i18n::IDS_PROJECT_FORM));
      return nullptr;
    }
    root = LoadAs(*form, file, report);
    if (root == nullptr || (report.HasErrors() && !options.isLenient)) return nullptr;
    root->OnLoadComplete();
  } catch (const CException& error) {
    fail(error.GetCode() == CException::kShortRead ? Message(i18n::IDS_PROJECT_CUT)
                                                   : Message(i18n::IDS_PROJECT_DAMAGED, {CVariant(error.what())}));
  } catch (i18n::message_exception_t& error) {
    auto message = error.DetachMessage();
    fail(message != nullptr ? std::move(message) : Message(i18n::IDS_PROJECT_TEXT, {CVariant(error.what())}));
  } catch (const CFileException& error) {
    fail(Message(i18n::IDS_PROJECT_TEXT, {CVariant(error.what())}));
  } catch (const std::length_error& error) {
    fail(Message(i18n::IDS_PROJECT_DAMAGED, {CVariant(error.what())}));
  }
  return root;
}

// --- saving --------------------------------------------------------------------------------------------------------

[[noreturn]] void ThrowNotSaved(const CTableObj& root, load_report_t& report,
                                std::unique_ptr<i18n::ILocalizedMessage> message) {
  CString path = report.EndFailedObject();
  if (path.IsEmpty()) path = root.GetName();
  const CString text = message == nullptr ? CString() : message->GetMessageText(0);
  throw i18n::message_exception_t(Message(i18n::IDS_OBJECT_NOT_SAVED, {CVariant(path), CVariant(text)}), path, u"", 0,
                                  i18n::IDS_OBJECT_NOT_SAVED);
}

// What saving told of, if anything.
std::unique_ptr<i18n::ILocalizedMessage> FirstError(load_report_t& report) {
  auto errors = report.TakeErrors();
  return errors.empty() ? nullptr : std::move(errors.front().message);
}

void WriteBinary(const CTableObj& root, CFile& file) {
  load_report_t report;
  const CLoadErrorScope scope(&report);
  file.Write(kHead.data(), kHead.size());
  if (root.Save(&file, false) == 0) ThrowNotSaved(root, report, FirstError(report));
  file.Write(kEnd.data(), kEnd.size());
}

void WriteXml(const CTableObj& root, CFile& file) {
  load_report_t report;
  const CLoadErrorScope scope(&report);
  CXmlDocument document;
  if (root.Save(&document, nullptr, nullptr, false) == 0) {
    auto message = document.RemoveLastError();
    ThrowNotSaved(root, report, message != nullptr ? std::move(message) : FirstError(report));
  }
  const std::uint64_t before = file.GetPosition();
  document.SaveTo(file);
  if (file.GetPosition() - before > CXmlDocument::kMaxBytes) {  // nobody could load it
    ThrowNotSaved(root, report,
                  Message(i18n::IDS_XML_TOO_LARGE, {CVariant(u"XML"), CVariant::FromInt64(CXmlDocument::kMaxBytes)}));
  }
}

void WriteJson(const CTableObj& root, CFile& file) {
  json::object_t top;
  {
    const object_lock_t lock(root);
    top.members.emplace_back(root.GetName(), ObjectToJson(root), 0);
  }
  const std::string text = json::WriteText(top) + "\n";
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t size = std::min<std::size_t>(text.size() - at, std::size_t{1} << 30);
    file.Write(text.data() + at, static_cast<unsigned>(size));
    at += size;
  }
}

// As saving one object after another does it. Before anything is read: what is changed meanwhile is marked again.
void ClearMarks(CTableObj& object) {
  object.SetModified(false);
  for (unsigned i = 0; CTable* const table = object.GetChildTable(i); ++i) {
    const CSingleLock lock(table->GetLock());
    table->SetModified(false);
    for (unsigned index = 0; index < table->GetCount(); ++index) ClearMarks(*table->GetRecord(index));
  }
}

}  // namespace

// --- forms ---------------------------------------------------------------------------------------------------------

const char16_t* FormName(form_t form) noexcept { return kFormNames[static_cast<std::size_t>(form)]; }

std::optional<form_t> FormFromName(const CString& nameOrPath) {
  const CString name = nameOrPath.Mid(nameOrPath.ReverseFind(u'.') + 1);
  for (const form_t form : {form_t::BINARY, form_t::XML, form_t::JSON}) {
    if (name.CompareNoCase(FormName(form)) == 0) return form;
  }
  return std::nullopt;
}

std::optional<form_t> FormOf(std::span<const std::byte> content) noexcept {
  std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
  if (!text.empty() && static_cast<std::uint8_t>(text.front()) == kHead.front()) return form_t::BINARY;
  if (text.starts_with("\xFF\xFE") || text.starts_with("\xFE\xFF")) return form_t::XML;
  if (text.starts_with("\xEF\xBB\xBF")) text.remove_prefix(3);
  const std::size_t first = text.find_first_not_of(std::string_view(" \t\r\n\0", 5));
  if (first == std::string_view::npos) return std::nullopt;
  if (text[first] == '<') return form_t::XML;
  if (text[first] == '{' || text[first] == '[') return form_t::JSON;
  return std::nullopt;
}

// --- files ---------------------------------------------------------------------------------------------------------

owned_obj_ptr LoadProject(const CString& path, load_report_t& report, const load_options_t& options) {
  report.Start(path);
  CFile file;
  std::unique_ptr<CFileException> error;
  if (!file.Open(path, CFile::modeRead, &error)) {
    std::string_view cause = error->what();  // the report names the file itself
    if (const std::string name = path.ToUtf8() + ": "; cause.starts_with(name)) cause.remove_prefix(name.size());
    report.AddAt(0, 0, Message(i18n::IDS_PROJECT_TEXT, {CVariant(cause)}));
    return nullptr;
  }
  return Load(file, report, options);
}

owned_obj_ptr LoadProject(std::span<const std::byte> content, load_report_t& report, const load_options_t& options) {
  report.Start({});
  CMemFile file(content);
  return Load(file, report, options);
}

void WriteProject(const CTableObj& root, CFile& file, form_t form) {
  try {
    switch (form) {
      case form_t::BINARY: return WriteBinary(root, file);
      case form_t::XML: return WriteXml(root, file);
      case form_t::JSON: return WriteJson(root, file);
    }
  } catch (const CException& error) {  // nested too deep, or a value that has no record
    load_report_t nowhere;
    ThrowNotSaved(root, nowhere, Message(i18n::IDS_PROJECT_TEXT, {CVariant(error.what())}));
  }
}

std::vector<std::byte> WriteProject(const CTableObj& root, form_t form) {
  CMemFile file;
  WriteProject(root, file, form);
  const auto content = file.GetContent();
  return {content.begin(), content.end()};
}

void SaveProject(const CTableObj& root, const CString& path, form_t form) {
  auto& object = const_cast<CTableObj&>(root);
  const bool wasModified = root.IsModified();
  try {
    zorplatform::CReplaceFile file(path);
    if (form == form_t::JSON) ClearMarks(object);
    WriteProject(root, file.GetFile(), form);
    file.Commit();
  } catch (...) {
    if (wasModified) object.SetModified(true);
    throw;
  }
}

bool AreTreesEqual(const CTableObj& a, const CTableObj& b) {
  if (a.GetFullType() != b.GetFullType() || a.GetName() != b.GetName() || a.GetDescription() != b.GetDescription()) {
    return false;
  }
  const CDescribedObj* const describedA = AsDescribed(&a);
  const CDescribedObj* const describedB = AsDescribed(&b);
  if (describedA != nullptr && describedB != nullptr) {
    if (&describedA->GetTypeDescription() != &describedB->GetTypeDescription()) return false;
    field_value_t valueOfA, valueOfB;
    for (const field_t& field : describedA->GetTypeDescription().fields) {
      field.get(a, valueOfA);
      field.get(b, valueOfB);
      if (!AreSame(field, valueOfA, valueOfB)) return false;
    }
  } else if (!(a == b)) {
    return false;
  }
  for (unsigned i = 0;; ++i) {
    const CTable* const tableOfA = a.GetChildTable(i);
    const CTable* const tableOfB = b.GetChildTable(i);
    if (tableOfA == nullptr || tableOfB == nullptr) return tableOfA == tableOfB;
    if (tableOfA->GetCount() != tableOfB->GetCount()) return false;
    for (unsigned index = 0; index < tableOfA->GetCount(); ++index) {
      if (!AreTreesEqual(*tableOfA->GetRecord(index), *tableOfB->GetRecord(index))) return false;
    }
  }
}

}  // namespace zorutil::project
