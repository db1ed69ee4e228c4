#include "util/json/text_writer_internal.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstring>
#include <string>

#include "platform/ole/string.h"
#include "platform/text/surrogates_internal.h"
#include "platform/zorplatform/exception.h"
#include "platform/zorplatform/growable_buffer.h"
#include "util/json/json_serializer.h"
#include "util/json/json_text.h"
#include "util/json/object.h"
#include "util/serialization/string_serialization.h"
#include "util/values/safe_array.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zorutil::json {

struct serializer_access_t {
  static zorplatform::CGrowableBuffer& Buffer(json_serializer_t& out) {
    out.isWide_ = false;
    return out.buffer_;
  }
  static int Indent(const json_serializer_t& out) { return out.options_.indent; }
};

namespace {

constexpr int kMaxIndent = 16;
// Anything but a text: a number, a word, brackets, a line break with its blanks.
constexpr std::size_t kMaxPiece = 512;

// --- strings -----------------------------------------------------------------------------------------------------

// Six bytes at most for a unit: "\u001f".
constexpr std::size_t kMaxBytesPerUnit = 6;
constexpr std::ptrdiff_t kPart = 16 * 1024;

constexpr char kHexDigits[] = "0123456789abcdef";

char* WriteEscape(char16_t unit, char* out) {
  *out++ = '\\';
  switch (unit) {
    case u'"':
    case u'\\': *out++ = static_cast<char>(unit); return out;
    case u'\b': *out++ = 'b'; return out;
    case u'\f': *out++ = 'f'; return out;
    case u'\n': *out++ = 'n'; return out;
    case u'\r': *out++ = 'r'; return out;
    case u'\t': *out++ = 't'; return out;
    default: break;
  }
  *out++ = 'u';
  for (int shift = 12; shift >= 0; shift -= 4) *out++ = kHexDigits[(unit >> shift) & 0xF];
  return out;
}

// One character, which may be two units; moves `at` behind it.
char* WriteCharacter(const char16_t*& at, const char16_t* end, char* out) {
  const char16_t unit = *at++;
  if (unit < 0x20 || unit == u'"' || unit == u'\\') return WriteEscape(unit, out);
  if (unit < 0x80) {
    *out++ = static_cast<char>(unit);
    return out;
  }
  if (unit < 0x800) {
    *out++ = static_cast<char>(0xC0 | unit >> 6);
    *out++ = static_cast<char>(0x80 | (unit & 0x3F));
    return out;
  }
  if (utf::IsHighSurrogate(unit) && at != end && utf::IsLowSurrogate(*at)) {
    const auto point = 0x10000U + (unit - 0xD800U) * 0x400U + (*at++ - 0xDC00U);
    *out++ = static_cast<char>(0xF0 | point >> 18);
    *out++ = static_cast<char>(0x80 | (point >> 12 & 0x3F));
    *out++ = static_cast<char>(0x80 | (point >> 6 & 0x3F));
    *out++ = static_cast<char>(0x80 | (point & 0x3F));
    return out;
  }
  if (utf::IsSurrogate(unit)) return WriteEscape(unit, out);  // a half by itself has no UTF-8
  *out++ = static_cast<char>(0xE0 | unit >> 12);
  *out++ = static_cast<char>(0x80 | (unit >> 6 & 0x3F));
  *out++ = static_cast<char>(0x80 | (unit & 0x3F));
  return out;
}

// The units between the quotes. `out` has room for kMaxBytesPerUnit each, and 16 bytes more.
char* WriteUnits(const char16_t* at, const char16_t* end, char* out) {
#if defined(__SSE2__)
  // Sixteen units a step as long as they are plain ASCII. One that is not makes its saturated byte 0 or 0xFF or
  // negative.
  while (end - at >= 8) {
    const __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    const bool two = end - at >= 16;
    const __m128i high = two ? _mm_loadu_si128(reinterpret_cast<const __m128i*>(at + 8)) : _mm_set1_epi16('a');
    // Units of 0x8000 and more are negative and become 0; those of 0x100 and more 0xFF.
    const __m128i bytes = _mm_packus_epi16(low, high);
    const __m128i below = _mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20));  // controls and bytes of 0x80 and more
    const __m128i quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const __m128i backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    const int special = _mm_movemask_epi8(_mm_or_si128(below, _mm_or_si128(quotes, backslashes)));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
    const int taken = two ? 16 : 8;
    if (special == 0) {
      at += taken;
      out += taken;
      continue;
    }
    const int plain = __builtin_ctz(static_cast<unsigned>(special));
    at += plain;
    out += plain;
    out = WriteCharacter(at, end, out);
  }
