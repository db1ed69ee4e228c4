#include "util/json/structural_index_internal.h"

#include <simdjson.h>

#include <new>
#include <string>

#include "platform/text/utf8_character_internal.h"

namespace zorutil::json {

// The stage is no public interface; what follows was written for this generation of it.
static_assert(simdjson::SIMDJSON_VERSION_MAJOR == 3, "try the JSON tests with this simdjson, then raise the number");

// Only the first of simdjson's two stages is used, the one that its front ends share: it finds the tokens and checks
// UTF-8 and control characters. The second builds a tree of its own, which would be copied and has no lines.
struct structural_index_t::parser_t {
  std::unique_ptr<simdjson::internal::dom_parser_implementation> stages;
};

structural_index_t::structural_index_t() : parser_(std::make_unique<parser_t>()) {}

structural_index_t::~structural_index_t() = default;

bool structural_index_t::Build(std::string_view text) {
  static const std::uint32_t kNothing[] = {0};
  places_ = kNothing;
  count_ = 0;
  if (text.empty()) return true;
  constexpr std::size_t kNoDepth = 1;  // the second stage's stack
  const simdjson::implementation* const implementation = simdjson::get_active_implementation();
  const auto allocated = implementation->create_dom_parser_implementation(text.size(), kNoDepth, parser_->stages);
  if (allocated != simdjson::SUCCESS) throw std::bad_alloc();
  // The implementation without vector instructions checks UTF-8 in strings only, and looks behind a text that breaks
  // off inside a character.
  std::string padded;
  if (implementation->required_instruction_sets() == 0) {
    if (!implementation->validate_utf8(text.data(), text.size())) return false;
    padded.append(text).append(simdjson::SIMDJSON_PADDING, '\0');
  }
  const auto* const bytes = reinterpret_cast<const std::uint8_t*>(padded.empty() ? text.data() : padded.data());
  const auto found = parser_->stages->stage1(bytes, text.size(), simdjson::stage1_mode::regular);
  if (found == simdjson::EMPTY) return true;
  if (found != simdjson::SUCCESS) return false;
  places_ = parser_->stages->structural_indexes.get();
  count_ = parser_->stages->n_structural_indexes;
  return true;
}

lexical_fault_t FindLexicalFault(std::string_view text) {
  bool inString = false;
  std::size_t start = 0;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t length = utf::CharacterSize(text, at);
    if (length == 0) return {"this is not UTF-8", at, inString ? start : at};
    const char c = text[at];
    if (inString && static_cast<unsigned char>(c) < 0x20) {
      return {"a control character in a string must be escaped", at, start};
    }
    if (c == '"') {
      inString = !inString;
      start = at;
    } else if (c == '\\') {
      if (!inString) return {"a \\ stands outside a string", at, at};
      // What is escaped is looked at by itself when it is more than a character of syntax.
      if (at + 1 < text.size() && (text[at + 1] == '"' || text[at + 1] == '\\')) ++at;
    }
    at += length;
  }
  if (inString) return {"the string has no end", start, start};
  return {"the text is malformed", text.size(), text.size()};
}

}  // namespace zorutil::json
