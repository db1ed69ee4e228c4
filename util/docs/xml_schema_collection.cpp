#include "util/docs/xml_schema_collection.h"

#include <libxml/hash.h>
#include <libxml/uri.h>
#include <libxml/valid.h>
#include <libxml/xmlIO.h>
#include <libxml/xmlschemas.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <new>
#include <stdexcept>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "util/docs/xml_document.h"
#include "util/docs/xml_parse_internal.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/values/variant.h"

namespace {

using message_t = std::unique_ptr<i18n::ILocalizedMessage>;

constexpr std::string_view kSchemaNamespace = "http://www.w3.org/2001/XMLSchema";

using xml::ViewOf;
const xmlChar* XmlOf(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

struct text_deleter_t {
  void operator()(void* text) const { xmlFree(text); }
};

std::string Taken(xmlChar* text) {
  const std::unique_ptr<xmlChar, text_deleter_t> owner(text);
  return std::string(ViewOf(text));
}

std::string_view TextOf(const xmlError& error) {
  std::string_view text = error.message == nullptr ? std::string_view() : error.message;
  while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
  return text;
}

std::string AttributeOf(const xmlNode* node, const char* name) {
  return Taken(xmlGetNoNsProp(const_cast<xmlNode*>(node), reinterpret_cast<const xmlChar*>(name)));
}

bool IsSchemaElement(const xmlNode* node, std::string_view name) {
  return node != nullptr && node->type == XML_ELEMENT_NODE && ViewOf(node->name) == name && node->ns != nullptr &&
         ViewOf(node->ns->href) == kSchemaNamespace;
}

// --- locations: paths of the system written as URIs --------------------------------------------------------------

std::string UriOf(const CString& path) {
  const std::string native = std::filesystem::absolute(zorplatform::ToNativePath(path)).generic_string();
  return Taken(xmlURIEscapeStr(XmlOf(native), reinterpret_cast<const xmlChar*>("/:")));
}

CString PathOf(std::string_view uri) {
  for (const std::string_view prefix : {"file://localhost/", "file:///", "file:/"}) {
    if (uri.starts_with(prefix)) uri.remove_prefix(prefix.size() - 1);
  }
  const std::unique_ptr<char, text_deleter_t> plain(xmlURIUnescapeString(std::string(uri).c_str(), 0, nullptr));
  if (plain == nullptr) throw std::bad_alloc();
  return zorplatform::FromNativePath(plain.get());
}

bool IsRemote(std::string_view uri) {
  const std::size_t end = uri.find_first_of(":/?#");
  return end != std::string_view::npos && end > 1 && uri[end] == ':' && uri.substr(0, end) != "file";
}

std::string Resolve(const std::string& location, const std::string& base) {
  return Taken(xmlBuildURI(XmlOf(location), XmlOf(base)));
}

// --- what libxml2 reads while it compiles ------------------------------------------------------------------------

// Every file that the schemas name, by the location under which libxml2 will ask for it. All have passed our own
// parser. Locations of imports lead to the registered file of the namespace.
struct files_t {
  struct file_t {
    std::string bytes;
    CString path;
  };
  // libxml2 asks for them, through which no exception may pass: looking for one needs no memory.
  struct hash_t : std::hash<std::string_view> {
    using is_transparent = void;
  };
  std::unordered_map<std::string, file_t, hash_t, std::equal_to<>> byLocation;
};

// Of this thread, while it compiles. libxml2 has one table of openers for the process: ours stays in it, and looks only
// at locations that are in `serving`, or that would be fetched.
thread_local const files_t* serving = nullptr;

const files_t::file_t* FindServed(const char* location) {
  const auto found = serving->byLocation.find(std::string_view(location));
  return found == serving->byLocation.end() ? nullptr : &found->second;
}

int Matches(const char* location) {
  return serving != nullptr && (FindServed(location) != nullptr || IsRemote(location)) ? 1 : 0;
}

// A null result would pass the location on to the next opener, so what is refused opens and cannot be read.
void* Open(const char* location) {
  const files_t::file_t* const file = FindServed(location);
  return new (std::nothrow) std::pair(file != nullptr, file == nullptr ? std::string_view() : file->bytes);
}

int Read(void* context, char* buffer, int size) {
  auto& [isServed, rest] = *static_cast<std::pair<bool, std::string_view>*>(context);
  if (!isServed) return -1;
  const std::size_t count = std::min(rest.size(), static_cast<std::size_t>(std::max(size, 0)));
  if (count != 0) std::memcpy(buffer, rest.data(), count);
  rest.remove_prefix(count);
  return static_cast<int>(count);
}

int Close(void* context) {
  delete static_cast<std::pair<bool, std::string_view>*>(context);
  return 0;
}

class CServing {
 public:
  explicit CServing(const files_t& files) {
    xmlInitParser();
    serving = &files;
    static std::mutex mutex;
    const std::lock_guard lock(mutex);
    isReady_ = IsRegistered() || xmlRegisterInputCallbacks(&Matches, &Open, &Read, &Close) >= 0;
  }
  CServing(const CServing&) = delete;
  CServing& operator=(const CServing&) = delete;
  ~CServing() { serving = nullptr; }
  /// False when libxml2's table is full.
  bool IsReady() const { return isReady_; }

 private:
  // A program may have emptied the table since.
  static bool IsRegistered() {
    xmlParserInputBuffer* const probe = xmlParserInputBufferCreateFilename("probe://", XML_CHAR_ENCODING_NONE);
    xmlFreeParserInputBuffer(probe);
    return probe != nullptr;
  }

  bool isReady_;
};

struct schema_deleter_t {
  void operator()(xmlSchema* schema) const { xmlSchemaFree(schema); }
  void operator()(xmlSchemaParserCtxt* context) const { xmlSchemaFreeParserCtxt(context); }
  void operator()(xmlSchemaValidCtxt* context) const { xmlSchemaFreeValidCtxt(context); }
};
template <class T>
using schema_ptr_t = std::unique_ptr<T, schema_deleter_t>;

using registered_t = std::map<std::string, CString>;  // the path of each namespace

xml::tree_ptr_t ReadSchema(const CString& path, std::string& bytes, message_t& error) {
  try {
    CFile file(path, CFile::modeRead);
    bytes = xml::ReadAll(file);
  } catch (const CFileException& failure) {
    error = i18n::MakeLocalizedMessage(i18n::IDS_DOCUMENT_FILE, {CVariant(failure.what())});
    return nullptr;
  }
  xml::tree_ptr_t tree = xml::ParseBytes(bytes, path, error);
  if (tree != nullptr && !IsSchemaElement(tree->GetRoot(), "schema")) {
    error = i18n::MakeLocalizedMessage(i18n::IDS_SCHEMA_FAULT,
                                       {CVariant(path), CVariant::FromInt32(1), CVariant(u"not an XML schema")});
    tree.reset();
  }
  return tree;
}

// Collects the registered files and all that they name.
class CCollector {
 public:
  CCollector(const registered_t& registered, files_t& files) : registered_(registered), files_(files) {}

  bool Collect(message_t& error) {
    for (const auto& [ns, path] : registered_) open_.push_back({UriOf(path), path});
    while (!open_.empty()) {
      const pending_t next = std::move(open_.back());
      open_.pop_back();
      if (!files_.byLocation.contains(next.location) && !Take(next, error)) return false;
    }
    return true;
  }

 private:
  struct pending_t {
    std::string location;
    CString path;
  };

  bool Take(const pending_t& pending, message_t& error) {
    files_t::file_t file{{}, pending.path};
    const xml::tree_ptr_t tree = ReadSchema(pending.path, file.bytes, error);
    if (tree == nullptr) return false;
    xmlDoc* const doc = tree->GetDoc();
    doc->URL = xmlStrdup(XmlOf(pending.location));
    const xmlNode* node = tree->GetRoot()->children;
    for (; node != nullptr; node = node->next) {
      const bool isImport = IsSchemaElement(node, "import");
      if (!isImport && !IsSchemaElement(node, "include") && !IsSchemaElement(node, "redefine")) continue;
      const std::string location = AttributeOf(node, "schemaLocation");
      if (location.empty()) continue;
      const std::string base = Taken(xmlNodeGetBase(doc, node));
      const auto known = isImport ? registered_.find(AttributeOf(node, "namespace")) : registered_.end();
      pending_t named{Resolve(location, base), {}};
      if (known != registered_.end()) {
        named.path = known->second;
      } else {
        // Where a registered file was asked for under another name, its neighbours are looked for beside the file.
        const std::string own = UriOf(pending.path);
        const std::string real = own == pending.location ? named.location : Resolve(location, own);
        if (IsRemote(real)) {
          error = i18n::MakeLocalizedMessage(i18n::IDS_SCHEMA_REMOTE, {CVariant(pending.path), CVariant(real)});
          return false;
        }
        named.path = PathOf(real);
      }
      open_.push_back(std::move(named));
    }
    files_.byLocation.emplace(pending.location, std::move(file));
    return true;
  }

  const registered_t& registered_;
  files_t& files_;
  std::vector<pending_t> open_;
};

void AppendEscaped(std::string& out, std::string_view text) {
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
}

// A schema that does nothing but import the registered ones.
std::string DriverOf(const registered_t& registered) {
  std::string text = "<schema xmlns=\"http://www.w3.org/2001/XMLSchema\" targetNamespace=\"urn:schema-collection\">";
  for (const auto& [ns, path] : registered) {
    text += "<import";
    if (!ns.empty()) {
      text += " namespace=\"";
      AppendEscaped(text, ns);
      text += '"';
    }
    text += " schemaLocation=\"";
    AppendEscaped(text, UriOf(path));
    text += "\"/>";
  }
  return text + "</schema>";
}

schema_ptr_t<xmlSchema> CompileAll(const registered_t& registered, message_t& error) {
  files_t files;
  if (!CCollector(registered, files).Collect(error)) return nullptr;
  const std::string driver = DriverOf(registered);
  const auto report = [&](const xmlError& fault) {
    if (error != nullptr || fault.level < XML_ERR_ERROR) return;
    const auto* const node = static_cast<const xmlNode*>(fault.node);
    const std::string_view location = fault.file != nullptr ? fault.file
                                      : node == nullptr     ? std::string_view()
                                                            : ViewOf(node->doc->URL);
    const auto file = files.byLocation.find(location);
    const CString path = file != files.byLocation.end() ? file->second.path : PathOf(location);
    error = i18n::MakeLocalizedMessage(i18n::IDS_SCHEMA_FAULT,
                                       {CVariant(path), CVariant::FromInt32(fault.line), CVariant(TextOf(fault))});
  };
  const xml::CErrorScope errors(report);
  const CServing scope(files);
  if (!scope.IsReady()) throw std::length_error("libxml2 takes no further input callbacks");
  const schema_ptr_t<xmlSchemaParserCtxt> context(
      xmlSchemaNewMemParserCtxt(driver.data(), static_cast<int>(driver.size())));
  if (context == nullptr) throw std::bad_alloc();
  schema_ptr_t<xmlSchema> schema(xmlSchemaParse(context.get()));
  if (error != nullptr) schema.reset();
  if (errors.IsOutOfMemory() || (schema == nullptr && error == nullptr)) throw std::bad_alloc();
  return schema;
}

// Takes back what a check notes of the values of type xs:ID, so that the next one starts anew.
void ForgetIds(xmlDoc* doc) {
  auto* const ids = static_cast<xmlHashTable*>(doc->ids);
  if (ids == nullptr) return;
  const auto forget = [](void* id, void*, const xmlChar*) {
    if (xmlAttr* const attribute = static_cast<xmlID*>(id)->attr; attribute != nullptr) {
      attribute->atype = static_cast<xmlAttributeType>(0);
    }
  };
  xmlHashScan(ids, forget, nullptr);
  xmlFreeIDTable(ids);
  doc->ids = nullptr;
}

// --- where a fault lies ------------------------------------------------------------------------------------------

// The paths of elements. Siblings are counted once, however many of them are at fault.
class CPaths {
 public:
  std::string PathOf(const xmlNode* element) {
    if (element == nullptr || element->type != XML_ELEMENT_NODE) return {};
    std::string path = PathOf(element->parent);
    path += '/';
    path += ViewOf(element->name);
    if (const int place = PlaceOf(element); place != 0) path += '[' + std::to_string(place) + ']';
    return path;
  }

 private:
  // From 1 on; 0 for the only one of its name.
  int PlaceOf(const xmlNode* element) {
    if (const auto found = places_.find(element); found != places_.end()) return found->second;
    std::unordered_map<std::string_view, std::pair<const xmlNode*, int>> names;
    for (const xmlNode* node = element->parent->children; node != nullptr; node = node->next) {
      if (node->type != XML_ELEMENT_NODE) continue;
      auto& [first, count] = names[ViewOf(node->name)];
      if (++count == 1) first = node;
      if (count == 2) places_[first] = 1;
      places_[node] = count == 1 ? 0 : count;
    }
    return places_[element];
  }

  std::unordered_map<const xmlNode*, int> places_;
};

}  // namespace

struct CXmlSchemaCollection::state_t {
  int Fail(message_t message) {
    error = std::move(message);
    return 0;
  }