#endif
  while (at != end) {
    if (*at >= 0x20 && *at < 0x80 && *at != u'"' && *at != u'\\') {
      *out++ = static_cast<char>(*at++);
    } else {
      out = WriteCharacter(at, end, out);
    }
  }
  return out;
}

// --- numbers -----------------------------------------------------------------------------------------------------

template <class Real>
char* WriteReal(Real value, char* out) {
  char* const begin = out;
  const Real magnitude = std::abs(value);
  const bool isPlain = magnitude == 0 || (magnitude >= static_cast<Real>(1e-5) && magnitude < static_cast<Real>(1e16));
  const auto format = isPlain ? std::chars_format::fixed : std::chars_format::scientific;
  out = std::to_chars(out, out + kMaxPiece, value, format).ptr;
  if (!isPlain || std::memchr(begin, '.', static_cast<std::size_t>(out - begin)) != nullptr) return out;
  *out++ = '.';
  *out++ = '0';
  return out;
}

template <class Integer>
char* WriteInteger(Integer value, char* out) {
  return std::to_chars(out, out + kMaxPiece, value).ptr;
}

char* WriteWord(std::string_view word, char* out) {
  std::memcpy(out, word.data(), word.size());
  return out + word.size();
}

// --- the writer --------------------------------------------------------------------------------------------------

// Appends to a buffer. A node nested too deep takes back what the writer has appended.
class writer_t {
 public:
  writer_t(zorplatform::CGrowableBuffer& buffer, std::string_view indent, int depth)
      : buffer_(buffer), indent_(indent), depth_(std::max(depth, 0)), start_(buffer.GetSize()) {
    out_ = reinterpret_cast<char*>(buffer_.GetData()) + start_;
    end_ = out_;
  }
  writer_t(const writer_t&) = delete;
  writer_t& operator=(const writer_t&) = delete;
  ~writer_t() { buffer_.SetSize(isDone_ ? Size() : start_); }

  /// Without it nothing stays.
  void Finish() { isDone_ = true; }

  void WriteDocument(const root_t& document, bool asArray) {
    bool isFirst = true;
    if (asArray && document.objects.empty()) return Put("[]");
    if (asArray) Open('[');
    for (const object_t& object : document.objects) {
      if (asArray) {
        BeginItem(isFirst);
      } else if (!isFirst) {
        Put("\n");
      }
      isFirst = false;
      WriteObject(object);
    }
    if (asArray) Close(']');
  }

  void WriteNode(const IValue* node) {
    if (node == nullptr) return Put("null");
    if (node->IsScalar()) return WriteVariant(static_cast<const scalar_t*>(node)->value);
    if (node->IsObject()) return WriteObject(*static_cast<const object_t*>(node));
    if (!node->IsArray()) return Put("null");
    WriteArray(static_cast<const array_t*>(node)->elements, [this](const auto& element) { WriteNode(element.get()); });
  }

 private:
  void WriteObject(const object_t& object) {
    if (object.members.empty()) return Put("{}", 1);
    Open('{');
    bool isFirst = true;
    for (const member_t& member : object.members) {
      BeginItem(isFirst);
      isFirst = false;
      WriteText(member.name.View());
      Ensure(kMaxPiece);
      *out_++ = ':';
      if (!indent_.empty()) *out_++ = ' ';
      WriteNode(member.value.get());
    }
    Close('}');
  }

  template <class Elements, class Write>
  void WriteArray(const Elements& elements, Write write) {
    if (elements.empty()) return Put("[]", 1);
    Open('[');
    bool isFirst = true;
    for (const auto& element : elements) {
      BeginItem(isFirst);
      isFirst = false;
      write(element);
    }
    Close(']');
  }

