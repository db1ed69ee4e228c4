#include "util/docs/xml_document.h"

#include <libxml/tree.h>

#include <climits>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/framework/file.h"
#include "platform/framework/replace_file.h"
#include "platform/text/utf.h"
#include "util/docs/xml_parse_internal.h"
#include "util/docs/xml_write_internal.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/values/variant.h"

namespace {

constexpr const char16_t* kTextSource = u"XML";

std::u16string_view ViewOf(const char16_t* text) { return text == nullptr ? std::u16string_view() : text; }

using xml::CTree;
using xml::ViewOf;

const xmlChar* XmlOf(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

// A text as libxml2 takes it, in UTF-8 and terminated. Short ones need no heap.
class CUtf8 {
 public:
  explicit CUtf8(std::u16string_view text) {
    char* out = short_;
    if (utf::MaxUtf8Bytes(text.size()) >= sizeof short_) {
      const std::size_t size = utf::Utf8Length(text);
      if (size > static_cast<std::size_t>(INT_MAX)) throw std::length_error("a text of more than 2^31 - 1 bytes");
      long_.resize(size);
      out = long_.data();
    }
    size_ = utf::Utf16ToUtf8(text, out);
    out[size_] = '\0';
    text_ = out;
  }
  CUtf8(const CUtf8&) = delete;
  CUtf8& operator=(const CUtf8&) = delete;

  std::string_view View() const { return {text_, size_}; }
  const xmlChar* Xml() const { return XmlOf(text_); }
  int GetSize() const { return static_cast<int>(size_); }

 private:
  char short_[512];
  std::string long_;
  const char* text_;
  std::size_t size_;
};

// A handle is the node itself.
xmlNode* NodeOf(void* element) { return static_cast<xmlNode*>(element); }

void* Acquire(xmlNode* node) {
  if (node != nullptr) CTree::Of(node).AddHandle(node);
  return node;
}

xmlNode* ElementFrom(xmlNode* node) {
  while (node != nullptr && node->type != XML_ELEMENT_NODE) node = node->next;
  return node;
}

// What an element is looked up by.
struct name_t {
  std::string_view ns;
  std::string_view local;

  bool IsOf(const xmlNode* element) const {
    return ViewOf(element->name) == local && (element->ns == nullptr ? ns.empty() : ViewOf(element->ns->href) == ns);
  }
};

// The first element of that name from `node` on.
xmlNode* NamedFrom(xmlNode* node, const name_t& name) {
  for (node = ElementFrom(node); node != nullptr && !name.IsOf(node);) node = ElementFrom(node->next);
  return node;
}

xmlNode* ChildrenOf(const xmlNode* parent) { return parent == nullptr ? nullptr : parent->children; }

int DepthOf(const xmlNode* node) {
  int depth = 0;
  for (; node != nullptr && node->type == XML_ELEMENT_NODE; node = node->parent) ++depth;
  return depth;
}

// --- texts -------------------------------------------------------------------------------------------------------

bool IsText(const xmlNode* node) { return node->type == XML_TEXT_NODE || node->type == XML_CDATA_SECTION_NODE; }

// Into the memory that `out` has, where it suffices.
void Take(std::string_view utf8, CString& out) {
  if (utf8.empty()) {
    out.Assign({});
  } else {
    out = utf8;
  }
}

// The texts among the siblings from `first` on, one after another.
void GatherText(const xmlNode* first, CString& out) {
  if (first == nullptr) return Take({}, out);
  if (first->next == nullptr && IsText(first)) return Take(ViewOf(first->content), out);
  std::string text;
  for (const xmlNode* node = first; node != nullptr; node = node->next) {
    if (IsText(node)) text += ViewOf(node->content);
  }
  Take(text, out);
}

void GetElementText(const xmlNode* element, CString& out) {
  const xmlNode* const first = element->children;
  GatherText(first != nullptr && first->next != nullptr && xml::IsLaidOut(element) ? nullptr : first, out);
}

void ReplaceText(xmlNode* element, std::string_view text, xmlElementType type) {
  CTree& tree = CTree::Of(element);
  for (xmlNode* node = element->children; node != nullptr;) {
    xmlNode* const next = node->next;
    if (IsText(node)) tree.Drop(node);
    node = next;
  }
  if (!text.empty()) tree.Prepend(element, tree.NewText(type, text));
}

// --- attributes --------------------------------------------------------------------------------------------------

struct attribute_name_t {
  std::string_view prefix;
  std::string_view local;

  explicit attribute_name_t(std::string_view name) : local(name) {
    if (const std::size_t colon = name.find(':'); colon != std::string_view::npos) {
      prefix = name.substr(0, colon);
      local = name.substr(colon + 1);
    }
  }
};

xmlAttr* FindAttribute(const xmlNode* element, const attribute_name_t& name) {
  for (xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
    if (ViewOf(attribute->name) != name.local) continue;
    if ((attribute->ns == nullptr ? std::string_view() : ViewOf(attribute->ns->prefix)) == name.prefix)
      return attribute;
  }
  return nullptr;
}

constexpr std::string_view kDeclarationNamespace = "http://www.w3.org/2000/xmlns/";

// The namespace of a new child of `parent` (null for the top element): a declaration in force, or a new one on `node`.
void SetNamespace(CTree& tree, xmlNode* parent, xmlNode* node, const CUtf8& ns) {
  if (ns.GetSize() != 0) {
    xmlNs* const found = xmlSearchNsByHref(node->doc, parent == nullptr ? node : parent, ns.Xml());
    node->ns = found != nullptr ? found : tree.AddNs(node, nullptr, ns.View());
  } else if (parent != nullptr) {
    const xmlNs* const inForce = xmlSearchNs(node->doc, parent, nullptr);
    if (inForce != nullptr && !ViewOf(inForce->href).empty()) tree.AddNs(node, nullptr, {});
  }
}

CString UnitText(char16_t unit) {
  static constexpr char kHex[] = "0123456789ABCDEF";
  CString text = u"U+";
  for (int shift = 12; shift >= 0; shift -= 4) text += static_cast<char16_t>(kHex[unit >> shift & 15]);
  return text;
}

}  // namespace

struct CXmlDocument::state_t {
  explicit state_t(CXmlDocument& document) : owner(document) {}

