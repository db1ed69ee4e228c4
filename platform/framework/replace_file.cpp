#include "platform/framework/replace_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <random>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/folder_handle_internal.h"
#include "platform/framework/native_path.h"

namespace zorplatform {
namespace {

constexpr int kMaxLinks = 40;
constexpr int kMaxNames = 100;
constexpr std::size_t kMaxNamePart = 200;  // of the old file's name in the new one's; file systems take 255 bytes

// A handle that closes itself.
class CHandle {
 public:
  CHandle() = default;
  CHandle(const CHandle&) = delete;
  CHandle& operator=(const CHandle&) = delete;
  ~CHandle() {
    if (handle_ >= 0) ::close(handle_);
  }
  void Reset(int handle) noexcept {
    if (handle_ >= 0) ::close(handle_);
    handle_ = handle;
  }
  int Get() const noexcept { return handle_; }

 private:
  int handle_ = -1;
};

// Calls until no signal gets in between.
template <class Call>
int Retry(Call call) {
  int result = call();
  while (result < 0 && errno == EINTR) result = call();
  return result;
}

// The new file as its writer sees it: it goes by the name of the file that it will replace.
class CNewFile final : public CFile {
 private:
  template <class Call>
  auto Named(const char* operation, Call call) const {
    try {
      return call();
    } catch (const CFileException& failure) {
      if (failure.GetSystemError() != 0) throw CFileException(path_, operation, failure.GetSystemError());
      throw CFileException(path_, (std::string(operation) + ": the file is not open").c_str(), 0);
    }
  }

 public:
  explicit CNewFile(const CString& path) : path_(path) {}

  const CString& GetFilePath() const noexcept override { return path_; }
  unsigned Read(void* buffer, unsigned count) override {
    return Named("read", [&] { return CFile::Read(buffer, count); });
  }
  void Write(const void* buffer, unsigned count) override {
    Named("write", [&] { CFile::Write(buffer, count); });
  }
  std::uint64_t Seek(std::int64_t offset, seek_t from) override {
    return Named("seek", [&] { return CFile::Seek(offset, from); });
  }
  std::uint64_t GetPosition() const override {
    return Named("position", [&] { return CFile::GetPosition(); });
  }
  std::uint64_t GetLength() const override {
    return Named("length", [&] { return CFile::GetLength(); });
  }
  void SetLength(std::uint64_t length) override {
    Named("set length", [&] { CFile::SetLength(length); });
  }
  void Flush(bool toDisk) override {
    Named("flush", [&] { CFile::Flush(toDisk); });
  }
  void Close() override {
    Named("close", [&] { CFile::Close(); });
  }

 private:
  CString path_;
};

std::uint64_t RandomNumber() {
  std::random_device random;
  return std::uint64_t{random()} << 32 | random();
}

// ".settings.ini.0123456789abcdef.new": hidden, and unlike the names that programs look for in their folders.
std::filesystem::path NewNameBeside(const std::filesystem::path& target) {
  std::array<char, 17> digits{};
  std::snprintf(digits.data(), digits.size(), "%016llx", static_cast<unsigned long long>(RandomNumber()));
  std::string name = target.filename().string();
  if (name.size() > kMaxNamePart) {
    std::size_t cut = kMaxNamePart;
    while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;  // not inside a character
    name.resize(cut);
  }
  return target.parent_path() / ("." + name + "." + digits.data() + ".new");
}

}  // namespace

struct CReplaceFile::state_t {
  CString path;
  std::filesystem::path target;   // where the links end
  std::filesystem::path newName;  // empty when there is no new file, or no longer
  struct stat old {};
  bool replaces = false;
  CHandle handle;  // of the new file, beside the one that `file` writes through
  CNewFile file;

  explicit state_t(const CString& callersPath);
  ~state_t() { Abandon(); }
  [[noreturn]] void Fail(const char* operation, int systemError) const {
    throw CFileException(path, operation, systemError);
  }

