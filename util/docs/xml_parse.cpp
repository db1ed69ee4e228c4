#include "util/docs/xml_parse_internal.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "platform/framework/read_to_end_internal.h"
#include "platform/text/surrogates_internal.h"
#include "platform/text/utf.h"
#include "util/docs/xml_document.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/values/variant.h"

namespace xml {

namespace {

std::string_view View(const char* text) noexcept { return text == nullptr ? std::string_view() : text; }

struct position_t {
  int line = 1;
  int column = 1;
};

template <class Text>
position_t PositionOf(Text text, std::size_t at) {
  const Text before = text.substr(0, at);
  const std::size_t newline = before.rfind('\n');
  position_t position;
  position.line += static_cast<int>(std::count(before.begin(), before.end(), '\n'));
  position.column += static_cast<int>(newline == Text::npos ? before.size() : before.size() - newline - 1);
  return position;
}

struct fault_t {
  unsigned id = 0;
  position_t at;
  std::vector<CVariant> details;
};

// --- the bytes, before they are parsed ---------------------------------------------------------------------------

// libxml2 compares each attribute of an element with each other, so their number is limited before it sees them.
// Where a start tag with too many begins, or npos. An encoding that extends ASCII is all that this needs.
std::size_t FindOvercrowdedTag(std::string_view bytes) {
  constexpr std::size_t kShortestAttribute = 5;  // ' a=""'
  constexpr std::size_t kCrowd = CXmlDocument::kMaxAttributes * kShortestAttribute;
  const auto skipPast = [&](std::size_t from, std::string_view end) {
    const std::size_t at = bytes.find(end, from);
    return at == std::string_view::npos ? bytes.size() : at + end.size();
  };
  std::size_t at = bytes.find('<');
  while (at < bytes.size()) {
    const std::string_view rest = bytes.substr(at);
    if (rest.starts_with("<!--")) {
      at = bytes.find('<', skipPast(at + 4, "-->"));
    } else if (rest.starts_with("<![CDATA[")) {
      at = bytes.find('<', skipPast(at + 9, "]]>"));
    } else if (rest.starts_with("<?")) {
      at = bytes.find('<', skipPast(at + 2, "?>"));
    } else {
      const std::size_t next = std::min(bytes.find('<', at + 1), bytes.size());
      if (next - at > kCrowd) {
        int attributes = 0;
        char quote = 0;
        for (std::size_t i = at + 1; i < next && (quote != 0 || bytes[i] != '>'); ++i) {
          const char byte = bytes[i];
          if (quote != 0) {
            if (byte == quote) quote = 0;
          } else if (byte == '"' || byte == '\'') {
            quote = byte;
            if (++attributes > CXmlDocument::kMaxAttributes) return at;
          }
        }
      }
      at = next;
    }
  }
  return std::string_view::npos;
}

// UTF-16 with or without a mark, by its first bytes; the text in the machine's order. Null for bytes of another kind.
std::optional<std::u16string> AsUtf16(std::string_view bytes) {
  const bool big = bytes.starts_with("\xFE\xFF") || bytes.starts_with(std::string_view("\0<\0", 3));
  if (!big && !bytes.starts_with("\xFF\xFE") && !bytes.starts_with(std::string_view("<\0", 2))) return std::nullopt;
  if (bytes.substr(2).starts_with(std::string_view("\0\0", 2))) return std::nullopt;  // 32 bits a character
  std::u16string text((bytes.size() + 1) / 2, u'\xD800');                             // half a unit is no character
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    const auto first = static_cast<unsigned char>(bytes[i]);
    const auto second = static_cast<unsigned char>(bytes[i + 1]);
    text[i / 2] = static_cast<char16_t>(big ? first << 8 | second : second << 8 | first);
  }
  return text;
}

// UTF-32 in whatever byte order, and EBCDIC: the parser knows them by these bytes, whatever they go on to declare.
bool IsForeignToAscii(std::string_view bytes) {
  static constexpr std::string_view kBeginnings[] = {
      {"\0\0\0<", 4}, {"<\0\0\0", 4}, {"\0\0<\0", 4}, {"\0<\0\0", 4}, {"\x4C\x6F\xA7\x94", 4}};
  return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                     [&](std::string_view beginning) { return bytes.starts_with(beginning); });
}

