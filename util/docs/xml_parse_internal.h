// From bytes or wide text to a libxml2 tree, with a message when there is none.
#pragma once

#include <libxml/xmlerror.h>

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/framework/cstring.h"
#include "util/docs/xml_tree_internal.h"

class CFile;
namespace i18n {
class ILocalizedMessage;
}

namespace xml {

using tree_ptr_t = std::unique_ptr<CTree>;

/// The document; or null, and why in `error`. `source` is what messages call it.
tree_ptr_t ParseFile(CFile& file, const CString& source, std::unique_ptr<i18n::ILocalizedMessage>& error);
tree_ptr_t ParseText(std::u16string_view text, const CString& source, std::unique_ptr<i18n::ILocalizedMessage>& error);

/// The same in two steps: the rest of a file, as far as the limit and one byte more, and the document in bytes.
std::string ReadAll(CFile& file);
tree_ptr_t ParseBytes(std::string_view bytes, const CString& source, std::unique_ptr<i18n::ILocalizedMessage>& error);

/// The position of the first unit that XML cannot hold; text.size() when there is none.
std::size_t FindBadUnit(std::u16string_view text) noexcept;

/// While it lives, libxml2 reports errors of this thread to `report` and prints nothing.
class CErrorScope {
 public:
  using report_t = std::function<void(const xmlError&)>;
  explicit CErrorScope(report_t report);
  CErrorScope(const CErrorScope&) = delete;
  CErrorScope& operator=(const CErrorScope&) = delete;
  ~CErrorScope();
  /// `report` ran out of memory; no exception passes through libxml2.
  bool IsOutOfMemory() const { return outOfMemory_; }

 private:
  report_t report_;
  xmlStructuredErrorFunc earlier_;
  void* earlierContext_;
  bool outOfMemory_ = false;
};

}  // namespace xml
