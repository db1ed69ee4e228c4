#include "util/docs/xml_write_internal.h"

#include <algorithm>
#include <array>
#include <string>

#include "util/docs/xml_tree_internal.h"

namespace xml {

namespace {

constexpr std::size_t kBlock = 256 * 1024;

bool IsBlank(const xmlChar* text) noexcept {
  if (text == nullptr) return true;
  while (*text == ' ' || *text == '\n' || *text == '\t' || *text == '\r') ++text;
  return *text == 0;
}

// What stands in a text, and in the value of an attribute, for a character; null for the character itself. Tabs and
// line feeds in values, and carriage returns, would be read back as something else.
struct escapes_t {
  std::array<std::string_view, 256> of{};
};

constexpr escapes_t MakeEscapes(bool inAttribute) {
  escapes_t escapes;
  escapes.of['&'] = "&amp;";
  escapes.of['<'] = "&lt;";
  escapes.of['>'] = "&gt;";
  escapes.of['\r'] = "&#13;";
  if (inAttribute) {
    escapes.of['"'] = "&quot;";
    escapes.of['\t'] = "&#9;";
    escapes.of['\n'] = "&#10;";
  }
  return escapes;
}
constexpr escapes_t kText = MakeEscapes(false);
constexpr escapes_t kAttribute = MakeEscapes(true);

// White space is the only text, beside something else.
bool HasLayout(const xmlNode* element) noexcept {
  bool hasStructure = false;
  for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
    if (child->type == XML_CDATA_SECTION_NODE) return false;
    if (child->type != XML_TEXT_NODE) {
      hasStructure = true;
    } else if (!IsBlank(child->content)) {
      return false;
    }
  }
  return hasStructure;
}

bool KeepsSpace(const xmlNode* element) noexcept {
  for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
    if (attribute->ns == nullptr || ViewOf(attribute->name) != "space" || ViewOf(attribute->ns->prefix) != "xml")
      continue;
    return attribute->children != nullptr && ViewOf(attribute->children->content) == "preserve";
  }
  return false;
}

class CWriter {
 public:
  explicit CWriter(const std::function<void(std::string_view)>& write) : write_(write) {
    block_.reserve(kBlock + 4096);
  }

  void WriteDocument(const xmlDoc* doc) {
    Put("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n");
    for (const xmlNode* node = doc->children; node != nullptr; node = node->next) {
      WriteNode(node, 0, true);
      Put("\n");
    }
    Flush();
  }

 private:
  // Recursion ends at the depth that documents may have.
  void WriteNode(const xmlNode* node, std::size_t level, bool layOut) {
    switch (node->type) {
      case XML_ELEMENT_NODE: WriteElement(node, level, layOut); break;
      case XML_TEXT_NODE: Put(node->content, kText); break;
      case XML_CDATA_SECTION_NODE: WriteCData(ViewOf(node->content)); break;
      case XML_COMMENT_NODE:
        Put("<!--");
        Put(ViewOf(node->content));
        Put("-->");
        break;
      case XML_PI_NODE:
        Put("<?");
        Put(ViewOf(node->name));
        if (node->content != nullptr) {
          Put(" ");
          Put(ViewOf(node->content));
        }
        Put("?>");
        break;
      default: break;
    }
  }

  void WriteElement(const xmlNode* element, std::size_t level, bool layOut) {
    Put("<");
    PutName(element->ns, element->name);
    for (const xmlNs* ns = element->nsDef; ns != nullptr; ns = ns->next) {
      Put(ns->prefix == nullptr ? " xmlns" : " xmlns:");
      Put(ViewOf(ns->prefix));
      Put("=\"");
      Put(ns->href, kAttribute);
      Put("\"");
    }
    for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
      Put(" ");
      PutName(attribute->ns, attribute->name);
      Put("=\"");
      for (const xmlNode* part = attribute->children; part != nullptr; part = part->next)
        Put(part->content, kAttribute);
      Put("\"");
    }
    if (element->children == nullptr) {
      Put("/>");
      return;
    }
    Put(">");
    layOut = layOut && HasLayout(element) && !KeepsSpace(element);
    for (const xmlNode* child = element->children; child != nullptr; child = child->next) {
      if (layOut) {
        if (child->type == XML_TEXT_NODE) continue;
        NewLine(level + 1);
      }
      WriteNode(child, level + 1, layOut);
    }
    if (layOut) NewLine(level);
    Put("</");
    PutName(element->ns, element->name);
    Put(">");
  }

  // "]]>" would end the section, and a carriage return in one would be read as a line feed.
  void WriteCData(std::string_view text) {
    while (!text.empty()) {
      if (text.front() == '\r') {
        Put("&#13;");
        text.remove_prefix(1);
        continue;
      }
      std::size_t size = std::min(text.find('\r'), text.size());
      if (const std::size_t end = text.find("]]>"); end < size) size = end + 2;
      Put("<![CDATA[");
      Put(text.substr(0, size));
      Put("]]>");
      text.remove_prefix(size);
    }
  }

  void PutName(const xmlNs* ns, const xmlChar* name) {
    if (ns != nullptr && ns->prefix != nullptr) {
      Put(ViewOf(ns->prefix));
      Put(":");
    }
    Put(ViewOf(name));
  }

  void NewLine(std::size_t level) {
    static constexpr std::string_view kSpaces = "\n                                ";
    const std::size_t first = std::min(2 * level + 1, kSpaces.size());
    Put(kSpaces.substr(0, first));
    for (std::size_t left = 2 * level + 1 - first; left != 0; --left) Put(" ");
  }

  void Put(const xmlChar* text, const escapes_t& escapes) {
    if (text == nullptr) return;
    const xmlChar* start = text;
    for (;; ++text) {
      const bool end = *text == 0;
      const std::string_view escape = escapes.of[*text];
      if (!end && escape.empty()) continue;
      Put({reinterpret_cast<const char*>(start), static_cast<std::size_t>(text - start)});
      if (end) return;
      Put(escape);
      start = text + 1;
    }
  }

  void Put(std::string_view text) {
    block_.append(text);
    if (block_.size() >= kBlock) Flush();
  }

  void Flush() {
    write_(block_);
    block_.clear();
  }

  const std::function<void(std::string_view)>& write_;
  std::string block_;
};

}  // namespace

bool IsLaidOut(const xmlNode* element) noexcept {
  if (!HasLayout(element)) return false;
  for (const xmlNode* node = element; node != nullptr && node->type == XML_ELEMENT_NODE; node = node->parent) {
    if (KeepsSpace(node)) return false;
  }
  return true;
}

void Write(const xmlDoc* doc, const std::function<void(std::string_view)>& write) { CWriter(write).WriteDocument(doc); }

}  // namespace xml