  bool EnsureCompiled(message_t& failure) {
    const std::lock_guard lock(mutex);
    if (schema == nullptr) schema = CompileAll(registered, failure);
    return schema != nullptr;
  }

  registered_t registered;
  message_t error;
  std::mutex mutex;  // of what Validate compiles
  schema_ptr_t<xmlSchema> schema;
};

CXmlSchemaCollection::CXmlSchemaCollection() : state_(std::make_unique<state_t>()) {}
CXmlSchemaCollection::~CXmlSchemaCollection() = default;

int CXmlSchemaCollection::Add(const char16_t* ns, const char16_t* path) {
  const CString file(path);
  const std::string wanted = CString(ns).ToUtf8();
  message_t error;
  std::string bytes;
  const xml::tree_ptr_t tree = ReadSchema(file, bytes, error);
  if (tree == nullptr) return state_->Fail(std::move(error));
  const std::string own = AttributeOf(tree->GetRoot(), "targetNamespace");
  if (own != wanted) {
    return state_->Fail(
        i18n::MakeLocalizedMessage(i18n::IDS_SCHEMA_NAMESPACE, {CVariant(file), CVariant(own), CVariant(wanted)}));
  }
  state_->registered[wanted] = file;
  state_->schema.reset();
  state_->error.reset();
  return 1;
}

int CXmlSchemaCollection::Remove(const char16_t* ns) {
  if (state_->registered.erase(CString(ns).ToUtf8()) == 0) return 0;
  state_->schema.reset();
  return 1;
}

int CXmlSchemaCollection::GetCount() const { return static_cast<int>(state_->registered.size()); }

int CXmlSchemaCollection::Compile() {
  state_->error.reset();
  return state_->EnsureCompiled(state_->error) ? 1 : 0;
}

int CXmlSchemaCollection::Validate(const CXmlDocument& document, std::vector<fault_t>& faults) const {
  faults.clear();
  message_t failure;
  if (document.IsValid() == 0) failure = i18n::MakeLocalizedMessage(i18n::IDS_XML_EMPTY, {CVariant(u"XML")});
  if (failure != nullptr || !state_->EnsureCompiled(failure)) {
    faults.push_back({0, {}, failure->GetMessageText(0)});
    return 0;
  }
  CPaths paths;
  const auto report = [&](const xmlError& error) {
    if (error.level < XML_ERR_ERROR) return;
    const auto* node = static_cast<const xmlNode*>(error.node);
    if (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->parent;
    faults.push_back(
        {node == nullptr ? 0 : xml::CTree::GetLine(node), CString(paths.PathOf(node)), CString(TextOf(error))});
  };
  const xml::CErrorScope errors(report);
  const schema_ptr_t<xmlSchemaValidCtxt> context(xmlSchemaNewValidCtxt(state_->schema.get()));
  if (context == nullptr) throw std::bad_alloc();
  // What is const here stays so: validating only reads, but for the identifiers it notes in the tree.
  auto* const doc = static_cast<xmlDoc*>(const_cast<void*>(document.GetTree()));
  const int result = xmlSchemaValidateDoc(context.get(), doc);
  ForgetIds(doc);
  if (errors.IsOutOfMemory() || result < 0) throw std::bad_alloc();
  return result == 0 && faults.empty() ? 1 : 0;
}

std::unique_ptr<i18n::ILocalizedMessage> CXmlSchemaCollection::RemoveLastError() { return std::move(state_->error); }

CString CXmlSchemaCollection::GetLastErrorText() const {
  return state_->error == nullptr ? CString() : state_->error->GetMessageText(0);
}
