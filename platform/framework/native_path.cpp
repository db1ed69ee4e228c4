#include "platform/framework/native_path.h"

#include <algorithm>
#include <string>

#include "platform/text/utf.h"

namespace zorplatform {

std::filesystem::path ToNativePath(std::u16string_view pathText) {
  // No byte of a longer UTF-8 sequence can be mistaken for a separator.
  std::string utf8 = utf::ToUtf8(pathText);
  std::replace(utf8.begin(), utf8.end(), '\\', '/');
  return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

CString FromNativePath(const std::filesystem::path& path) {
  const std::u8string utf8 = path.u8string();
  CString text(std::string_view(reinterpret_cast<const char*>(utf8.data()), utf8.size()));
  text.Replace(u'/', u'\\');
  return text;
}

}  // namespace zorplatform
