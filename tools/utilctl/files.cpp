#include "tools/utilctl/files.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <system_error>

#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "platform/framework/replace_file.h"
#include "platform/zorplatform/file_search.h"

namespace utilctl {

namespace fs = std::filesystem;

namespace {
constexpr std::size_t kBlock = 1 << 20;
// A device can be without end. On machines of 32 bits, a quarter of what they address.
constexpr auto kMost = static_cast<std::size_t>(std::min<std::uint64_t>(std::uint64_t{1} << 32, SIZE_MAX / 4));
}  // namespace

std::string ReadWholeFile(const std::string& path) {
  const bool isInput = path == "-";
  CFile file;
  if (std::unique_ptr<CFileException> error; !isInput && !file.Open(FileText(path), CFile::modeRead, &error))
    throw *error;
  std::string content;
  for (std::size_t got = kBlock; got == kBlock;) {
    const std::size_t before = content.size();
    content.resize(before + kBlock);
    got = isInput ? std::fread(content.data() + before, 1, kBlock, stdin) : file.Read(content.data() + before, kBlock);
    if (isInput && std::ferror(stdin) != 0) throw CFileException(u"standard input", "read", errno);
    content.resize(before + got);
    if (content.size() > kMost)
      throw CFileException(isInput ? CString(u"standard input") : FileText(path),
                           std::uint64_t{kMost} >> 32 != 0 ? "more than 4 GiB" : "too long", 0);
  }
  return content;
}

void ReplaceWholeFile(const std::string& path, std::string_view content) {
  zorplatform::CReplaceFile file(FileText(path));
  for (std::string_view rest = content; !rest.empty();) {
    const std::size_t count = std::min(rest.size(), kBlock);
    file.GetFile().Write(rest.data(), static_cast<unsigned>(count));
    rest.remove_prefix(count);
  }
  file.Commit();
}

bool IsRegularOrMissing(const std::string& path) {
  std::error_code error;
  const fs::file_status status = fs::status(path, error);
  return fs::is_regular_file(status) || !fs::exists(status);
}

void MakeFolder(const std::string& path) { zorplatform::MakePath(FileText(path.empty() ? "." : path)); }

CString FileText(const std::string& path) { return zorplatform::FromNativePath(fs::path(path)); }

CString FolderText(const std::string& path) {
  CString text = FileText(path.empty() ? "." : path);
  if (text.Right(1) != u"\\") text += u'\\';
  return text;
}

std::string NativePath(const CString& pathText) { return zorplatform::ToNativePath(pathText).string(); }

std::string StemOf(const std::string& path) { return fs::path(path).stem().string(); }

std::string JoinPath(const std::string& folder, const std::string& name) { return (fs::path(folder) / name).string(); }

}  // namespace utilctl
