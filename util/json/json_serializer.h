// The text serializer of JSON: what a node writes into it, it holds as text.
//
//   zorutil::json::json_serializer_t out;
//   project.Serialize(out);
//   file.Write(out.GetUtf8().data(), static_cast<unsigned>(out.GetUtf8().size()));
//
//   zorutil::json::json_serializer_t in(text);
//   project.Deserialize(in);                          // CException -1 with line and column
//
// Not copied. One thread at a time.
#pragma once

#include <string_view>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "platform/zorplatform/growable_buffer.h"
#include "util/json/json_text.h"
#include "util/serialization/serializer.h"

namespace zorutil::json {

class ZORUTIL_API json_serializer_t final : public ISerializer {
 public:
  /// An empty text, to be written to.
  explicit json_serializer_t(const write_options_t& options = {}) : options_(options) {}
  /// Holds a copy of the text, ready to be read.
  explicit json_serializer_t(std::string_view utf8);
  json_serializer_t(const json_serializer_t&) = delete;
  json_serializer_t& operator=(const json_serializer_t&) = delete;
  ~json_serializer_t() override;

  bool IsBinary() const override { return false; }
  bool IsText() const override { return true; }
  /// There is nothing binary here: both do nothing.
  void Read(void*, unsigned) override {}
  void Write(const void*, unsigned) override {}

  /// The depth at which the next node is written: 0, unless the caller has opened brackets of his own by WriteText and
  /// says so. It counts towards the limit of nesting, too.
  int GetTextDepth() const override { return depth_; }
  void SetTextDepth(int depth) { depth_ = depth; }
  /// Blanks; none when the text is compact.
  CString MakeIndent(unsigned depth) const override;
  /// Appends the text as it stands.
  void WriteText(const CString& text) override;
  /// The text so far; valid until more is written.
  const CString& GetText() const override;
  /// The same in UTF-8, without a copy.
  std::string_view GetUtf8() const noexcept {
    return {reinterpret_cast<const char*>(buffer_.GetData()), buffer_.GetSize()};
  }
  /// Forgets the text, and keeps its memory for the next.
  void Clear();

 private:
  friend struct serializer_access_t;

  write_options_t options_;
  int depth_ = 0;
  zorplatform::CGrowableBuffer buffer_;
  mutable CString wide_;        // what GetText gave out last
  mutable bool isWide_ = true;  // wide_ is the text of the buffer
};

}  // namespace zorutil::json