// The encodings in which the bytes below 0x80 mean ASCII wherever they stand for themselves.
bool ExtendsAscii(std::string_view name) {
  static constexpr std::string_view kBeginnings[] = {
      "UTF-8",     "UTF8",    "US-ASCII", "ASCII",     "ISO-8859-", "ISO_8859-", "ISO8859-", "LATIN",   "WINDOWS-",
      "CP125",     "CP43",    "CP85",     "CP86",      "CP1125",    "IBM43",     "IBM85",    "IBM86",   "KOI8-",
      "MACINTOSH", "TIS-620", "EUC-",     "SHIFT_JIS", "SJIS",      "GB2312",    "GBK",      "GB18030", "BIG5"};
  std::string upper(name);
  for (char& c : upper) c = c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
  return std::any_of(std::begin(kBeginnings), std::end(kBeginnings),
                     [&](std::string_view beginning) { return upper.starts_with(beginning); });
}

// --- the parser --------------------------------------------------------------------------------------------------

class CParser {
 public:
  tree_ptr_t Parse(std::string_view bytes, bool isUtf8) {
    if (bytes.empty() || bytes.size() > CXmlDocument::kMaxBytes) {
      fault_ = bytes.empty() ? fault_t{i18n::IDS_XML_EMPTY, {}, {}}
                             : fault_t{i18n::IDS_XML_TOO_LARGE, {}, {CVariant::FromInt64(CXmlDocument::kMaxBytes)}};
      return nullptr;
    }
    if (const std::size_t at = FindOvercrowdedTag(bytes); at != std::string_view::npos) {
      fault_ = {i18n::IDS_XML_TOO_MANY_ATTRIBUTES,
                PositionOf(bytes, at),
                {CVariant::FromInt32(CXmlDocument::kMaxAttributes)}};
      return nullptr;
    }
    const CErrorScope scope([this](const xmlError& error) { Take(error); });
    context_.reset(xmlNewParserCtxt());
    if (context_ == nullptr) throw std::bad_alloc();
    context_->_private = this;
    context_->sax->startDocument = &CParser::OnStart;
    context_->sax->internalSubset = &CParser::OnTypeDefinition;
    context_->sax->startElementNs = &CParser::OnElement;
    context_->sax->endElementNs = &CParser::OnElementEnd;
    context_->sax->characters = context_->sax->ignorableWhitespace = &CParser::OnText;
    context_->sax->cdataBlock = &CParser::OnCData;
    context_->sax->comment = &CParser::OnComment;
    context_->sax->processingInstruction = &CParser::OnInstruction;
    tree_ = std::make_unique<CTree>(context_->dict);
    current_ = reinterpret_cast<xmlNode*>(tree_->GetDoc());
    // Large texts are allowed; depth, attributes, bytes and definitions are limited here. NOENT: with no definitions
    // there is nothing to put in an entity's place but a character.
    const int options =
        XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOENT | XML_PARSE_BIG_LINES | (isUtf8 ? XML_PARSE_IGNORE_ENC : 0);
    // Of the library's own tree nothing is made but an empty document.
    xmlDoc* const doc = xmlCtxtReadMemory(context_.get(), bytes.data(), static_cast<int>(bytes.size()), nullptr,
                                          isUtf8 ? "UTF-8" : nullptr, options);
    xmlFreeDoc(doc);
    if (noMemory_ || scope.IsOutOfMemory()) throw std::bad_alloc();
    if (fault_.id == 0 && (doc == nullptr || tree_->GetRoot() == nullptr)) Stop(i18n::IDS_XML_EMPTY);
    if (fault_.id != 0) return nullptr;
    return std::move(tree_);
  }

  fault_t& GetFault() { return fault_; }

 private:
  static constexpr std::size_t kKeptText = 1 << 20;

  struct context_deleter_t {
    void operator()(xmlParserCtxt* context) const { xmlFreeParserCtxt(context); }
  };

  static CParser& Of(void* context) { return *static_cast<CParser*>(static_cast<xmlParserCtxt*>(context)->_private); }