  void WriteVariant(const CVariant& value) {
    if (value.vt == VT_BSTR) return WriteText(value.GetStringView());
    Ensure(kMaxPiece);
    switch (value.vt) {
      case VT_BOOL: out_ = WriteWord(value.boolVal != VARIANT_FALSE ? "true" : "false", out_); return;
      case VT_I1: out_ = WriteInteger(static_cast<int>(value.cVal), out_); return;
      case VT_UI1: out_ = WriteInteger(static_cast<unsigned>(value.bVal), out_); return;
      case VT_I2: out_ = WriteInteger(value.iVal, out_); return;
      case VT_UI2: out_ = WriteInteger(value.uiVal, out_); return;
      case VT_I4:
      case VT_INT:
      case VT_ERROR: out_ = WriteInteger(value.lVal, out_); return;
      case VT_UI4:
      case VT_UINT: out_ = WriteInteger(value.ulVal, out_); return;
      case VT_I8: out_ = WriteInteger(value.llVal, out_); return;
      case VT_UI8: out_ = WriteInteger(value.ullVal, out_); return;
      case VT_R4: return WriteFinite(value.fltVal);
      case VT_R8: return WriteFinite(value.dblVal);
      case VT_CY: return WriteCurrency(value.cyVal.int64);
      case VT_DECIMAL: return WriteDecimal(value);
      case VT_DATE: return WriteText(value.ToString().View());
      default: break;
    }
    if (value.IsArray()) return WriteSafeArray(value);
    Put("null");
  }

  template <class Real>
  void WriteFinite(Real value) {
    out_ = std::isfinite(value) ? WriteReal(value, out_) : WriteWord("null", out_);
  }

