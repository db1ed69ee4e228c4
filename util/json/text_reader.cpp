#include <array>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <optional>
#include <vector>

#include "platform/ole/string.h"
#include "platform/text/number_text.h"
#include "platform/text/real_chars.h"
#include "platform/text/utf.h"
#include "util/json/json_text.h"
#include "util/json/node_pool_internal.h"
#include "util/json/string_table_internal.h"
#include "util/json/structural_index_internal.h"

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace zorutil::json {
namespace {

constexpr std::size_t kMaxTextSize = std::numeric_limits<int>::max();

// Ends the reading; only the reader throws and catches it.
struct refused_t {
  const char* cause;
  std::size_t offset;
};

bool IsDigit(char c) { return c >= '0' && c <= '9'; }
bool IsSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

// Few bytes at a time, most of which are none.
int CountLineBreaks(const char* at, const char* end) {
  int count = 0;
#if defined(__SSE2__)
  for (; end - at >= 16; at += 16) {
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(at));
    auto found = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_set1_epi8('\n'))));
    for (; found != 0; found &= found - 1) ++count;
  }
#endif
  for (; at != end; ++at) count += *at == '\n' ? 1 : 0;
  return count;
}

// --- strings -----------------------------------------------------------------------------------------------------

struct string_kind_t {
  bool isAscii = true;
  bool hasEscapes = false;
};

// Eight bytes a step.
string_kind_t KindOf(std::string_view body) {
  constexpr std::uint64_t kOnes = 0x0101'0101'0101'0101;
  constexpr std::uint64_t kHighs = 0x8080'8080'8080'8080;
  std::uint64_t foreign = 0;
  std::uint64_t escapes = 0;
  const auto take = [&](std::uint64_t word) {
    foreign |= word;
    const std::uint64_t zeroAtBackslash = word ^ (kOnes * '\\');
    escapes |= (zeroAtBackslash - kOnes) & ~zeroAtBackslash;
  };
  const char* at = body.data();
  std::size_t left = body.size();
  for (; left >= 8; at += 8, left -= 8) {
    std::uint64_t word;
    std::memcpy(&word, at, 8);
    take(word);
  }
  if (left != 0) {
    std::uint64_t word = 0;
    std::memcpy(&word, at, left);
    take(word);
  }
  return {(foreign & kHighs) == 0, (escapes & kHighs) != 0};
}

unsigned HexDigit(char c) {
  if (IsDigit(c)) return static_cast<unsigned>(c - '0');
  const char lower = static_cast<char>(c | 0x20);
  return lower >= 'a' && lower <= 'f' ? static_cast<unsigned>(lower - 'a' + 10) : 16;
}

// The units of a string with escapes, into room for one unit a byte. `offset` is the body's place in the text.
std::size_t Unescape(std::string_view body, std::size_t offset, char16_t* out) {
  char16_t* const begin = out;
  for (std::size_t at = 0; at != body.size();) {
    const std::size_t plain = std::min(body.find('\\', at), body.size()) - at;
    out += utf::Utf8ToUtf16(body.substr(at, plain), out);
    at += plain;
    if (at == body.size()) break;
    const char c = body[at + 1];  // there is one: a backslash before the closing quote would have escaped it
    const std::size_t escape = at;
    at += 2;
    switch (c) {
      case '"':
      case '\\':
      case '/': *out++ = static_cast<char16_t>(c); break;
      case 'b': *out++ = u'\b'; break;
      case 'f': *out++ = u'\f'; break;
      case 'n': *out++ = u'\n'; break;
      case 'r': *out++ = u'\r'; break;
      case 't': *out++ = u'\t'; break;
      case 'u': {
        unsigned unit = 0;
        for (std::size_t i = 0; i != 4; ++i) {
          const unsigned digit = at < body.size() ? HexDigit(body[at]) : 16;
          if (digit == 16) throw refused_t{"\\u must be followed by four hexadecimal digits", offset + escape};
          unit = unit * 16 + digit;
          ++at;
        }
        *out++ = static_cast<char16_t>(unit);
        break;
      }
      default: throw refused_t{"there is no such escape", offset + escape};
    }
  }
  return static_cast<std::size_t>(out - begin);
}

// --- numbers -----------------------------------------------------------------------------------------------------