  // Puts a loaded document in the present one's place.
  int Adopt(xml::tree_ptr_t tree, std::unique_ptr<i18n::ILocalizedMessage> error) {
    if (tree == nullptr) {
      owner.SetLastError(std::move(error));
      return 0;
    }
    if (current->GetHandles() != 0) earlier.push_back(std::move(current));
    current = std::move(tree);
    return 1;
  }

  void Release(xmlNode* node) {
    if (node == nullptr) return;
    CTree& tree = CTree::Of(node);
    if (!tree.RemoveHandle(node) || tree.GetHandles() != 0 || &tree == current.get()) return;
    std::erase_if(earlier, [&](const auto& kept) { return kept.get() == &tree; });
  }

  // For the steps from one element to another.
  void* Step(xmlNode* to, void* from, bool release) {
    void* const handle = Acquire(to);
    if (release) Release(NodeOf(from));
    return handle;
  }

  xmlNode* ParentOr(void* parent) const { return parent == nullptr ? Root() : NodeOf(parent); }

  bool Refuse(unsigned id, std::vector<CVariant> arguments) {
    owner.SetLastError(i18n::MakeLocalizedMessage(id, std::move(arguments)));
    return false;
  }

  bool IsText(std::u16string_view name, std::u16string_view text) {
    const std::size_t bad = xml::FindBadUnit(text);
    if (bad == text.size()) return true;
    return Refuse(i18n::IDS_DOCUMENT_CHARACTER, {CVariant(name), CVariant(UnitText(text[bad]))});
  }

  bool IsName(std::u16string_view name, std::string_view part) {
    if (xml::FindBadUnit(name) == name.size() && xmlValidateNCName(XmlOf(std::string(part).c_str()), 0) == 0) {
      return true;
    }
    return Refuse(i18n::IDS_DOCUMENT_NAME, {CVariant(name)});
  }

  xmlNode* Root() const { return current->GetRoot(); }

