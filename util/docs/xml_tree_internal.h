// A libxml2 tree whose nodes lie in a few large blocks of memory and go with them. Making and freeing nodes one by one
// is most of what loading by the library's own tree builder costs.
//
// Nodes are made here only, and never given to a function of libxml2 that would free one.
#pragma once

#include <libxml/tree.h>

#include <libxml/dict.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>
#include <vector>

#include "platform/framework/large_block.h"

namespace xml {

inline std::string_view ViewOf(const xmlChar* text) noexcept {
  return text == nullptr ? std::string_view() : std::string_view(reinterpret_cast<const char*>(text));
}

class CTree {
 public:
  /// An empty document. `dict` holds the names; it is shared, and made when null.
  explicit CTree(xmlDict* dict = nullptr);
  CTree(const CTree&) = delete;
  CTree& operator=(const CTree&) = delete;
  ~CTree();

  static CTree& Of(const xmlNode* node) { return *static_cast<CTree*>(node->doc->_private); }
  xmlDoc* GetDoc() const { return doc_; }
  xmlNode* GetRoot() const { return xmlDocGetRootElement(doc_); }
  const xmlChar* Intern(std::string_view name);

  // Names are interned ones, and so are prefixes; other texts are copied.
  xmlNode* NewElement(const xmlChar* name, int line);
  /// A text, CDATA section or comment.
  xmlNode* NewText(xmlElementType type, std::string_view text);
  xmlNode* NewInstruction(std::string_view name, std::string_view text);
  xmlNs* AddNs(xmlNode* element, const xmlChar* prefix, std::string_view href);
  /// Behind `last`, when the caller knows that this is the last one.
  xmlAttr* AddAttribute(xmlNode* element, xmlNs* ns, const xmlChar* name, std::string_view value,
                        xmlAttr* last = nullptr);
  void SetValue(xmlAttr* attribute, std::string_view value);
  /// Behind the present children; the document is the parent of the top element.
  void Append(xmlNode* parent, xmlNode* node);
  void Prepend(xmlNode* parent, xmlNode* node);
  /// Takes a text out; its memory is used again.
  void Drop(xmlNode* text);

  // Each element counts the handles to it, and its tree all of them. Two members that libxml2 leaves to its users hold
  // numbers: `_private` the handles, `psvi` the line.
  void AddHandle(xmlNode* element) {
    ++handles_;
    element->_private = PointerOf(NumberOf(element->_private) + 1);
  }
  /// False for an element without handles.
  bool RemoveHandle(xmlNode* element) {
    if (element->_private == nullptr) return false;
    --handles_;
    element->_private = PointerOf(NumberOf(element->_private) - 1);
    return true;
  }
  std::size_t GetHandles() const { return handles_; }
  /// Where the element stood in what was loaded; 0 for one that was written.
  static int GetLine(const xmlNode* element) { return static_cast<int>(NumberOf(element->psvi)); }

 private:
  static std::uintptr_t NumberOf(const void* member) { return reinterpret_cast<std::uintptr_t>(member); }
  static void* PointerOf(std::uintptr_t number) { return reinterpret_cast<void*>(number); }

  struct large_block_deleter_t {
    void operator()(std::byte* block) const noexcept { large_block::Free(block); }
  };

  void* Allocate(std::size_t size, std::size_t alignment);
  std::byte* AddBlock(std::size_t size);
  std::byte* AddLargeBlock();
  template <class T>
  T* New(xmlElementType type);
  void SetContent(xmlNode* text, std::string_view content);
  xmlChar* Copy(std::string_view text);

  std::vector<std::unique_ptr<std::byte[]>> blocks_;
  std::vector<std::unique_ptr<std::byte, large_block_deleter_t>> largeBlocks_;
  std::byte* free_ = nullptr;  // the rest of the last block
  std::size_t freeSize_ = 0;
  xmlDict* dict_;
  xmlDoc* doc_;
  xmlNode* dropped_ = nullptr;  // texts to use again, linked by `next`
  std::size_t handles_ = 0;
};

}  // namespace xml