constexpr std::array<double, 23> kExactPowersOfTen = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                                      1e8,  1e9,  1e10, 1e11, 1e12, 1e13, 1e14, 1e15,
                                                      1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// A real whose grammar has been checked. The usual ones have few digits and a small exponent: then one operation on two
// exact doubles gives the correctly rounded result.
std::optional<double> ToDouble(std::string_view text, bool negative, std::uint64_t digits, int exponent,
                               bool areExact) {
  if (areExact && digits < (std::uint64_t{1} << 53) && exponent >= -22 && exponent <= 22) {
    const double power = kExactPowersOfTen[static_cast<std::size_t>(std::abs(exponent))];
    const auto mantissa = static_cast<double>(digits);
    const double value = exponent < 0 ? mantissa / power : mantissa * power;
    return negative ? -value : value;
  }
  double value = 0;
  if (real_chars::FromChars(text.data(), text.data() + text.size(), value).ec == std::errc()) return value;
  // Too large or too small, which from_chars does not tell apart.
  const std::u16string wide(text.begin(), text.end());
  value = number_text::ParseDouble(wide);
  if (std::isinf(value)) return std::nullopt;
  return value;
}

// --- the reader --------------------------------------------------------------------------------------------------

// Walks the tokens and builds the nodes where they stand. Needs no stack but its own.
class reader_t {
 public:
  reader_t(std::string_view text, const structural_index_t& index, int firstLine)
      : text_(text), places_(index.GetPlaces()), count_(index.GetCount()), line_(firstLine) {}

  void ReadDocument(std::list<object_t>& objects) {
    while (next_ != count_) {
      depth_ = 0;
      switch (Token()) {
        case '{': ReadTopObject(objects, 1); break;
        case '[':
          ++next_;
          depth_ = 1;
          if (Token() == ']') {
            ++next_;
            break;
          }
          for (;;) {
            if (Token() != '{') Refuse("an array at the top may hold objects only");
            ReadTopObject(objects, 2);
            const char token = Token();
            if (token != ',' && token != ']') Refuse("a comma or ] is missing");
            ++next_;
            if (token == ']') break;
          }
          break;
        default: Refuse("an object or an array of objects must stand at the top");
      }
    }
  }

  void ReadOnlyValue(std::shared_ptr<IValue>& value) {
    if (count_ == 0) Refuse("there is no value");
    ReadValue(value);
    if (next_ != count_) Refuse("there is more behind the value");
  }

 private:
  struct level_t {
    member_list_t* members;    // of an object
    array_t* array;            // or an array,
    std::size_t firstPending;  // whose elements wait from here on
  };

  template <class Node>
  static std::shared_ptr<Node> Make() {
    return std::allocate_shared<Node>(node_allocator_t<Node>());
  }

  std::size_t Place() const { return places_[next_]; }
  char Token() const { return next_ < count_ ? text_[Place()] : '\0'; }
  [[noreturn]] void Refuse(const char* cause) const {
    if (next_ >= count_) throw refused_t{depth_ == 0 ? cause : "the text ends too early", text_.size()};
    throw refused_t{cause, Place()};
  }

  void ReadTopObject(std::list<object_t>& objects, int depth) {
    object_t& object = objects.emplace_back();
    Enter({&object.members, nullptr, 0});
    if (std::shared_ptr<IValue>* const slot = Begin()) ReadInto(slot, depth);
  }

  void ReadValue(std::shared_ptr<IValue>& value) { ReadInto(&value, 1); }

  // Fills the slot, and goes on until the level `last` has been left.
  void ReadInto(std::shared_ptr<IValue>* slot, int last) {
    do {
      slot = ReadNode(*slot);
      while (slot == nullptr && depth_ >= last) slot = Continue();
    } while (slot != nullptr);
  }

  void Enter(const level_t& level) {
    if (depth_ == kMaxDepth) Refuse("objects and arrays are nested deeper than 128 levels");
    levels_[static_cast<std::size_t>(depth_++)] = level;
    ++next_;
  }

  // The place of the first value of the level just entered, or null when it was empty and has been left again.
  std::shared_ptr<IValue>* Begin() {
    const level_t& level = Top();
    if (level.members != nullptr) {
      if (Token() == '}') return Leave();
      return ReadName(*level.members);
    }
    if (Token() == ']') return Leave();
    return &pending_.emplace_back();
  }

