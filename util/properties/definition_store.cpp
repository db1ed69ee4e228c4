#include "util/properties/definition_store.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <string>
#include <vector>

#include "platform/framework/read_to_end_internal.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/file_search.h"
#include "util/i18n/language_module.h"
#include "util/properties/definition_file.h"
#include "util/properties/definition_loader.h"
#include "util/properties/namespace_index_internal.h"
#include "util/serialization/stream_serializers.h"

namespace zorutil::properties {

using definition_ptr_t = std::shared_ptr<IPropertyDefinition>;
using zorplatform::CException;

namespace {

// More than any directory can fill: a line of the longest names for each number a namespace can have, many times over.
constexpr std::size_t kMaxIndexBytes = 16 << 20;

// The definitions of one namespace. Filled by one thread, then never changed.
class CNamespace {
 public:
  CNamespace() = default;
  explicit CNamespace(std::vector<definition_ptr_t> definitions) : definitions_(std::move(definitions)) {
    FillIds();
    FillNames();
  }

  const std::vector<definition_ptr_t>& GetDefinitions() const noexcept { return definitions_; }

  const definition_ptr_t* Find(int id) const noexcept {
    if (slots_.empty()) return nullptr;
    for (std::size_t at = Home(id);; at = (at + 1) & (slots_.size() - 1)) {
      const slot_t& slot = slots_[at];
      if (slot.definition == nullptr) return nullptr;
      if (slot.id == id) return &slot.definition;
    }
  }

  const definition_ptr_t* Find(const CString& name) const {
    const auto less = [&](std::uint32_t index, const CString& other) {
      return definitions_[index]->GetName().CompareNoCase(other) < 0;
    };
    const auto found = std::lower_bound(byName_.begin(), byName_.end(), name, less);
    if (found == byName_.end() || definitions_[*found]->GetName().CompareNoCase(name) != 0) return nullptr;
    return &definitions_[*found];
  }

 private:
  // The pointer stands in the table: one line of memory less to fetch for each lookup.
  struct slot_t {
    int id = 0;
    definition_ptr_t definition;
  };

  // The upper bits of the product, of which there are as many as the table has address bits.
  std::size_t Home(int id) const noexcept { return (static_cast<std::uint32_t>(id) * 0x9E3779B1U) >> shift_; }

  // An open table, at most half full. Ids of another namespace, which a file may hold, are never asked for here.
  void FillIds() {
    if (definitions_.empty()) return;
    slots_.resize(std::bit_ceil(definitions_.size() * 2));
    shift_ = 32 - std::countr_zero(slots_.size());
    for (const definition_ptr_t& definition : definitions_) {
      const int id = definition->GetId();
      if (Find(id) != nullptr) continue;
      std::size_t at = Home(id);
      while (slots_[at].definition != nullptr) at = (at + 1) & (slots_.size() - 1);
      slots_[at] = {id, definition};
    }
  }

  void FillNames() {
    byName_.resize(definitions_.size());
    for (std::uint32_t index = 0; index < byName_.size(); ++index) byName_[index] = index;
    std::stable_sort(byName_.begin(), byName_.end(), [&](std::uint32_t a, std::uint32_t b) {
      return definitions_[a]->GetName().CompareNoCase(definitions_[b]->GetName()) < 0;
    });
  }

  std::vector<definition_ptr_t> definitions_;
  std::vector<slot_t> slots_;
  std::vector<std::uint32_t> byName_;
  int shift_ = 0;
};

// All definitions of a file, if it is of the namespace that is asked for; 0 takes any.
struct collector_t : IDefinitionFileClient {
  explicit collector_t(int wantedNumber) : number(wantedNumber) {}
  bool OnNamespace(int fileNumber, const CString&, const CString&) override {
    return number == 0 || fileNumber == number;
  }
  bool OnDefinition(definition_ptr_t definition) override {
    definitions.push_back(std::move(definition));
    return true;
  }
  int number;
  std::vector<definition_ptr_t> definitions;
};

// Puts what was made into its empty place, unless another thread was faster; gives what stands there.
template <class T>
const T* Publish(std::atomic<const T*>& place, std::unique_ptr<const T> made) noexcept {
  const T* present = nullptr;
  if (place.compare_exchange_strong(present, made.get(), std::memory_order_acq_rel)) return made.release();
  return present;
}

}  // namespace

struct CDefinitionStore::state_t {
  CString directory;
  std::atomic<const namespace_map_t*> index{nullptr};
  std::array<std::atomic<const CNamespace*>, kMaxNamespace + 1> namespaces{};
  // Stands for a namespace that the index does not have, and for one that was asked for without an index.
  const CNamespace unknown{};
  const CNamespace withoutIndex{};