  void FindTarget();
  void LookAtTarget();
  void MakeNewFile();
  void Abandon() noexcept;
  void TakeOldRights() const;
  void Commit();
};

CReplaceFile::state_t::state_t(const CString& callersPath) : path(callersPath), file(callersPath) {
  // A NUL would cut the path short, and another file would be replaced.
  if (path.Find(u'\0') >= 0) Fail("open", EINVAL);
  FindTarget();
  LookAtTarget();
  try {
    MakeNewFile();
    // A name of the system's that has no path text can be reached through a link only.
    const CString newPath = FromNativePath(newName);
    if (ToNativePath(newPath.View()) != newName) Fail("open", EILSEQ);
    std::unique_ptr<CFileException> error;
    if (!file.Open(newPath, CFile::modeWrite, &error)) Fail("open", error->GetSystemError());
  } catch (...) {
    Abandon();
    throw;
  }
}

// Follows links by hand, because the file behind the last one need not exist.
void CReplaceFile::state_t::FindTarget() {
  target = ToNativePath(path.View());
  for (int links = 0;; ++links) {
    std::error_code error;
    const std::filesystem::path next = std::filesystem::read_symlink(target, error);
    // No link, or nothing there yet. Anything else must not pass for that, or the link itself would be replaced.
    if (error.value() == EINVAL || error.value() == ENOENT || error.value() == ENOTDIR) return;
    if (error) Fail("open", error.value());
    if (links == kMaxLinks) Fail("open", ELOOP);
    target = target.parent_path() / next;  // an absolute one takes the place of all
  }
}

void CReplaceFile::state_t::LookAtTarget() {
  if (!target.has_filename()) Fail("open", target.empty() ? ENOENT : EISDIR);
  replaces = ::stat(target.c_str(), &old) == 0;
  if (!replaces) {
    if (errno != ENOENT) Fail("open", errno);
    return;
  }
  if (S_ISDIR(old.st_mode)) Fail("open", EISDIR);
  if (!S_ISREG(old.st_mode)) Fail("open: not a regular file", EINVAL);
  // A rename asks for the folder's permission only; the file's own is respected all the same.
  if (::faccessat(AT_FDCWD, target.c_str(), W_OK, AT_EACCESS) != 0) Fail("open", errno);
}

void CReplaceFile::state_t::MakeNewFile() {
  const mode_t mode = replaces ? 0600 : 0666;
  for (int tries = 0;; ++tries) {
    std::filesystem::path name = NewNameBeside(target);
    const int opened = Retry([&] { return ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, mode); });
    if (opened >= 0) {
      handle.Reset(opened);
      newName = std::move(name);  // needs no memory: the file is there, and must not be forgotten
      return;
    }
    if (errno != EEXIST || tries == kMaxNames) Fail("open", errno);
  }
}

void CReplaceFile::state_t::Abandon() noexcept {
  if (newName.empty()) return;
  ::unlink(newName.c_str());
  newName.clear();
  handle.Reset(-1);
  try {
    file.CFile::Close();
  } catch (const std::exception&) {
    // Nobody wants these bytes any more.
  }
}

void CReplaceFile::state_t::TakeOldRights() const {
  if (!replaces) return;
  // Before the mode, which giving away resets. Who cannot give the file to the old owner must not lend it his rights.
  const bool sameOwner = ::fchown(handle.Get(), old.st_uid, old.st_gid) == 0;
  const mode_t mode = old.st_mode & (sameOwner ? 07777U : 0777U);
  if (::fchmod(handle.Get(), mode) != 0) Fail("set permissions", errno);
}

void CReplaceFile::state_t::Commit() {
  if (!file.IsOpen()) Fail("commit: the file is not open", 0);
  // Opened first, so that a lack of handles is told while the old file still stands.
  CFolderHandle folder;
  if (const int error = folder.Open(target.parent_path())) Fail("open folder", error);

  file.Flush(false);
  TakeOldRights();
  file.Flush(true);
  file.Close();
  if (::rename(newName.c_str(), target.c_str()) != 0) Fail("rename", errno);
  newName.clear();
  handle.Reset(-1);
  if (const int error = folder.Sync()) Fail("sync folder", error);
}

CReplaceFile::CReplaceFile(const CString& path) : state_(std::make_unique<state_t>(path)) {}

CReplaceFile::~CReplaceFile() = default;

CFile& CReplaceFile::GetFile() noexcept { return state_->file; }

void CReplaceFile::Commit() {
  try {
    state_->Commit();
  } catch (...) {
    state_->Abandon();
    throw;
  }
}

}  // namespace zorplatform