  // Ten-thousandths.
  void WriteCurrency(std::int64_t value) {
    const bool negative = value < 0;
    const auto magnitude = negative ? 0 - static_cast<std::uint64_t>(value) : static_cast<std::uint64_t>(value);
    if (negative) *out_++ = '-';
    out_ = WriteInteger(magnitude / 10'000, out_);
    *out_++ = '.';
    auto decimals = static_cast<unsigned>(magnitude % 10'000);
    for (unsigned place = 1000; place != 0; place /= 10) {
      *out_++ = static_cast<char>('0' + decimals / place);
      decimals %= place;
      if (decimals == 0) break;
    }
  }

  void WriteDecimal(const CVariant& value) {
    CVariant text = value;
    if (!text.ConvertType(VT_BSTR, CVariant::CONVERT_OR_CLEAR)) return Put("null");
    for (const char16_t unit : text.GetStringView()) *out_++ = static_cast<char>(unit);
  }

  void WriteSafeArray(const CVariant& value) {
    const CSafeArray* const array = value.GetArray();
    if (array == nullptr || array->GetNumElements() == 0) return Put("[]", 1);
    const std::uint32_t rows = array->GetNumRows();
    const std::uint32_t columns = array->GetNumCols();
    if (rows > 1) Open('[');
    for (std::uint32_t row = 0; row != rows; ++row) {
      if (rows > 1) BeginItem(row == 0);
      Open('[');
      for (std::uint32_t column = 0; column != columns; ++column) {
        BeginItem(column == 0);
        CVariant element;
        array->GetElement(row * columns + column, element);
        WriteVariant(element);
      }
      Close(']');
    }
    if (rows > 1) Close(']');
  }

  void WriteText(std::u16string_view text) {
    const char16_t* at = text.data();
    const char16_t* const end = at + text.size();
    Ensure(kMaxPiece);
    *out_++ = '"';
    do {
      // A long text needs no room for the worst case of the whole. No pair of surrogates is cut.
      const char16_t* part = end - at <= kPart ? end : at + kPart;
      if (part != end && utf::IsHighSurrogate(part[-1])) ++part;
      Ensure(static_cast<std::size_t>(part - at) * kMaxBytesPerUnit + 32);
      out_ = WriteUnits(at, part, out_);
      at = part;
    } while (at != end);
    *out_++ = '"';
  }

  // --- layout

  void Open(char bracket) {
    CheckDepth(1);
    ++depth_;
    Ensure(kMaxPiece);
    *out_++ = bracket;
  }

  void Close(char bracket) {
    --depth_;
    BreakLine();
    *out_++ = bracket;
  }

  void BeginItem(bool isFirst) {
    Ensure(kMaxPiece);
    if (!isFirst) *out_++ = ',';
    BreakLine();
  }

  void BreakLine() {
    Ensure(1 + static_cast<std::size_t>(depth_) * indent_.size() + kMaxPiece);
    if (indent_.empty()) return;
    *out_++ = '\n';
    for (int i = 0; i != depth_; ++i) out_ = WriteWord(indent_, out_);
  }

  void Put(std::string_view word, int levels = 0) {
    CheckDepth(levels);
    Ensure(kMaxPiece);
    out_ = WriteWord(word, out_);
  }

  void CheckDepth(int levels) const {
    if (depth_ + levels <= kMaxDepth) return;
    zorplatform::CException::Throw(zorplatform::CException::kEndOfStream,
                                   "JSON: objects and arrays are nested deeper than 128 levels");
  }

  std::size_t Size() const { return static_cast<std::size_t>(out_ - reinterpret_cast<const char*>(buffer_.GetData())); }

  void Ensure(std::size_t room) {
    if (static_cast<std::size_t>(end_ - out_) < room) Grow(room);
  }

  [[gnu::noinline]] void Grow(std::size_t room) {
    const std::size_t size = Size();
    buffer_.SetSize(std::max(size + room, std::max<std::size_t>(4096, size * 2)));
    auto* const begin = reinterpret_cast<char*>(buffer_.GetData());
    out_ = begin + size;
    end_ = begin + buffer_.GetSize();
  }

  zorplatform::CGrowableBuffer& buffer_;
  const std::string_view indent_;
  int depth_;
  const std::size_t start_;
  bool isDone_ = false;
  char* out_;
  char* end_;
};

std::string Blanks(int indent) { return std::string(static_cast<std::size_t>(std::clamp(indent, 0, kMaxIndent)), ' '); }

std::string_view View(const zorplatform::CGrowableBuffer& buffer) {
  return {reinterpret_cast<const char*>(buffer.GetData()), buffer.GetSize()};
}

// Runs `write` on a writer over the serializer.
template <class Write>
void WriteInto(ISerializer& out, Write write) {
  if (auto* const own = dynamic_cast<json_serializer_t*>(&out)) {
    const std::string indent = Blanks(serializer_access_t::Indent(*own));
    writer_t writer(serializer_access_t::Buffer(*own), indent, own->GetTextDepth());
    write(writer);
    writer.Finish();
    return;
  }
  zorplatform::CGrowableBuffer buffer;
  const std::string indent = out.IsText() ? out.MakeIndent(1).ToUtf8() : std::string();
  {
    writer_t writer(buffer, indent, out.IsText() ? out.GetTextDepth() : 0);
    write(writer);
    writer.Finish();
  }
  const CString text(View(buffer));
  if (out.IsText()) {
    out.WriteText(text);
  } else {
    zorutil::Serialize(text, out);
  }
}

template <class Write>
std::string WriteToString(const write_options_t& options, Write write) {
  zorplatform::CGrowableBuffer buffer;
  const std::string indent = Blanks(options.indent);
  {
    writer_t writer(buffer, indent, 0);
    write(writer);
    writer.Finish();
  }
  return std::string(View(buffer));
}

}  // namespace

void SerializeNode(const IValue& node, ISerializer& out) {
  WriteInto(out, [&](writer_t& writer) { writer.WriteNode(&node); });
}

void SerializeDocument(const root_t& document, bool asArray, ISerializer& out) {
  WriteInto(out, [&](writer_t& writer) { writer.WriteDocument(document, asArray); });
}

std::string WriteText(const IValue& value, const write_options_t& options) {
  return WriteToString(options, [&](writer_t& writer) { writer.WriteNode(&value); });
}

std::string WriteText(const root_t& document, const write_options_t& options) {
  return WriteToString(options, [&](writer_t& writer) { writer.WriteDocument(document, false); });
}

std::string WriteTextAsArray(const root_t& document, const write_options_t& options) {
  return WriteToString(options, [&](writer_t& writer) { writer.WriteDocument(document, true); });
}

// --- json_serializer_t -------------------------------------------------------------------------------------------

json_serializer_t::json_serializer_t(std::string_view utf8) {
  buffer_.Append(utf8.data(), utf8.size());
  isWide_ = false;
}

json_serializer_t::~json_serializer_t() = default;

CString json_serializer_t::MakeIndent(unsigned depth) const {
  const auto unit = static_cast<unsigned>(std::clamp(options_.indent, 0, kMaxIndent));
  return CString(u' ', static_cast<int>(std::min(depth, static_cast<unsigned>(kMaxDepth)) * unit));
}

void json_serializer_t::WriteText(const CString& text) {
  const std::string utf8 = text.ToUtf8();
  buffer_.Append(utf8.data(), utf8.size());
  isWide_ = false;
}

const CString& json_serializer_t::GetText() const {
  if (!isWide_) wide_ = CString(GetUtf8());
  isWide_ = true;
  return wide_;
}

void json_serializer_t::Clear() {
  buffer_.SetSize(0);
  wide_.Empty();
  isWide_ = true;
}

}  // namespace zorutil::json