  ~state_t() {
    delete index.load();
    for (const auto& each : namespaces) {
      if (IsOwn(each.load())) delete each.load();
    }
  }
  bool IsOwn(const CNamespace* each) const noexcept { return each != &unknown && each != &withoutIndex; }

  CString PathOf(const CString& fileName) const { return directory + fileName + u".prop"; }
  // A name from outside leads to no other directory.
  static bool IsPlain(const CString& fileName) { return !fileName.IsEmpty() && fileName.FindOneOf(u"\\/") < 0; }

  const namespace_map_t& GetIndex() {
    if (const namespace_map_t* const map = index.load(std::memory_order_acquire)) return *map;
    return *Publish(index, std::make_unique<const namespace_map_t>(ReadIndex()));
  }

  bool HasIndex() {
    if (index.load(std::memory_order_acquire) != nullptr) return true;
    try {
      return zorplatform::CheckFileExists(GetIndexPath());
    } catch (const CFileException& failure) {
      ThrowUnreadableIndex(failure);
    }
  }
  [[noreturn]] static void ThrowUnreadableIndex(const CFileException& failure) {
    CException::Throw(CException::kEndOfStream, std::string("the namespace index cannot be read: ") + failure.what());
  }
  CString GetIndexPath() const { return directory + kIndexFileName; }

  namespace_map_t ReadIndex() const {
    const CString path = GetIndexPath();
    try {
      if (!zorplatform::CheckFileExists(path)) throw CFileException(path, "there is no such file", 0);
      CFile file(path, CFile::modeRead);
      const std::string text = ReadToEnd(file, kMaxIndexBytes + 1);
      if (text.size() > kMaxIndexBytes) throw CFileException(path, "too large for an index", 0);
      return ReadIndexText(text);
    } catch (const CFileException& failure) {
      ThrowUnreadableIndex(failure);
    }
  }

  const CNamespace& GetNamespace(int number) {
    const CNamespace* const loaded = namespaces[static_cast<std::size_t>(number)].load(std::memory_order_acquire);
    return loaded != nullptr ? *loaded : LoadNamespace(number);
  }

  const CNamespace& LoadNamespace(int number) {
    auto& place = namespaces[static_cast<std::size_t>(number)];
    if (!HasIndex()) {
      const CNamespace& present = Occupy(place, withoutIndex);
      // An index that came up in between must not be overlooked for good.
      if (&present != &withoutIndex || !HasIndex()) return present;
      OnIndexCreated();
      return GetNamespace(number);
    }
    const namespace_map_t& map = GetIndex();
    const auto entry = map.find(number);
    if (number == 0 || entry == map.end()) return Occupy(place, unknown);
    return *Publish(place, std::make_unique<const CNamespace>(ReadFile(entry->second.fileName, number)));
  }

  static const CNamespace& Occupy(std::atomic<const CNamespace*>& place, const CNamespace& standIn) noexcept {
    const CNamespace* present = nullptr;
    return place.compare_exchange_strong(present, &standIn, std::memory_order_acq_rel) ? standIn : *present;
  }

  void OnIndexCreated() noexcept {
    for (auto& each : namespaces) {
      const CNamespace* standIn = &withoutIndex;
      each.compare_exchange_strong(standIn, nullptr, std::memory_order_acq_rel);
    }
  }

  std::vector<definition_ptr_t> ReadFile(const CString& fileName, int number) const {
    collector_t collector(number);
    const CString path = PathOf(fileName);
    // One that is there and cannot be opened now must not be empty as long as the process lives.
    if (IsPlain(fileName) && zorplatform::CheckFileExists(path)) {
      CFile file(path, CFile::modeRead);
      file_serializer_t in(&file);
      ReadDefinitionStream(in, GetDefinitionFileName(path), collector);
    }
    return std::move(collector.definitions);
  }

