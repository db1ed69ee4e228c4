#include "platform/framework/file_faults_testing.h"

#include <dirent.h>
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <set>
#include <string_view>
#include <utility>

static_assert(sizeof(off_t) == 8 && sizeof(long) == 8, "elsewhere some of the calls have other names");

namespace file_faults_testing {

namespace fs = std::filesystem;

namespace {

CFileLayer* theLayer = nullptr;
bool isSynchronisingSkipped = false;

constexpr int kVariants = 6;
enum variant_t : int { kAll, kNothing, kFirstHalf, kZeros, kTorn, kOnlyLast };

std::string ParentOf(const std::string& path) { return fs::path(path).parent_path().string(); }

bool IsOfNames(CFileLayer::change_kind_t kind) {
  return kind == CFileLayer::make || kind == CFileLayer::makeFolder || kind == CFileLayer::rename ||
         kind == CFileLayer::remove;
}

}  // namespace

const char* NameOf(call_t call) {
  static constexpr const char* kNames[] = {"open",     "open folder", "read",  "write",         "sync",   "sync folder",
                                           "truncate", "rename",      "close", "close written", "unlink", "make folder",
                                           "look",     "rights",      "lock",  "list"};
  return kNames[static_cast<std::size_t>(call)];
}

std::span<const int> ErrorsOf(call_t call) {
  static constexpr int kOpen[] = {EACCES, EIO, EMFILE, ENOSPC, EINTR}, kRead[] = {EIO, EINTR, kShort},
                       kWrite[] = {ENOSPC, EIO, EDQUOT, EINTR, kShort}, kSync[] = {EIO, ENOSPC, EDQUOT, EINTR},
                       kRename[] = {EACCES, EIO, ENOSPC, ENOENT, EXDEV}, kTruncate[] = {EIO, ENOSPC, EINTR},
                       kClose[] = {EIO, EINTR}, kCloseWritten[] = {EIO, EDQUOT, EINTR}, kUnlink[] = {EACCES, EIO},
                       kMake[] = {EACCES, ENOSPC, EIO}, kLook[] = {EACCES, EIO}, kRights[] = {EPERM, EIO},
                       kLock[] = {EINTR, ENOLCK}, kList[] = {EACCES, EIO};
  static constexpr std::span<const int> kErrors[] = {kOpen,     kOpen,   kRead,  kWrite,        kSync,   kSync,
                                                     kTruncate, kRename, kClose, kCloseWritten, kUnlink, kMake,
                                                     kLook,     kRights, kLock,  kList};
  return kErrors[static_cast<std::size_t>(call)];
}

void SkipSynchronising() { isSynchronisingSkipped = true; }

CFileLayer::CFileLayer(const fs::path& folder) : folder_(folder.lexically_normal().string()) { theLayer = this; }

CFileLayer::~CFileLayer() { theLayer = nullptr; }

CFileLayer* CFileLayer::Get() { return theLayer; }

void CFileLayer::Start(const fault_t& fault) {
  calls_.clear();
  fault_ = fault;
  isCounting_ = true;
}

void CFileLayer::Stop() { isCounting_ = isRecording_ = false; }

bool CFileLayer::Owns(const std::string& path) const {
  return path.starts_with(folder_) && (path.size() == folder_.size() || path[folder_.size()] == '/');
}

CFileLayer::handle_t* CFileLayer::Find(int handle) {
  const auto found = handles_.find(handle);
  return found == handles_.end() ? nullptr : &found->second;
}

int CFileLayer::Count(call_t call) {
  if (!isCounting_) return 0;
  calls_.push_back(call);
  const int number = static_cast<int>(calls_.size());
  if (fault_.call == number) return fault_.error;
  const bool takesRoom = call == call_t::open || call == call_t::write || call == call_t::makeFolder;
  return fault_.call != 0 && number > fault_.call && fault_.isLasting && takesRoom ? fault_.error : 0;
}

void CFileLayer::Opened(int handle, const std::string& path, int flags, bool wasThere) {
  const bool isFolder = (flags & O_DIRECTORY) != 0;
  handles_[handle] = {path, 0, isFolder, false};
  if (!isRecording_ || isFolder) return;
  const std::string name = path.substr(folder_.size());
  if (!wasThere) {
    const std::size_t file = contents_.size();
    contents_.emplace_back();
    Keep({make, name, {}, file, 0, {}});
  }
  handles_[handle].file = now_[name].file;
  if (wasThere && (flags & O_TRUNC) != 0) Keep({truncate, name, {}, now_[name].file, 0, {}});
}

// --- the power -----------------------------------------------------------------------------------------------------

void CFileLayer::Record() {
  atStart_.clear();
  contents_.clear();
  changes_.clear();
  for (const auto& entry : fs::recursive_directory_iterator(folder_)) {
    node_t& node = atStart_[entry.path().string().substr(folder_.size())];
    node.isFolder = entry.is_directory() && !entry.is_symlink();
    if (entry.is_symlink()) {
      node.link = fs::read_symlink(entry.path()).string();
    } else if (!node.isFolder) {
      node.file = contents_.size();
      std::ifstream in(entry.path(), std::ios::binary);
      contents_.emplace_back(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    }
  }
  now_ = atStart_;
  for (auto& [number, handle] : handles_) handle.file = now_[handle.path.substr(folder_.size())].file;
  Start();
  isRecording_ = true;
}

void CFileLayer::Keep(change_t change) {
  if (!isRecording_) return;
  for (std::string* const path : {&change.path, &change.to}) {
    if (path->starts_with(folder_)) path->erase(0, folder_.size());
  }
  Apply(change, now_);
  changes_.push_back(std::move(change));
}

void CFileLayer::Apply(const change_t& change, names_t& names) {
  switch (change.kind) {
    case make: names[change.path] = {false, {}, change.file}; break;
    case makeFolder: names[change.path] = {true, {}, 0}; break;
    case rename:
      if (const auto from = names.extract(change.path); !from.empty()) names[change.to] = from.mapped();
      break;
    case remove: names.erase(change.path); break;
    default: break;
  }
}

void CFileLayer::Apply(const change_t& change, std::string& bytes) {
  if (change.kind == truncate) bytes.resize(change.at);
  if (change.kind != write) return;
  bytes.resize(std::max<std::size_t>(bytes.size(), change.at + change.bytes.size()));
  bytes.replace(change.at, change.bytes.size(), change.bytes);
}

std::string CFileLayer::ContentOf(std::size_t file, std::size_t changes, int variant) const {
  std::string durable = contents_[file], all = durable;
  std::vector<const change_t*> pending;
  for (std::size_t i = 0; i < changes; ++i) {
    const change_t& change = changes_[i];
    if (change.file != file) continue;
    if (change.kind == sync) {
      durable = all;
      pending.clear();
    } else if (change.kind == write || change.kind == truncate) {
      Apply(change, all);
      pending.push_back(&change);
    }
  }
  if (variant == kAll || pending.empty()) return all;
  std::string content = variant == kZeros ? all : durable;
  for (std::size_t i = 0; i < pending.size(); ++i) {
    change_t change = *pending[i];
    const bool isLast = i + 1 == pending.size();
    if (variant == kZeros && change.kind == write)
      std::fill_n(content.begin() + static_cast<std::ptrdiff_t>(change.at), change.bytes.size(), '\0');
    if (variant == kTorn && isLast) change.bytes.resize(change.bytes.size() / 2);
    if (variant == kTorn || (variant == kFirstHalf && 2 * i + 1 < pending.size()) || (variant == kOnlyLast && isLast)) {
      Apply(change, content);
    }
  }
  return content;
}

void CFileLayer::Fill(const fs::path& into, const names_t& names, const std::vector<std::string>& contents) {
  for (const auto& entry : fs::directory_iterator(into)) fs::remove_all(entry.path());
  // Folders stand before what is in them; what is in one that is not there is lost with it.
  for (const auto& [name, node] : names) {
    const fs::path path = into.string() + name;
    if (!fs::is_directory(path.parent_path())) continue;
    if (node.isFolder) {
      fs::create_directory(path);
    } else if (!node.link.empty()) {
      fs::create_symlink(node.link, path);
    } else {
      std::ofstream(path, std::ios::binary) << contents[node.file];
    }
  }
}

int CFileLayer::ForEachPowerLoss(const fs::path& into, const std::function<void(bool)>& visit) const {
  std::set<std::string> seen;
  for (std::size_t done = 0; done <= changes_.size(); ++done) {
    const auto isDurable = [&](std::size_t change) {
      const std::string folder = ParentOf(changes_[change].path);
      for (std::size_t i = change + 1; i < done; ++i) {
        if (changes_[i].kind == syncFolder && (changes_[i].path.empty() ? "/" : changes_[i].path) == folder)
          return true;
      }
      return false;
    };
    std::vector<bool> isKept;
    std::size_t pending = 0;
    for (std::size_t i = 0; i < done; ++i) {
      isKept.push_back(isDurable(i));
      pending += !isKept[i] && IsOfNames(changes_[i].kind);
    }
    for (std::size_t kept = 0; kept <= pending; ++kept) {
      names_t names = atStart_;
      for (std::size_t i = 0, loose = 0; i < done; ++i) {
        if (IsOfNames(changes_[i].kind) && (isKept[i] || loose++ < kept)) Apply(changes_[i], names);
      }
      for (int variant = 0; variant < kVariants; ++variant) {
        std::vector<std::string> contents;
        for (std::size_t file = 0; file < contents_.size(); ++file) contents.push_back(ContentOf(file, done, variant));
        std::string image = done == changes_.size() ? "over" : "";
        for (const auto& [name, node] : names) {
          image += name + '\0' + (node.isFolder ? "/" : node.link.empty() ? contents[node.file] : node.link) + '\0';
        }
        if (!seen.insert(std::move(image)).second) continue;
        Fill(into, names, contents);
        visit(done == changes_.size());
      }
    }
  }
  return static_cast<int>(seen.size());
}

// --- the calls -----------------------------------------------------------------------------------------------------

namespace {

template <class Function>
Function* Real(const char* name) {
  return reinterpret_cast<Function*>(::dlsym(RTLD_NEXT, name));
}

std::string Normal(const char* path) {
  std::string name = fs::path(path).lexically_normal().string();
  if (name.ends_with('/')) name.pop_back();
  return name;
}

/// Of a path that is the layer's; else null. Relative ones never are.
CFileLayer* LayerOf(const char* path) {
  return theLayer != nullptr && path != nullptr && path[0] == '/' && theLayer->Owns(Normal(path)) ? theLayer : nullptr;
}

CFileLayer::handle_t* HandleOf(int handle) { return theLayer == nullptr ? nullptr : theLayer->Find(handle); }

bool Fails(call_t call) {
  const int error = theLayer->Count(call);
  if (error > 0) errno = error;
  return error > 0;
}

template <class Open>
int OpenWith(const char* path, int flags, Open open) {
  CFileLayer* const layer = LayerOf(path);
  if (layer == nullptr) return open();
  struct ::stat before {};
  static auto* const look = Real<int(const char*, struct ::stat*)>("stat");
  const bool wasThere = look(path, &before) == 0;
  if (wasThere && S_ISDIR(before.st_mode)) flags |= O_DIRECTORY;
  if (Fails((flags & O_DIRECTORY) != 0 ? call_t::openFolder : call_t::open)) return -1;
  const int handle = open();
  if (handle >= 0) layer->Opened(handle, Normal(path), flags, wasThere);
  return handle;
}

mode_t ModeOf(int flags, va_list arguments) {
  return (flags & (O_CREAT | O_TMPFILE)) != 0 ? va_arg(arguments, mode_t) : 0;
}

template <class Call>
ssize_t Transfer(call_t call, int handle, std::size_t count, Call transfer) {
  if (HandleOf(handle) == nullptr) return transfer(count);
  const int error = theLayer->Count(call);
  if (error > 0) {
    errno = error;
    return -1;
  }
  return transfer(error == kShort && count > 1 ? count / 2 : count);
}

template <class Call>
ssize_t WriteWith(int handle, const void* bytes, std::size_t count, off_t at, Call transfer) {
  const ssize_t done = Transfer(call_t::write, handle, count, transfer);
  if (auto* const file = HandleOf(handle); file != nullptr && done > 0) {
    file->isWritten = true;
    theLayer->Keep({CFileLayer::write,
                    {},
                    {},
                    file->file,
                    static_cast<std::uint64_t>(at),
                    std::string(static_cast<const char*>(bytes), static_cast<std::size_t>(done))});
  }
  return done;
}

template <class Call>
int OnPath(call_t call, const char* path, Call go) {
  if (LayerOf(path) == nullptr) return go();
  return Fails(call) ? -1 : go();
}

template <class Call>
int OnHandle(call_t call, int handle, Call go) {
  if (HandleOf(handle) == nullptr) return go();
  return Fails(call) ? -1 : go();
}

int Sync(int handle, const char* name) {
  auto* const file = HandleOf(handle);
  if (file == nullptr) return isSynchronisingSkipped ? 0 : Real<int(int)>(name)(handle);
  if (Fails(file->isFolder ? call_t::syncFolder : call_t::sync)) return -1;
  file->isWritten = false;
  theLayer->Keep({file->isFolder ? CFileLayer::syncFolder : CFileLayer::sync, file->path, {}, file->file, 0, {}});
  return 0;
}

template <class Call>
int Truncate(int handle, off_t length, Call go) {
  const int result = OnHandle(call_t::truncate, handle, go);
  if (const auto* const file = HandleOf(handle); file != nullptr && result == 0) {
    theLayer->Keep({CFileLayer::truncate, {}, {}, file->file, static_cast<std::uint64_t>(length), {}});
  }
  return result;
}

template <class Call>
int OnNames(call_t call, CFileLayer::change_kind_t kind, const char* path, const char* to, Call go) {
  const int result = OnPath(call, path, go);
  if (CFileLayer* const layer = LayerOf(path); layer != nullptr && result == 0) {
    layer->Keep({kind, Normal(path), to == nullptr ? std::string() : Normal(to), 0, 0, {}});
  }
  return result;
}

}  // namespace

}  // namespace file_faults_testing

using namespace file_faults_testing;

#define CALL extern "C" [[gnu::visibility("default")]]
#define REAL(result, name, ...) static auto* const real = Real<result(__VA_ARGS__)>(name)

#define OPEN(name)                                                         \
  CALL int name(const char* path, int flags, ...) {                        \
    REAL(int, #name, const char*, int, ...);                               \
    va_list arguments;                                                     \
    va_start(arguments, flags);                                            \
    const mode_t mode = ModeOf(flags, arguments);                          \
    va_end(arguments);                                                     \
    return OpenWith(path, flags, [&] { return real(path, flags, mode); }); \
  }
OPEN(open)
OPEN(open64)

// Of absolute paths; folders are opened so in order to be listed.
#define OPENAT(name)                                                               \
  CALL int name(int folder, const char* path, int flags, ...) {                    \
    REAL(int, #name, int, const char*, int, ...);                                  \
    va_list arguments;                                                             \
    va_start(arguments, flags);                                                    \
    const mode_t mode = ModeOf(flags, arguments);                                  \
    va_end(arguments);                                                             \
    return OpenWith(path, flags, [&] { return real(folder, path, flags, mode); }); \
  }
OPENAT(openat)
OPENAT(openat64)

CALL ssize_t read(int handle, void* bytes, std::size_t count) {
  REAL(ssize_t, "read", int, void*, std::size_t);
  return Transfer(call_t::read, handle, count, [&](std::size_t size) { return real(handle, bytes, size); });
}

CALL ssize_t write(int handle, const void* bytes, std::size_t count) {
  REAL(ssize_t, "write", int, const void*, std::size_t);
  const off_t at = HandleOf(handle) == nullptr ? 0 : ::lseek(handle, 0, SEEK_CUR);
  return WriteWith(handle, bytes, count, at, [&](std::size_t size) { return real(handle, bytes, size); });
}

#define PREAD(name, offset_t)                                                                                      \
  CALL ssize_t name(int handle, void* bytes, std::size_t count, offset_t at) {                                     \
    REAL(ssize_t, #name, int, void*, std::size_t, offset_t);                                                       \
    return Transfer(call_t::read, handle, count, [&](std::size_t size) { return real(handle, bytes, size, at); }); \
  }
PREAD(pread, off_t)
PREAD(pread64, off64_t)

#define PWRITE(name, offset_t)                                                                                   \
  CALL ssize_t name(int handle, const void* bytes, std::size_t count, offset_t at) {                             \
    REAL(ssize_t, #name, int, const void*, std::size_t, offset_t);                                               \
    return WriteWith(handle, bytes, count, at, [&](std::size_t size) { return real(handle, bytes, size, at); }); \
  }
PWRITE(pwrite, off_t)
PWRITE(pwrite64, off64_t)

CALL int fsync(int handle) { return Sync(handle, "fsync"); }
CALL int fdatasync(int handle) { return Sync(handle, "fdatasync"); }

#define FTRUNCATE(name, offset_t)                                          \
  CALL int name(int handle, offset_t length) noexcept {                    \
    REAL(int, #name, int, offset_t);                                       \
    return Truncate(handle, length, [&] { return real(handle, length); }); \
  }
FTRUNCATE(ftruncate, off_t)
FTRUNCATE(ftruncate64, off64_t)

// A handle is given back whatever is told.
CALL int close(int handle) {
  REAL(int, "close", int);
  const auto* const file = HandleOf(handle);
  if (file == nullptr) return real(handle);
  const int error = theLayer->Count(file->isWritten ? call_t::closeWritten : call_t::close);
  theLayer->Closed(handle);
  const int result = real(handle);
  if (error == 0) return result;
  errno = error;
  return -1;
}

CALL int rename(const char* from, const char* to) noexcept {
  REAL(int, "rename", const char*, const char*);
  return OnNames(call_t::rename, CFileLayer::rename, from, to, [&] { return real(from, to); });
}

CALL int unlink(const char* path) noexcept {
  REAL(int, "unlink", const char*);
  return OnNames(call_t::unlink, CFileLayer::remove, path, nullptr, [&] { return real(path); });
}

CALL int remove(const char* path) noexcept {
  REAL(int, "remove", const char*);
  return OnNames(call_t::unlink, CFileLayer::remove, path, nullptr, [&] { return real(path); });
}

CALL int mkdir(const char* path, mode_t mode) noexcept {
  REAL(int, "mkdir", const char*, mode_t);
  return OnNames(call_t::makeFolder, CFileLayer::makeFolder, path, nullptr, [&] { return real(path, mode); });
}

#define LOOK(name, stat_t)                                                \
  CALL int name(const char* path, struct stat_t* found) noexcept {        \
    REAL(int, #name, const char*, struct stat_t*);                        \
    return OnPath(call_t::look, path, [&] { return real(path, found); }); \
  }
LOOK(stat, stat)
LOOK(stat64, stat64)
LOOK(lstat, stat)
LOOK(lstat64, stat64)

#define FSTAT(name, stat_t)                                                     \
  CALL int name(int handle, struct stat_t* found) noexcept {                    \
    REAL(int, #name, int, struct stat_t*);                                      \
    return OnHandle(call_t::look, handle, [&] { return real(handle, found); }); \
  }
FSTAT(fstat, stat)
FSTAT(fstat64, stat64)

CALL ssize_t readlink(const char* path, char* target, std::size_t size) noexcept {
  REAL(ssize_t, "readlink", const char*, char*, std::size_t);
  return OnPath(call_t::look, path, [&] { return static_cast<int>(real(path, target, size)); });
}

CALL int faccessat(int folder, const char* path, int rights, int flags) noexcept {
  REAL(int, "faccessat", int, const char*, int, int);
  return OnPath(call_t::look, path, [&] { return real(folder, path, rights, flags); });
}

CALL int access(const char* path, int rights) noexcept {
  REAL(int, "access", const char*, int);
  return OnPath(call_t::look, path, [&] { return real(path, rights); });
}

CALL int fchown(int handle, uid_t owner, gid_t group) noexcept {
  REAL(int, "fchown", int, uid_t, gid_t);
  return OnHandle(call_t::rights, handle, [&] { return real(handle, owner, group); });
}

CALL int fchmod(int handle, mode_t mode) noexcept {
  REAL(int, "fchmod", int, mode_t);
  return OnHandle(call_t::rights, handle, [&] { return real(handle, mode); });
}

CALL int flock(int handle, int operation) noexcept {
  REAL(int, "flock", int, int);
  return OnHandle(call_t::lock, handle, [&] { return real(handle, operation); });
}

#define FCNTL(name)                                                                         \
  CALL int name(int handle, int command, ...) {                                             \
    REAL(int, #name, int, int, ...);                                                        \
    va_list arguments;                                                                      \
    va_start(arguments, command);                                                           \
    void* const argument = va_arg(arguments, void*);                                        \
    va_end(arguments);                                                                      \
    if (command != F_SETLK && command != F_SETLKW) return real(handle, command, argument);  \
    return OnHandle(call_t::lock, handle, [&] { return real(handle, command, argument); }); \
  }
FCNTL(fcntl)
FCNTL(fcntl64)

#define READDIR(name, entry_t)                    \
  CALL struct entry_t* name(DIR* folder) {        \
    REAL(struct entry_t*, #name, DIR*);           \
    struct entry_t* entry = nullptr;              \
    OnHandle(call_t::list, ::dirfd(folder), [&] { \
      entry = real(folder);                       \
      return 0;                                   \
    });                                           \
    return entry;                                 \
  }
READDIR(readdir, dirent)
READDIR(readdir64, dirent64)

// The C library opens and closes what it lists by itself.
CALL DIR* opendir(const char* path) {
  REAL(DIR*, "opendir", const char*);
  CFileLayer* const layer = LayerOf(path);
  if (layer == nullptr) return real(path);
  if (Fails(call_t::openFolder)) return nullptr;
  DIR* const folder = real(path);
  if (folder != nullptr) layer->Opened(::dirfd(folder), Normal(path), O_DIRECTORY, true);
  return folder;
}

CALL int closedir(DIR* folder) {
  REAL(int, "closedir", DIR*);
  if (theLayer != nullptr) theLayer->Closed(::dirfd(folder));
  return real(folder);
}
