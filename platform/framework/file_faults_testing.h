// For tests: the system's calls on the files of one folder, which are counted, can fail, and after which the power can
// be lost at any moment.
//
//   file_faults_testing::CFileLayer layer(folder);
//   layer.Start({.call = 3, .error = ENOSPC});           // the third call from now on tells that the disk is full
//   document.Save(folder.PathOf("a.ini"));
//   layer.Stop();
//
//   layer.Record();
//   document.Save(folder.PathOf("a.ini"));
//   layer.Stop();
//   layer.ForEachPowerLoss(other.Native(), [&](bool isOver) { ... other holds what a disk could hold then ... });
//
// The calls come from any library of the program, the system's own excepted: the .cpp defines open, pwrite, rename and
// the others, and libraries find these before those of the C library. Nothing in the libraries knows of it. It is
// linked into programs with ENABLE_EXPORTS. With std::ofstream and std::ifstream, and under _FORTIFY_SOURCE, calls go
// other ways, and are not seen. Files of 64-bit systems only.
//
// Nothing is really synchronised with the device, which makes tests fast. One layer at a time, one thread.
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <span>
#include <string>
#include <vector>

namespace file_faults_testing {

/// Calls that fail alike. `closeWritten` closes what was written and not synchronised; `look` asks for what is there
/// (stat, readlink, access), `rights` changes owner or mode, `list` reads a folder's names.
enum class call_t {
  open,
  openFolder,
  read,
  write,
  sync,
  syncFolder,
  truncate,
  rename,
  close,
  closeWritten,
  unlink,
  makeFolder,
  look,
  rights,
  lock,
  list,
};
const char* NameOf(call_t call);

/// In place of an error: the call does half of what it was asked for, and succeeds.
inline constexpr int kShort = -1;

struct fault_t {
  int call = 0;  ///< from 1; 0: none
  int error = 0;
  bool isLasting = false;  ///< all later calls that take room (open, write, makeFolder) fail too
};

/// What each call can fail with, kShort among it.
std::span<const int> ErrorsOf(call_t call);

/// Nothing of the whole program is synchronised with the device from now on, as it is while there is a layer.
void SkipSynchronising();

class CFileLayer {
 public:
  /// Of this folder and all below it. It is there as long as the layer.
  explicit CFileLayer(const std::filesystem::path& folder);
  CFileLayer(const CFileLayer&) = delete;
  CFileLayer& operator=(const CFileLayer&) = delete;
  ~CFileLayer();

  /// Counts from now on, until Stop.
  void Start(const fault_t& fault = {});
  /// The same without a fault; what is there counts as known to the device, and what changes then is kept.
  void Record();
  void Stop();

  /// Since Start, in their order.
  const std::vector<call_t>& GetCalls() const { return calls_; }

  /// Replays what was recorded, up to each change, and drops of what was not synchronised all, nothing and parts: the
  /// folders' later changes (names made, renamed, removed) from each on; of the files' later bytes all, the second
  /// half, all but the last write, or half of the last; or zeros stand in their place. `into` is filled with each state
  /// that is different from those before. `isOver`: everything was done when the power went.
  /// Returns the number of states.
  int ForEachPowerLoss(const std::filesystem::path& into, const std::function<void(bool isOver)>& visit) const;

  // --- for the calls themselves
  struct handle_t {
    std::string path;
    std::size_t file;
    bool isFolder;
    bool isWritten;  // and not synchronised since
  };
  enum change_kind_t { make, makeFolder, write, truncate, sync, rename, remove, syncFolder };
  struct change_t {
    change_kind_t kind;
    std::string path, to;
    std::size_t file = 0;
    std::uint64_t at = 0;
    std::string bytes;
  };
  /// Null while there is none.
  static CFileLayer* Get();
  bool Owns(const std::string& path) const;
  handle_t* Find(int handle);
  /// 0, or the error to tell, or kShort.
  int Count(call_t call);
  void Opened(int handle, const std::string& path, int flags, bool wasThere);
  void Closed(int handle) { handles_.erase(handle); }
  void Keep(change_t change);
  bool IsRecording() const { return isRecording_; }

 private:
  struct node_t {
    bool isFolder = false;
    std::string link;  // where it leads
    std::size_t file = 0;
  };
  using names_t = std::map<std::string, node_t>;
  std::string ContentOf(std::size_t file, std::size_t changes, int variant) const;
  static void Apply(const change_t& change, names_t& names);
  static void Apply(const change_t& change, std::string& bytes);
  static void Fill(const std::filesystem::path& into, const names_t& names, const std::vector<std::string>& contents);

  std::string folder_;
  std::map<int, handle_t> handles_;
  std::vector<call_t> calls_;
  fault_t fault_;
  bool isCounting_ = false, isRecording_ = false;
  names_t atStart_, now_;              // relative to the folder
  std::vector<std::string> contents_;  // of the files, as they were at the start
  std::vector<change_t> changes_;
};

}  // namespace file_faults_testing