  static void OnStart(void* context) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    const xmlChar* const name = parser->encoding != nullptr ? parser->encoding : parser->input->encoding;
    if (name != nullptr && (parser->options & XML_PARSE_IGNORE_ENC) == 0 &&
        !ExtendsAscii(reinterpret_cast<const char*>(name))) {
      Of(context).Stop(i18n::IDS_XML_ENCODING);
      return;
    }
    xmlSAX2StartDocument(context);
  }

  static void OnTypeDefinition(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    Of(context).Stop(i18n::IDS_XML_TYPE_DEFINITION);
  }

  static void OnElement(void* context, const xmlChar* name, const xmlChar* prefix, const xmlChar* uri, int namespaces,
                        const xmlChar** namespaceTexts, int attributes, int, const xmlChar** attributeTexts) {
    auto* const parser = static_cast<xmlParserCtxt*>(context);
    if (parser->nameNr >= CXmlDocument::kMaxDepth) {
      Of(context).Stop(i18n::IDS_XML_TOO_DEEP, CXmlDocument::kMaxDepth);
    } else if (parser->nsNr > 2 * CXmlDocument::kMaxAttributes) {
      Of(context).Stop(i18n::IDS_XML_TOO_MANY_ATTRIBUTES, CXmlDocument::kMaxAttributes);
    } else {
      Of(context).Guard([&](CParser& self) {
        self.StartElement(name, prefix, uri, {namespaceTexts, static_cast<std::size_t>(2 * namespaces)},
                          {attributeTexts, static_cast<std::size_t>(5 * attributes)});
      });
    }
  }

  static void OnElementEnd(void* context, const xmlChar*, const xmlChar*, const xmlChar*) {
    Of(context).Guard([](CParser& self) {
      self.FlushText();
      self.current_ = self.current_->parent;
    });
  }

  // A text comes in pieces; it becomes a node when it is complete.
  static void OnText(void* context, const xmlChar* text, int size) {
    Of(context).Guard([&](CParser& self) { self.text_.append(reinterpret_cast<const char*>(text), Size(size)); });
  }

  static void OnCData(void* context, const xmlChar* text, int size) {
    Of(context).Append([&](CTree& tree) {
      return tree.NewText(XML_CDATA_SECTION_NODE, {reinterpret_cast<const char*>(text), Size(size)});
    });
  }

  static void OnComment(void* context, const xmlChar* text) {
    Of(context).Append([&](CTree& tree) { return tree.NewText(XML_COMMENT_NODE, ViewOf(text)); });
  }

  static void OnInstruction(void* context, const xmlChar* name, const xmlChar* text) {
    Of(context).Append([&](CTree& tree) { return tree.NewInstruction(ViewOf(name), ViewOf(text)); });
  }

  static std::size_t Size(int size) { return static_cast<std::size_t>(size); }

  template <class Make>
  void Append(Make make) noexcept {
    Guard([&](CParser& self) {
      self.FlushText();
      self.tree_->Append(self.current_, make(*self.tree_));
    });
  }

  void FlushText() {
    if (text_.empty()) return;
    tree_->Append(current_, tree_->NewText(XML_TEXT_NODE, text_));
    text_.clear();
    if (text_.capacity() > kKeptText) text_.shrink_to_fit();
  }

  // The parser's names and prefixes are interned ones: the same text is the same pointer.
  void StartElement(const xmlChar* name, const xmlChar* prefix, const xmlChar* uri,
                    std::span<const xmlChar*> namespaces, std::span<const xmlChar*> attributes) {
    FlushText();
    xmlNode* const element = tree_->NewElement(name, context_->input->line);
    for (std::size_t i = 0; i < namespaces.size(); i += 2) {
      tree_->AddNs(element, namespaces[i], ViewOf(namespaces[i + 1]));
    }
    tree_->Append(current_, element);
    if (uri != nullptr) element->ns = FindNs(element, prefix);
    xmlAttr* last = nullptr;
    for (std::size_t i = 0; i < attributes.size(); i += 5) {
      xmlNs* const ns = attributes[i + 1] == nullptr ? nullptr : FindNs(element, attributes[i + 1]);
      const auto* const value = reinterpret_cast<const char*>(attributes[i + 3]);
      const auto* const end = reinterpret_cast<const char*>(attributes[i + 4]);
      last = tree_->AddAttribute(element, ns, attributes[i], {value, static_cast<std::size_t>(end - value)}, last);
    }
    current_ = element;
  }

  xmlNs* FindNs(xmlNode* element, const xmlChar* prefix) {
    for (const xmlNode* node = element; node->type == XML_ELEMENT_NODE; node = node->parent) {
      for (xmlNs* ns = node->nsDef; ns != nullptr; ns = ns->next) {
        if (ns->prefix == prefix) return ns;
      }
      // What an ancestor uses under this prefix is in force here too.
      if (node != element && node->ns != nullptr && node->ns->prefix == prefix) return node->ns;
    }
    return xmlSearchNs(element->doc, element, prefix);  // "xml"
  }

  // No exception passes through the parser. After a step that found no memory none is taken: the tree does not stand
  // where the parser takes it to be.
  template <class Step>
  void Guard(Step step) noexcept {
    if (noMemory_) return;
    try {
      step(*this);
    } catch (const std::bad_alloc&) {
      noMemory_ = true;
      xmlStopParser(context_.get());
    }
  }

  void Stop(unsigned id, std::int32_t limit = 0) {
    Guard([&](CParser&) {
      if (fault_.id != 0) return;
      if (limit != 0) fault_.details = {CVariant::FromInt32(limit)};
      fault_.id = id;
      fault_.at = Here();
    });
    xmlStopParser(context_.get());
  }

  position_t Here() const {
    const xmlParserInput* const input = context_->input;
    return input == nullptr ? position_t{} : position_t{input->line, input->col};
  }

  // Of several errors the first tells the cause.
  void Take(const xmlError& error) {
    noMemory_ = noMemory_ || error.code == XML_ERR_NO_MEMORY;
    if (noMemory_) return;  // there may be no context yet
    if (fault_.id != 0 || error.level < XML_ERR_ERROR || error.code == XML_WAR_NS_URI) return;
    fault_.at = error.line > 0 ? position_t{error.line, std::max(error.int2, 1)} : Here();
    std::vector<CVariant>& details = fault_.details;
    switch (error.code) {
      case XML_ERR_TAG_NAME_MISMATCH:
        fault_.id = i18n::IDS_XML_MISMATCHED_TAG;
        details = {View(error.str1), CVariant::FromInt32(error.int1), View(error.str2)};
        break;
      case XML_ERR_TAG_NOT_FINISHED:
      case XML_ERR_GT_REQUIRED:
      case XML_ERR_LTSLASH_REQUIRED:
      case XML_ERR_ATTRIBUTE_NOT_FINISHED:
      case XML_ERR_CDATA_NOT_FINISHED:
      case XML_ERR_COMMENT_NOT_FINISHED:
      case XML_ERR_PI_NOT_FINISHED:
        if (!IsAtEnd()) return TakeText(error);
        fault_.id = i18n::IDS_XML_PREMATURE_END;
        break;
      case XML_ERR_DOCUMENT_EMPTY: fault_.id = IsAtEnd() ? i18n::IDS_XML_EMPTY : i18n::IDS_XML_FAULT; break;
      case XML_ERR_UNDECLARED_ENTITY:
      case XML_WAR_UNDECLARED_ENTITY:
        fault_.id = i18n::IDS_XML_UNKNOWN_ENTITY;
        details = {View(error.str1)};
        break;
      case XML_ERR_ATTRIBUTE_REDEFINED:
      case XML_NS_ERR_ATTRIBUTE_REDEFINED:
        fault_.id = i18n::IDS_XML_DUPLICATE_ATTRIBUTE;
        details = {View(error.str1)};
        break;
      case XML_ERR_INVALID_CHAR: fault_.id = IsMalformed() ? i18n::IDS_XML_ENCODING : i18n::IDS_XML_CHARACTER; break;
      case XML_ERR_INVALID_CHARREF: fault_.id = i18n::IDS_XML_CHARACTER; break;
      case XML_ERR_INVALID_ENCODING:
      case XML_ERR_UNKNOWN_ENCODING:
      case XML_ERR_UNSUPPORTED_ENCODING:
      case XML_I18N_CONV_FAILED:
      case XML_IO_ENCODER: fault_.id = i18n::IDS_XML_ENCODING; break;
      case XML_NS_ERR_UNDEFINED_NAMESPACE:
        fault_.id = i18n::IDS_XML_UNKNOWN_PREFIX;
        details = {View(error.str1)};
        break;
      default: return TakeText(error);
    }
    if (fault_.id == i18n::IDS_XML_FAULT) TakeText(error);
  }

  void TakeText(const xmlError& error) {
    fault_.id = i18n::IDS_XML_FAULT;
    std::string_view text = View(error.message);
    while (!text.empty() && text.back() == '\n') text.remove_suffix(1);
    fault_.details = {text};
  }

  bool IsAtEnd() const {
    const xmlParserInput* const input = context_->input;
    return input == nullptr || input->cur >= input->end || *input->cur == 0;
  }

  // The bytes at hand are not UTF-8, which is what the parser makes of every encoding.
  bool IsMalformed() const {
    const xmlParserInput* const input = context_->input;
    int size = input == nullptr ? 0 : static_cast<int>(std::min<std::ptrdiff_t>(input->end - input->cur, 4));
    return size > 0 && xmlGetUTF8Char(input->cur, &size) < 0;
  }

  std::unique_ptr<xmlParserCtxt, context_deleter_t> context_;
  tree_ptr_t tree_;
  xmlNode* current_ = nullptr;  // the element that is open; the document outside of the top element
  std::string text_;            // that belongs to it and has not ended yet
  fault_t fault_;
  bool noMemory_ = false;
};