  CXmlDocument& owner;
  xml::tree_ptr_t current = std::make_unique<CTree>();
  std::vector<xml::tree_ptr_t> earlier;  // those that were replaced while handles were out
};

CXmlDocument::CXmlDocument() : state_(std::make_unique<state_t>(*this)) {}
CXmlDocument::~CXmlDocument() = default;

int CXmlDocument::IsValid() const { return state_->Root() != nullptr ? 1 : 0; }

int CXmlDocument::Load(const char16_t* path) {
  const CString source(path);
  try {
    CFile file(source, CFile::modeRead);
    std::unique_ptr<i18n::ILocalizedMessage> error;
    xml::tree_ptr_t tree = xml::ParseFile(file, source, error);
    return state_->Adopt(std::move(tree), std::move(error));
  } catch (const CFileException& error) {
    return state_->Refuse(i18n::IDS_DOCUMENT_FILE, {CVariant(error.what())});
  }
}

int CXmlDocument::Save(const char16_t* path) {
  const CString target(path);
  if (IsValid() == 0) return state_->Refuse(i18n::IDS_DOCUMENT_EMPTY, {CVariant(target)});
  try {
    zorplatform::CReplaceFile file(target);
    SaveTo(file.GetFile());
    file.Commit();
    return 1;
  } catch (const CFileException& error) {
    return state_->Refuse(i18n::IDS_DOCUMENT_FILE, {CVariant(error.what())});
  }
}

int CXmlDocument::GetNumElementsByName(void* parent, const char16_t* ns, const char16_t* name) {
  const CUtf8 space(ViewOf(ns)), local(ViewOf(name));
  const name_t wanted{space.View(), local.View()};
  int count = 0;
  xmlNode* node = NamedFrom(ChildrenOf(state_->ParentOr(parent)), wanted);
  for (; node != nullptr; node = NamedFrom(node->next, wanted)) ++count;
  return count;
}

void* CXmlDocument::GetElementByName(void* parent, const char16_t* ns, const char16_t* name, bool flag) {
  if (parent == nullptr) return Acquire(state_->Root());
  const CUtf8 space(ViewOf(ns)), local(ViewOf(name));
  return state_->Step(NamedFrom(ChildrenOf(NodeOf(parent)), {space.View(), local.View()}), parent, flag);
}

void* CXmlDocument::GetNextElementByName(void* element, bool flag) {
  const xmlNode* const node = NodeOf(element);
  if (node == nullptr) return nullptr;
  const name_t wanted{node->ns == nullptr ? std::string_view() : ViewOf(node->ns->href), ViewOf(node->name)};
  return state_->Step(NamedFrom(node->next, wanted), element, flag);
}

int CXmlDocument::GetName(void* element, CString& name) {
  if (element == nullptr) return 0;
  Take(ViewOf(NodeOf(element)->name), name);
  return 1;
}

int CXmlDocument::GetText(void* element, CString& text) {
  if (element == nullptr) return 0;
  GetElementText(NodeOf(element), text);
  return 1;
}

int CXmlDocument::SetText(void* element, const char16_t* text) {
  if (element == nullptr) return 0;
  if (!state_->IsText(CString(ViewOf(NodeOf(element)->name)), ViewOf(text))) return 0;
  ReplaceText(NodeOf(element), CUtf8(ViewOf(text)).View(), XML_TEXT_NODE);
  return 1;
}

void* CXmlDocument::FindFirstChild(void* element, bool flag) {
  return state_->Step(ElementFrom(ChildrenOf(state_->ParentOr(element))), element, flag);
}

void* CXmlDocument::FindNext(void* element, bool flag) {
  return element == nullptr ? nullptr : state_->Step(ElementFrom(NodeOf(element)->next), element, flag);
}

void CXmlDocument::ReleaseElement(void* element) { state_->Release(NodeOf(element)); }

bool CXmlDocument::WriteLiteralText(void* element, const char16_t* text) {
  if (element == nullptr) return false;
  if (!state_->IsText(CString(ViewOf(NodeOf(element)->name)), ViewOf(text))) return false;
  ReplaceText(NodeOf(element), CUtf8(ViewOf(text)).View(), XML_CDATA_SECTION_NODE);
  return true;
}

bool CXmlDocument::ReadLiteralText(void* element, CString& text) {
  if (element == nullptr) return false;
  GatherText(NodeOf(element)->children, text);
  return true;
}

void* CXmlDocument::WriteElementString(void* parent, const char16_t* ns, const char16_t* name, bool flag,
                                       const char16_t* value) {
  const CUtf8 local(ViewOf(name)), space(ViewOf(ns)), text(ViewOf(value));
  if (!state_->IsName(ViewOf(name), local.View()) || !state_->IsText(ViewOf(name), ViewOf(value))) return nullptr;
  if (xml::FindBadUnit(ViewOf(ns)) != ViewOf(ns).size() || space.View() == kDeclarationNamespace) {
    state_->Refuse(i18n::IDS_DOCUMENT_NAME, {CVariant(ns)});
    return nullptr;
  }
  xmlNode* const above = state_->ParentOr(parent);
  if (DepthOf(above) >= kMaxDepth) {
    state_->Refuse(i18n::IDS_DOCUMENT_DEPTH, {CVariant(name), CVariant::FromInt32(kMaxDepth)});
    return nullptr;
  }
  CTree& tree = above == nullptr ? *state_->current : CTree::Of(above);
  xmlNode* const node = tree.NewElement(tree.Intern(local.View()), 0);
  SetNamespace(tree, above, node, space);
  if (text.GetSize() != 0) tree.Append(node, tree.NewText(XML_TEXT_NODE, text.View()));
  tree.Append(above == nullptr ? reinterpret_cast<xmlNode*>(tree.GetDoc()) : above, node);
  return flag ? node : Acquire(node);
}

void* CXmlDocument::ReadElementString(void* parent, const char16_t* ns, const char16_t* name, bool flag,
                                      CString& value) {
  const CUtf8 space(ViewOf(ns)), local(ViewOf(name));
  xmlNode* const node = NamedFrom(ChildrenOf(state_->ParentOr(parent)), {space.View(), local.View()});
  if (node == nullptr) return nullptr;
  GetElementText(node, value);
  return flag ? node : Acquire(node);
}

int CXmlDocument::ReadAttributeString(void* element, const char16_t* name, CString& value) {
  if (element == nullptr) return 0;
  const CUtf8 text(ViewOf(name));
  const xmlAttr* const attribute = FindAttribute(NodeOf(element), attribute_name_t(text.View()));
  if (attribute == nullptr) return 0;
  GatherText(attribute->children, value);
  return 1;
}

int CXmlDocument::WriteAttributeString(void* element, const char16_t* name, const char16_t* value) {
  if (element == nullptr) return 0;
  const CUtf8 whole(ViewOf(name)), text(ViewOf(value));
  const attribute_name_t parts(whole.View());
  xmlNode* const node = NodeOf(element);
  xmlNs* ns = nullptr;
  if (whole.View() == "xmlns" || parts.prefix == "xmlns" || !state_->IsName(ViewOf(name), parts.local)) {
    return state_->Refuse(i18n::IDS_DOCUMENT_NAME, {CVariant(name)});
  }
  if (whole.View() != parts.local) {
    ns = xmlSearchNs(node->doc, node, XmlOf(std::string(parts.prefix).c_str()));
    if (ns == nullptr || parts.prefix.empty()) return state_->Refuse(i18n::IDS_DOCUMENT_NAME, {CVariant(name)});
  }
  if (!state_->IsText(ViewOf(name), ViewOf(value))) return 0;
  CTree& tree = CTree::Of(node);
  const std::string_view uri = ns == nullptr ? std::string_view() : ViewOf(ns->href);
  for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next) {
    if (ViewOf(attribute->name) != parts.local) continue;
    if ((attribute->ns == nullptr ? std::string_view() : ViewOf(attribute->ns->href)) != uri) continue;
    attribute->ns = ns;  // the same namespace under another prefix, perhaps
    tree.SetValue(attribute, text.View());
    return 1;
  }
  tree.AddAttribute(node, ns, tree.Intern(parts.local), text.View());
  return 1;
}

