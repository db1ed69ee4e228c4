// JSON text (RFC 8259, UTF-8) into a document and back.
//
//   zorutil::json::root_t project;
//   if (const auto error = zorutil::json::ReadText(text, project)) {
//     Report(error.ToString());                         // "line 12, column 5: the name of a member must be in quotes"
//   }
//   std::string pretty = zorutil::json::WriteText(project);
//   std::string compact = zorutil::json::WriteText(project, {.indent = 0});
//
// Reading keeps the order of members, repeated names and the line of each member. Equal names of one text share their
// memory, and so do neighbouring nodes: a piece of memory of up to 64 KB is freed with the last node in it.
//   numbers    VT_I4 when they fit, else VT_I8, else VT_UI8; a fraction, an exponent, "-0" or more than 64 bits make
//              VT_R8. Too large for a double is an error, too small becomes 0
//   text       VT_BSTR; an escaped surrogate without its other half is kept, and written as an escape again
//   others     VT_BOOL, VT_EMPTY for null
//   limits     kMaxDepth levels of objects and arrays, 2 GB of text; no comments, no trailing commas
// Writing what was read gives a text that reads as the same document. A variant of another type becomes what comes
// nearest: a date its text ("2023-03-15 06:30:00.000"), VT_CY and VT_DECIMAL their exact decimal, VT_ERROR its code,
// an array a JSON array (of one array for each row when it has two dimensions); null stands for an infinity, NaN,
// VT_NULL and what has no value at all. Reals are the shortest text that reads as the same bits, always with a fraction
// or an exponent, so that they come back as reals.
//
// Functions without state; different documents may be read and written on different threads at once.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

#include "platform/export.h"
#include "util/json/root.h"
#include "util/json/value.h"

namespace zorutil::json {

/// How deep objects and arrays may nest, the outermost counted as 1.
inline constexpr int kMaxDepth = 128;

/// Why a text was refused; false when it was not.
struct ZORUTIL_API text_error_t {
  std::string cause;       ///< empty when there is no error
  int line = 0;            ///< from 1, or from the number that the first line was given
  int column = 0;          ///< from 1, in characters (code points)
  std::size_t offset = 0;  ///< bytes before the place

  /// True for an error.
  explicit operator bool() const noexcept { return !cause.empty(); }
  /// "line 12, column 5: cause"; empty without an error.
  std::string ToString() const;
};

/// Replaces the document by the text's top-level objects. They stand one behind another with white space or nothing
/// between them; an array of objects among them counts as its objects. A byte order mark at the start is skipped; a
/// text without any object is an empty document. After an error the document is as it was.
[[nodiscard]] ZORUTIL_API text_error_t ReadText(std::string_view utf8, root_t& document, int firstLine = 1);
/// The same for a text that is exactly one value of any kind.
[[nodiscard]] ZORUTIL_API text_error_t ReadText(std::string_view utf8, std::shared_ptr<IValue>& value,
                                                int firstLine = 1);

/// How a text is laid out.
struct write_options_t {
  int indent = 2;  ///< blanks for each level (at most 16); 0 writes everything on one line, without blanks
};

/// The text, without a line break at its end; a document has one between its objects. CException -1 for a node nested
/// deeper than kMaxDepth.
ZORUTIL_API std::string WriteText(const IValue& value, const write_options_t& options = {});
ZORUTIL_API std::string WriteText(const root_t& document, const write_options_t& options = {});
/// The document as one array of its objects.
ZORUTIL_API std::string WriteTextAsArray(const root_t& document, const write_options_t& options = {});

}  // namespace zorutil::json
