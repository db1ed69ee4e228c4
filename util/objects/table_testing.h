// For tests, fuzz targets and benchmarks of tables: an object with a number and one table of children, and a table
// whose hooks are functions.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <sstream>
#include <string>
#include <vector>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/zorplatform/exception.h"
#include "util/docs/structured_doc.h"
#include "util/objects/load_errors.h"
#include "util/objects/table.h"
#include "util/objects/table_obj.h"
#include "util/objects/type_registry.h"

namespace table_testing {

inline constexpr short kLeaf = 0x101;
inline constexpr short kNode = 0x102;
/// A record of this number refuses to be read and written.
inline constexpr std::uint32_t kRefused = 0xDEAD;

inline int living = 0;  ///< objects of this header; tests with threads do not look at it

class CLeaf : public CTableObj {
 public:
  explicit CLeaf(const char16_t* name = u"", std::uint32_t number = 0) : CLeaf(kLeaf, name, number) {}
  ~CLeaf() override { --living; }
  int OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const override {
    return value != kRefused && doc->WriteElement(element, ns, u"Value", true, value) != nullptr ? 1 : 0;
  }
  int OnSave(CFile* file) const override {
    file->Write(&value, sizeof value);
    return value != kRefused ? 1 : 0;
  }
  int OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) override {
    return doc->ReadElement(element, ns, u"Value", true, value) != nullptr && value != kRefused ? 1 : 0;
  }
  int OnLoad(CFile* file) override {
    return file->Read(&value, sizeof value) == sizeof value && value != kRefused ? 1 : 0;
  }
  std::uint32_t value;

 protected:
  CLeaf(short type, const char16_t* name, std::uint32_t number) : CTableObj(type, true, 1), value(number) {
    SetName(name);
    SetModified(false);
    ++living;
  }
};

class CHookedTable : public CTable {
 public:
  explicit CHookedTable(CTableObj* owner = nullptr, unsigned growth = 4) : CTable(kLeaf, true, growth) {
    SetOwner(owner);
  }
  CHookedTable(const CHookedTable& other) = default;
  CHookedTable& operator=(const CHookedTable& other) = default;
  CString GetTableName() const override { return u"Children"; }

  std::function<void(CTableObj*)> onCreate;
  std::function<void(unsigned)> onInsert;
  std::function<void(unsigned)> onLoad;
  std::function<void(unsigned)> onRemove;
  std::function<bool(unsigned)> onSave;
  std::function<bool(const CTableObj&)> canHold;
  std::function<void(int)> onLoadAll;  // with the number of loads
  int loads = 0;
  mutable int saves = 0;
  int resets = 0;

 protected:
  void OnCreateRecord(CTableObj* object) const override { Call(onCreate, object); }
  void OnRecordInsert(unsigned index) override { Call(onInsert, index); }
  void OnRecordLoad(unsigned index) override { Call(onLoad, index); }
  void OnRecordRemove(unsigned index) override { Call(onRemove, index); }
  bool OnRecordSave(unsigned index) const override { return !onSave || onSave(index); }
  bool CanHold(const CTableObj& object) const override { return !canHold || canHold(object); }
  void OnSave() const override { ++saves; }
  void OnReset() override { ++resets; }
  void OnLoad() override { Call(onLoadAll, ++loads); }

 private:
  template <class Hook, class T>
  static void Call(const Hook& hook, T argument) {
    if (hook) hook(argument);
  }
};

class CNode : public CLeaf {
 public:
  explicit CNode(const char16_t* name = u"", std::uint32_t number = 0) : CLeaf(kNode, name, number) {}
  CTable* GetChildTable(unsigned index) const override { return index == 0 ? &children : nullptr; }
  int OnSave(CStructuredDoc* doc, void* element, const char16_t* ns) const override {
    return CLeaf::OnSave(doc, element, ns) != 0 && (!IsRecursing() || children.Save(doc, element, ns) != 0) ? 1 : 0;
  }
  int OnSave(CFile* file) const override {
    return CLeaf::OnSave(file) != 0 && (!IsRecursing() || children.Save(file) != 0) ? 1 : 0;
  }
  int OnLoad(CStructuredDoc* doc, void* element, const char16_t* ns) override {
    return CLeaf::OnLoad(doc, element, ns) != 0 && (!IsRecursing() || children.Load(doc, element, ns) != 0) ? 1 : 0;
  }
  int OnLoad(CFile* file) override {
    return CLeaf::OnLoad(file) != 0 && (!IsRecursing() || children.Load(file) != 0) ? 1 : 0;
  }
  mutable CHookedTable children{this};
};

/// Makes both types known, once.
inline void RegisterTypes() {
  static const bool isDone = [] {
    CTableObj::Register(kLeaf, 0, []() -> CTableObj* { return new CLeaf; });
    CTableObj::Register(kNode, 0, []() -> CTableObj* { return new CNode; });
    zorutil::CTypeRegistry::Register(CTableObj::MakeFullType(kLeaf, 0), u"Leaf");
    zorutil::CTypeRegistry::Register(CTableObj::MakeFullType(kNode, 0), u"Node");
    return true;
  }();
  static_cast<void>(isDone);
}

/// "tag2 Tag1": objects of these names, one after the other; how many came in.
inline int Add(CTable& table, const std::string& names) {
  std::istringstream words(names);
  int taken = 0;
  for (std::string word; words >> word;) {
    auto* const leaf = new CLeaf(CString(word));
    const bool isTaken = table.Insert(leaf) != CTable::invalid_index;
    if (!isTaken) delete leaf;
    taken += isTaken ? 1 : 0;
  }
  return taken;
}

/// The names in the order of the records.
inline std::string Names(const CTable& table) {
  std::string names;
  for (unsigned i = 0; i < table.GetCount(); ++i) names += (i == 0 ? "" : " ") + table.GetRecord(i)->GetName().ToUtf8();
  return names;
}

using bytes_t = std::vector<std::byte>;

/// Nothing when it fails.
inline bytes_t Saved(const CTable& table) {
  CMemFile file;
  if (table.Save(&file) == 0) return {};
  return {file.GetContent().begin(), file.GetContent().end()};
}

/// 0 for a failure of any kind.
inline int Load(CTable& table, std::span<const std::byte> bytes) {
  CMemFile file(bytes);
  try {
    return table.Load(&file);
  } catch (const zorplatform::CException&) {
    return 0;
  }
}

/// What a load tells about, by number.
struct errors_t : zorutil::ILoadErrors {
  void Add(void*, std::unique_ptr<i18n::ILocalizedMessage> message) override { ids.push_back(message->GetMessageId()); }
  void EnterObject(const CString&) override {}
  void LeaveObject() noexcept override {}
  void OnFailedObject(const CString&) noexcept override {}
  std::vector<unsigned> ids;
};

}  // namespace table_testing