std::unique_ptr<i18n::ILocalizedMessage> MessageOf(fault_t& fault, const CString& source) {
  std::vector<CVariant> arguments{CVariant(source)};
  if (fault.id <= i18n::IDS_XML_UNKNOWN_PREFIX) {
    arguments.push_back(CVariant::FromInt32(fault.at.line));
    arguments.push_back(CVariant::FromInt32(fault.at.column));
  }
  for (CVariant& detail : fault.details) arguments.push_back(std::move(detail));
  return i18n::MakeLocalizedMessage(fault.id, std::move(arguments));
}

tree_ptr_t Parse(std::string_view bytes, bool isUtf8, const CString& source,
                 std::unique_ptr<i18n::ILocalizedMessage>& error) {
  CParser parser;
  tree_ptr_t tree = parser.Parse(bytes, isUtf8);
  if (tree == nullptr) error = MessageOf(parser.GetFault(), source);
  return tree;
}

}  // namespace

CErrorScope::CErrorScope(report_t report)
    : report_(std::move(report)), earlier_(xmlStructuredError), earlierContext_(xmlStructuredErrorContext) {
  xmlSetStructuredErrorFunc(this, [](void* context, auto* error) {
    auto& scope = *static_cast<CErrorScope*>(context);
    try {
      if (error != nullptr) scope.report_(*error);
    } catch (const std::bad_alloc&) {
      scope.outOfMemory_ = true;
    }
  });
}