  // The namespace of a name; failing that, of a file of that name. 0 when the index has neither.
  int FindNumber(const CString& name) {
    if (!HasIndex()) return 0;
    const namespace_map_t& map = GetIndex();
    for (const CString metadata_t::*each : {&metadata_t::namespaceName, &metadata_t::fileName}) {
      for (const auto& [number, entry] : map) {
        if (number >= 1 && number <= kMaxNamespace && (entry.*each).CompareNoCase(name) == 0) return number;
      }
    }
    return 0;
  }

  bool IsLoaded(int number) const noexcept {
    if (number < 1 || number > kMaxNamespace) return false;
    const CNamespace* const loaded = namespaces[static_cast<std::size_t>(number)].load(std::memory_order_acquire);
    return loaded != nullptr && IsOwn(loaded);
  }
};

CDefinitionStore::CDefinitionStore(const CString& directory) : state_(std::make_unique<state_t>()) {
  state_->directory = directory;
}

CDefinitionStore::~CDefinitionStore() = default;

const CString& CDefinitionStore::GetDirectory() const noexcept { return state_->directory; }

definition_ptr_t CDefinitionStore::GetDefinition(int id) {
  const definition_ptr_t* const found = state_->GetNamespace(GetNamespaceNumber(id)).Find(id);
  return found == nullptr ? nullptr : *found;
}

const IPropertyDefinition* CDefinitionStore::FindDefinition(int id) {
  const definition_ptr_t* const found = state_->GetNamespace(GetNamespaceNumber(id)).Find(id);
  return found == nullptr ? nullptr : found->get();
}

definition_ptr_t CDefinitionStore::GetDefinition(const CString& namespaceName, const CString& name) {
  const int number = state_->FindNumber(namespaceName);
  if (number == 0) return nullptr;
  const definition_ptr_t* const found = state_->GetNamespace(number).Find(name);
  return found == nullptr ? nullptr : *found;
}

const char16_t* CDefinitionStore::GetNamespaceName(int propertyId) {
  const namespace_map_t& map = state_->GetIndex();
  const auto entry = map.find(GetNamespaceNumber(propertyId));
  return entry == map.end() ? u"" : entry->second.namespaceName.GetString();
}

void CDefinitionStore::IterateNamespaces(functor_t<const std::pair<int, metadata_t>&>& functor) {
  for (const auto& [number, entry] : state_->GetIndex()) {
    std::pair<int, metadata_t> item(number, entry);
    item.second.isLoaded = state_->IsLoaded(number);
    if (functor(item)) return;
  }
}

bool CDefinitionStore::IterateDefinitions(const CString& namespaceName, functor_t<definition_ptr_t>& functor) {
  std::vector<definition_ptr_t> own;
  const std::vector<definition_ptr_t>* definitions = &own;
  if (const int number = state_->FindNumber(namespaceName); number != 0) {
    definitions = &state_->GetNamespace(number).GetDefinitions();
  } else {
    collector_t collector(0);
    if (!state_t::IsPlain(namespaceName) || !ReadDefinitionFile(state_->PathOf(namespaceName), collector)) return false;
    own = std::move(collector.definitions);
  }
  for (const definition_ptr_t& definition : *definitions) {
    if (functor(definition)) break;
  }
  return true;
}

metadata_t CDefinitionStore::GetMetaData(int namespaceNumber, int number, unsigned short languageId) {
  metadata_t result;
  if (state_->HasIndex()) {
    const namespace_map_t& map = state_->GetIndex();
    if (const auto entry = map.find(namespaceNumber); entry != map.end()) result = entry->second;
  }
  result.number = number;
  result.isLoaded = state_->IsLoaded(namespaceNumber);
  if (const auto module = i18n::CLanguageModule::Find(result.fileName); module != nullptr && number > 0) {
    result.text = module->GetText(static_cast<unsigned>(number), languageId);
  }
  return result;
}

void CDefinitionStore::OnIndexCreated() noexcept { state_->OnIndexCreated(); }

}  // namespace zorutil::properties