  // The place of the next value after a comma, or null when the level was left.
  std::shared_ptr<IValue>* Continue() {
    const level_t& level = Top();
    const char token = Token();
    if (level.members != nullptr) {
      if (token == '}') return Leave();
      if (token != ',') Refuse("a comma or } is missing");
      ++next_;
      return ReadName(*level.members);
    }
    if (token == ']') {
      const auto first = pending_.begin() + static_cast<std::ptrdiff_t>(level.firstPending);
      level.array->elements.assign(std::make_move_iterator(first), std::make_move_iterator(pending_.end()));
      pending_.erase(first, pending_.end());
      return Leave();
    }
    if (token != ',') Refuse("a comma or ] is missing");
    ++next_;
    return &pending_.emplace_back();
  }

  std::shared_ptr<IValue>* Leave() {
    ++next_;
    --depth_;
    return nullptr;
  }

  level_t& Top() { return levels_[static_cast<std::size_t>(depth_ - 1)]; }

  std::shared_ptr<IValue>* ReadName(member_list_t& members) {
    if (Token() != '"')
      Refuse(Token() == '}' ? "a member must follow the comma" : "the name of a member must be in quotes");
    CountLines();
    member_t& member = members.emplace_back();
    member.line = line_;
    const std::string_view body = Body();
    member.name = names_.Find(body, text_, [&] { return MakeName(body); });
    ++next_;
    if (Token() != ':') Refuse("a colon must follow the name");
    ++next_;
    return &member.value;
  }

  // The line of the present token.
  void CountLines() {
    line_ += CountLineBreaks(text_.data() + counted_, text_.data() + Place());
    counted_ = Place();
  }

  // Reads the node at the present token. The place of its first value, or null when it is complete.
  std::shared_ptr<IValue>* ReadNode(std::shared_ptr<IValue>& slot) {
    switch (Token()) {
      case '{': {
        auto object = Make<object_t>();
        member_list_t* const members = &object->members;
        slot = std::move(object);
        Enter({members, nullptr, 0});
        return Begin();
      }
      case '[': {
        auto made = Make<array_t>();
        array_t* const array = made.get();
        slot = std::move(made);
        Enter({nullptr, array, pending_.size()});
        return Begin();
      }
      default: {
        auto scalar = Make<scalar_t>();
        ReadScalar(scalar->value);
        slot = std::move(scalar);
        ++next_;
        return nullptr;
      }
    }
  }

  // The value is empty, and its fields are set where they are: a variant that is made and moved is read back in other
  // widths than it was written in, which a processor waits for.
  void ReadScalar(CVariant& value) {
    switch (Token()) {
      case '"': return ReadString(value);
      case 't': ReadWord("true"); return SetBool(value, VARIANT_TRUE);
      case 'f': ReadWord("false"); return SetBool(value, VARIANT_FALSE);
      case 'n': return ReadWord("null");
      case '-':
      case '0':
      case '1':
      case '2':
      case '3':
      case '4':
      case '5':
      case '6':
      case '7':
      case '8':
      case '9': return ReadNumber(value);
      case '/': Refuse("there are no comments in JSON");
      case '\\': Refuse("a \\ stands outside a string");
      default: Refuse("a value is missing");
    }
  }

  // A quote is no end: directly behind a word it is no token, and its string would be lost.
  void RequireEndOfWord(std::size_t end) const {
    if (end >= text_.size()) return;
    const char c = text_[end];
    if (!IsSpace(c) && std::memchr(",:]}[{", c, 6) == nullptr) {
      throw refused_t{"this is neither a number nor true, false or null", Place()};
    }
  }

  void ReadWord(std::string_view word) const {
    if (text_.substr(Place(), word.size()) != word) Refuse("this is neither a number nor true, false or null");
    RequireEndOfWord(Place() + word.size());
  }

  // The inside of the string at the present token. Between its closing quote and the next token is white space only.
  std::string_view Body() const {
    const std::size_t begin = Place() + 1;
    std::size_t end = places_[next_ + 1] - 1;
    while (text_[end] != '"') --end;
    return text_.substr(begin, end - begin);
  }