CErrorScope::~CErrorScope() { xmlSetStructuredErrorFunc(earlierContext_, earlier_); }

std::size_t FindBadUnit(std::u16string_view text) noexcept {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char16_t unit = text[i];
    if (unit >= u' ' && unit < 0xD800) continue;
    if (unit < u' ') {
      if (unit != u'\t' && unit != u'\n' && unit != u'\r') return i;
    } else if (unit < 0xE000) {
      if (!utf::IsPairAt(text, i)) return i;
      ++i;
    } else if (unit >= 0xFFFE) {
      return i;
    }
  }
  return text.size();
}

tree_ptr_t ParseText(std::u16string_view text, const CString& source, std::unique_ptr<i18n::ILocalizedMessage>& error) {
  if (text.starts_with(u'\xFEFF')) text.remove_prefix(1);
  if (const std::size_t at = FindBadUnit(text); at != text.size()) {
    fault_t fault{i18n::IDS_XML_CHARACTER, PositionOf(text, at), {}};
    error = MessageOf(fault, source);
    return nullptr;
  }
  return Parse(utf::ToUtf8(text), true, source, error);
}

// What the file says of its length is only a hint.
std::string ReadAll(CFile& file) { return ReadToEnd(file, std::size_t{CXmlDocument::kMaxBytes} + 1); }

tree_ptr_t ParseBytes(std::string_view bytes, const CString& source, std::unique_ptr<i18n::ILocalizedMessage>& error) {
  if (const auto wide = AsUtf16(bytes); wide.has_value()) return ParseText(*wide, source, error);
  if (IsForeignToAscii(bytes)) {
    fault_t fault{i18n::IDS_XML_ENCODING, {}, {}};
    error = MessageOf(fault, source);
    return nullptr;
  }
  return Parse(bytes, false, source, error);
}

tree_ptr_t ParseFile(CFile& file, const CString& source, std::unique_ptr<i18n::ILocalizedMessage>& error) {
  return ParseBytes(ReadAll(file), source, error);
}

}  // namespace xml
