// Where the tokens of a JSON text begin. Not installed: for the reader.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string_view>

namespace zorutil::json {

/// The places of all brackets, colons, commas, opening quotes and first characters of other words outside strings, in
/// their order, and one more: the length of the text. A string directly behind a word is not found: what is behind a
/// word must be looked at. Made by one pass of vector instructions over the text.
class structural_index_t {
 public:
  structural_index_t();
  ~structural_index_t();

  /// Reads nothing outside the text, which is at most 4 GB. False, and no index, when the text is not UTF-8, when a
  /// string in it contains a control character or has no end; FindLexicalFault then tells where. std::bad_alloc.
  bool Build(std::string_view text);

  const std::uint32_t* GetPlaces() const noexcept { return places_; }
  std::uint32_t GetCount() const noexcept { return count_; }

 private:
  struct parser_t;
  std::unique_ptr<parser_t> parser_;
  const std::uint32_t* places_ = nullptr;
  std::uint32_t count_ = 0;
};

struct lexical_fault_t {
  const char* cause;
  std::size_t offset;      ///< of the fault
  std::size_t tokenStart;  ///< of the string it lies in, or the same
};
/// Looks, unit by unit, for what made Build fail.
lexical_fault_t FindLexicalFault(std::string_view text);

}  // namespace zorutil::json