  CString MakeName(std::string_view body) {
    if (body.size() > CString::kMaxLength) Refuse("the name is longer than 1 GB");
    const string_kind_t kind = KindOf(body);
    return kind.hasEscapes ? CString(Units(body, kind)) : CString(body);
  }

  // What the string at the present token says, until the next call.
  std::u16string_view Units(std::string_view body, string_kind_t kind) {
    if (scratch_.size() < utf::MaxUtf16Units(body.size())) scratch_.resize(utf::MaxUtf16Units(body.size()));
    char16_t* const out = scratch_.data();
    return {out, kind.hasEscapes ? Unescape(body, Place() + 1, out) : utf::Utf8ToUtf16(body, out)};
  }

  void ReadString(CVariant& value) {
    const std::string_view body = Body();
    if (body.empty()) {
      value.AttachString(nullptr);  // a null string is an empty text, and needs no memory
      return;
    }
    const string_kind_t kind = KindOf(body);
    const bool isPlain = kind.isAscii && !kind.hasEscapes;
    const std::u16string_view units = isPlain ? std::u16string_view() : Units(body, kind);
    const std::size_t length = isPlain ? body.size() : units.size();
    if (length > std::numeric_limits<std::int32_t>::max() / 2) Refuse("the string is longer than 2^30 characters");
    const BSTR text = SysAllocStringLen(isPlain ? nullptr : units.data(), static_cast<std::uint32_t>(length));
    if (text == nullptr) throw std::bad_alloc();
    if (isPlain) utf::WidenAscii(body, text);
    value.AttachString(text);
  }

  // Every text ends in something that is no part of a number, so that the loops need no other end.
  void ReadNumber(CVariant& value) const {
    const char* const begin = text_.data() + Place();
    const char* at = begin;
    const bool negative = *at == '-';
    if (negative) ++at;
    const char* const firstDigit = at;
    if (!IsDigit(*at)) RefuseNumber("a digit must follow the minus sign");
    std::uint64_t digits = 0;
    while (IsDigit(*at)) digits = digits * 10 + static_cast<std::uint64_t>(*at++ - '0');
    if (*firstDigit == '0' && at - firstDigit > 1) RefuseNumber("a number must not begin with 0");
    std::ptrdiff_t digitCount = at - firstDigit;
    bool isReal = false;
    int exponent = 0;
    if (*at == '.') {
      isReal = true;
      const char* const firstDecimal = ++at;
      while (IsDigit(*at)) digits = digits * 10 + static_cast<std::uint64_t>(*at++ - '0');
      const std::ptrdiff_t decimals = at - firstDecimal;
      if (decimals == 0) RefuseNumber("a digit must follow the decimal point");
      digitCount += decimals;
      exponent = decimals > 1000 ? -1000 : -static_cast<int>(decimals);
    }
    if (*at == 'e' || *at == 'E') {
      isReal = true;
      ++at;
      const bool isBelowOne = *at == '-';
      if (isBelowOne || *at == '+') ++at;
      if (!IsDigit(*at)) RefuseNumber("a digit must follow the exponent");
      int power = 0;
      for (; IsDigit(*at); ++at) power = power < 100'000 ? power * 10 + (*at - '0') : power;
      exponent += isBelowOne ? -power : power;
    }
    RequireEndOfWord(static_cast<std::size_t>(at - text_.data()));

    // Nineteen digits always fit 64 bits; of twenty, those that begin with 1 and did not wrap around.
    const bool areExact = digitCount <= 19;
    if (!isReal) {
      const bool fits = areExact || (digitCount == 20 && *firstDigit == '1' && digits >= 10'000'000'000'000'000'000U);
      if (fits && SetInteger(value, negative, digits)) return;
    }
    const std::string_view text(begin, static_cast<std::size_t>(at - begin));
    const auto real = ToDouble(text, negative, digits, exponent, areExact);
    if (!real) RefuseNumber("the number is too large");
    value.vt = VT_R8;
    value.dblVal = *real;
  }

  [[noreturn]] void RefuseNumber(const char* cause) const { throw refused_t{cause, Place()}; }

  static void SetBool(CVariant& value, VARIANT_BOOL content) {
    value.vt = VT_BOOL;
    value.boolVal = content;
  }