int CXmlDocument::SetXml(const char16_t* text) {
  std::unique_ptr<i18n::ILocalizedMessage> error;
  xml::tree_ptr_t tree = xml::ParseText(ViewOf(text), kTextSource, error);
  return state_->Adopt(std::move(tree), std::move(error));
}

std::uint32_t CXmlDocument::GetLine(void* element) const {
  return element == nullptr ? 0 : static_cast<std::uint32_t>(CTree::GetLine(NodeOf(element)));
}

CString CXmlDocument::GetXml() const {
  std::string text;
  if (IsValid() != 0) xml::Write(state_->current->GetDoc(), [&](std::string_view block) { text += block; });
  return CString(text);
}

int CXmlDocument::LoadFrom(CFile& file) {
  std::unique_ptr<i18n::ILocalizedMessage> error;
  const CString& path = file.GetFilePath();
  xml::tree_ptr_t tree = xml::ParseFile(file, path.IsEmpty() ? CString(kTextSource) : path, error);
  return state_->Adopt(std::move(tree), std::move(error));
}

int CXmlDocument::SaveTo(CFile& file) {
  if (IsValid() == 0) return state_->Refuse(i18n::IDS_DOCUMENT_EMPTY, {CVariant(file.GetFilePath())});
  xml::Write(state_->current->GetDoc(),
             [&](std::string_view block) { file.Write(block.data(), static_cast<unsigned>(block.size())); });
  return 1;
}

const void* CXmlDocument::GetTree() const { return state_->current->GetDoc(); }
