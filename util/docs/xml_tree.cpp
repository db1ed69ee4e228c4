#include "util/docs/xml_tree_internal.h"

#include <libxml/parserInternals.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <new>

namespace xml {

// The lower half of an element's private pointer counts its handles, the upper half is its line.
static_assert(sizeof(void*) == 8);

// What fits into a node, its end included.
constexpr std::size_t kShortText = offsetof(xmlNode, psvi) - offsetof(xmlNode, properties);

// Small enough for the heap to keep it for the next document.
constexpr std::size_t kBlock = 32 * 1024;
// A tree of so many of them goes on in large blocks.
constexpr std::size_t kManyBlocks = 64;

CTree::CTree(xmlDict* dict)
    : dict_(dict != nullptr ? dict : xmlDictCreate()), doc_(xmlNewDoc(reinterpret_cast<const xmlChar*>("1.0"))) {
  if (dict != nullptr) xmlDictReference(dict);
  if (dict_ == nullptr || doc_ == nullptr) {
    xmlDictFree(dict_);
    xmlFreeDoc(doc_);
    throw std::bad_alloc();
  }
  doc_->_private = this;
}

CTree::~CTree() {
  doc_->children = doc_->last = nullptr;
  xmlFreeDoc(doc_);
  xmlDictFree(dict_);
}

const xmlChar* CTree::Intern(std::string_view name) {
  const xmlChar* const interned =
      xmlDictLookup(dict_, reinterpret_cast<const xmlChar*>(name.data()), static_cast<int>(name.size()));
  if (interned == nullptr) throw std::bad_alloc();
  return interned;
}

void* CTree::Allocate(std::size_t size, std::size_t alignment) {
  const std::size_t gap = (0 - reinterpret_cast<std::uintptr_t>(free_)) & (alignment - 1);
  if (size + gap <= freeSize_) {
    std::byte* const place = free_ + gap;
    free_ = place + size;
    freeSize_ -= size + gap;
    return place;
  }
  // What is large gets a block of its own, and the rest of the last one stays in use.
  if (size > kBlock / 4) return AddBlock(size);
  const bool isLarge = blocks_.size() >= kManyBlocks;
  std::byte* const block = isLarge ? AddLargeBlock() : AddBlock(kBlock);
  free_ = block + size;
  freeSize_ = (isLarge ? large_block::kSize : kBlock) - size;
  return block;
}

std::byte* CTree::AddBlock(std::size_t size) {
  blocks_.push_back(std::make_unique_for_overwrite<std::byte[]>(size));
  return blocks_.back().get();
}

std::byte* CTree::AddLargeBlock() {
  largeBlocks_.emplace_back();
  largeBlocks_.back().reset(static_cast<std::byte*>(large_block::Allocate()));
  if (largeBlocks_.back() == nullptr) throw std::bad_alloc();
  return largeBlocks_.back().get();
}

template <class T>
T* CTree::New(xmlElementType type) {
  T* const made = new (Allocate(sizeof(T), alignof(T))) T{};
  made->type = type;
  made->doc = doc_;
  return made;
}

xmlChar* CTree::Copy(std::string_view text) {
  auto* const copy = static_cast<char*>(Allocate(text.size() + 1, 1));
  if (!text.empty()) std::memcpy(copy, text.data(), text.size());
  copy[text.size()] = '\0';
  return reinterpret_cast<xmlChar*>(copy);
}

// A short text stands in the node itself, where an element has its attributes and namespaces, as libxml2 does it too.
// The capacity of a longer one stands in a member that libxml2 leaves to its users. It doubles, so that a text that is
// set again and again takes memory for its largest value, not for all of them.
void CTree::SetContent(xmlNode* text, std::string_view content) {
  if (text->content == nullptr) text->content = reinterpret_cast<xmlChar*>(text) + offsetof(xmlNode, properties);
  std::size_t capacity = std::max(kShortText, reinterpret_cast<std::size_t>(text->psvi));
  if (content.size() + 1 > capacity) {
    capacity = std::max(content.size() + 1, 2 * capacity);
    text->content = static_cast<xmlChar*>(Allocate(capacity, 1));
    text->psvi = reinterpret_cast<void*>(capacity);
  }
  if (!content.empty()) std::memcpy(text->content, content.data(), content.size());
  text->content[content.size()] = 0;
}

xmlNode* CTree::NewElement(const xmlChar* name, int line) {
  auto* const element = New<xmlNode>(XML_ELEMENT_NODE);
  element->name = name;
  element->_private = reinterpret_cast<void*>(static_cast<std::uintptr_t>(line) << 32);
  return element;
}

xmlNode* CTree::NewText(xmlElementType type, std::string_view text) {
  xmlNode* node = dropped_;
  if (node == nullptr) {
    node = New<xmlNode>(type);
  } else {
    dropped_ = node->next;
    node->next = node->prev = nullptr;
    node->type = type;
  }
  node->name = type == XML_TEXT_NODE ? xmlStringText : type == XML_COMMENT_NODE ? xmlStringComment : nullptr;
  SetContent(node, text);
  return node;
}

xmlNode* CTree::NewInstruction(std::string_view name, std::string_view text) {
  auto* const node = New<xmlNode>(XML_PI_NODE);
  node->name = Intern(name);
  node->content = text.empty() ? nullptr : Copy(text);
  return node;
}

xmlNs* CTree::AddNs(xmlNode* element, const xmlChar* prefix, std::string_view href) {
  auto* const ns = new (Allocate(sizeof(xmlNs), alignof(xmlNs))) xmlNs{};
  ns->type = XML_NAMESPACE_DECL;
  ns->prefix = prefix;
  ns->href = Copy(href);
  xmlNs** place = &element->nsDef;
  while (*place != nullptr) place = &(*place)->next;
  return *place = ns;
}

xmlAttr* CTree::AddAttribute(xmlNode* element, xmlNs* ns, const xmlChar* name, std::string_view value) {
  auto* const attribute = New<xmlAttr>(XML_ATTRIBUTE_NODE);
  attribute->name = name;
  attribute->ns = ns;
  attribute->parent = element;
  SetValue(attribute, value);
  xmlAttr** place = &element->properties;
  while (*place != nullptr) {
    attribute->prev = *place;
    place = &(*place)->next;
  }
  return *place = attribute;
}

void CTree::SetValue(xmlAttr* attribute, std::string_view value) {
  if (attribute->children != nullptr) return SetContent(attribute->children, value);
  attribute->children = attribute->last = NewText(XML_TEXT_NODE, value);
  attribute->children->parent = reinterpret_cast<xmlNode*>(attribute);
}

void CTree::Append(xmlNode* parent, xmlNode* node) {
  node->parent = parent;
  node->prev = parent->last;
  (node->prev == nullptr ? parent->children : node->prev->next) = node;
  parent->last = node;
}

void CTree::Prepend(xmlNode* parent, xmlNode* node) {
  node->parent = parent;
  node->next = parent->children;
  (node->next == nullptr ? parent->last : node->next->prev) = node;
  parent->children = node;
}

void CTree::Drop(xmlNode* text) {
  (text->prev == nullptr ? text->parent->children : text->prev->next) = text->next;
  (text->next == nullptr ? text->parent->last : text->next->prev) = text->prev;
  text->parent = text->prev = nullptr;
  text->next = dropped_;
  dropped_ = text;
}

}  // namespace xml