  static bool SetInteger(CVariant& value, bool negative, std::uint64_t magnitude) {
    constexpr std::uint64_t kMinMagnitude = std::uint64_t{1} << 63;
    if (negative && (magnitude == 0 || magnitude > kMinMagnitude)) return false;
    if (!negative && magnitude >= kMinMagnitude) {
      value.vt = VT_UI8;
      value.ullVal = magnitude;
      return true;
    }
    const auto number = static_cast<std::int64_t>(negative ? 0 - magnitude : magnitude);
    const auto small = static_cast<std::int32_t>(number);
    if (small == number) {
      value.vt = VT_I4;
      value.lVal = small;
    } else {
      value.vt = VT_I8;
      value.llVal = number;
    }
    return true;
  }

  std::string_view text_;
  const std::uint32_t* places_;
  std::uint32_t count_;
  std::uint32_t next_ = 0;
  int line_;
  std::size_t counted_ = 0;  // line breaks before this are in line_
  int depth_ = 0;
  std::array<level_t, kMaxDepth> levels_;
  std::vector<std::shared_ptr<IValue>> pending_;  // elements of the arrays that are open
  std::vector<char16_t> scratch_;
  string_table_t names_;
  node_pool_t pool_;
};

// --- errors ------------------------------------------------------------------------------------------------------

text_error_t MakeError(std::string_view text, const refused_t& refused, int firstLine) {
  text_error_t error;
  error.cause = refused.cause;
  error.offset = refused.offset;
  std::size_t lineStart = 0;
  error.line = firstLine;
  for (std::size_t at; (at = text.substr(0, refused.offset).find('\n', lineStart)) != text.npos; lineStart = at + 1) {
    ++error.line;
  }
  const std::string_view before = text.substr(lineStart, refused.offset - lineStart);
  error.column = 1;
  for (const char c : before) error.column += (c & 0xC0) != 0x80 ? 1 : 0;
  return error;
}

bool EndsInBracket(std::string_view text, const structural_index_t& index) {
  if (index.GetCount() == 0) return true;
  const char last = text[index.GetPlaces()[index.GetCount() - 1]];
  return last == '}' || last == ']';
}

// Reads by `read(reader)`.
template <class Read>
void ReadTokens(std::string_view text, int firstLine, Read read) {
  structural_index_t index;
  if (!index.Build(text)) {
    const lexical_fault_t fault = FindLexicalFault(text);
    // What is wrong before the fault is told first.
    const std::string_view before = text.substr(0, fault.tokenStart);
    if (structural_index_t sound; sound.Build(before)) {
      try {
        const std::string ended(before);
        read(reader_t(ended, sound, firstLine));  // in vain: what follows is an error
      } catch (const refused_t& refused) {
        if (refused.offset < before.size()) throw;
      }
    }
    throw refused_t{fault.cause, fault.offset};
  }
  // A number at the very end would be read beyond it.
  if (EndsInBracket(text, index)) return read(reader_t(text, index, firstLine));
  const std::string ended(text);
  read(reader_t(ended, index, firstLine));
}

template <class Document, class Read>
text_error_t ReadWhole(std::string_view utf8, Document& document, int firstLine, Read read) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  const std::size_t skipped = utf8.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0;
  const std::string_view text = utf8.substr(skipped);
  try {
    if (text.size() > kMaxTextSize) throw refused_t{"the text is longer than 2 GB", 0};
    Document made;
    ReadTokens(text, firstLine, [&](reader_t&& reader) { read(reader, made); });
    document = std::move(made);
  } catch (const refused_t& refused) {
    text_error_t error = MakeError(text, refused, firstLine);
    error.offset += skipped;
    return error;
  }
  return {};
}

}  // namespace

std::string text_error_t::ToString() const {
  if (cause.empty()) return {};
  return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": " + cause;
}

text_error_t ReadText(std::string_view utf8, root_t& document, int firstLine) {
  return ReadWhole(utf8, document.objects, firstLine,
                   [](reader_t& reader, std::list<object_t>& objects) { reader.ReadDocument(objects); });
}

text_error_t ReadText(std::string_view utf8, std::shared_ptr<IValue>& value, int firstLine) {
  return ReadWhole(utf8, value, firstLine,
                   [](reader_t& reader, std::shared_ptr<IValue>& made) { reader.ReadOnlyValue(made); });
}

}  // namespace zorutil::json
