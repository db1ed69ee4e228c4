// What the files of the table share.
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <utility>

#include "util/objects/table.h"
#include "util/objects/table_obj.h"

/// Destroys a record that a load made and the table did not get.
struct CTable::record_deleter_t {
  void operator()(CTableObj* record) const { CTableObj::Delete(record); }
};

/// Knows where a record stands, as long as the watch lives, whatever hooks do with it and with other records.
class CTable::CWatch {
 public:
  explicit CWatch(CTable& table) noexcept : table_(table), outer_(table.watches_) { table.watches_ = this; }
  CWatch(const CWatch&) = delete;
  CWatch& operator=(const CWatch&) = delete;
  ~CWatch() { table_.watches_ = outer_; }

  void Begin(unsigned index) noexcept { index_ = last_ = index; }
  bool WasThere() const noexcept { return last_ != invalid_index; }
  bool IsThere() const noexcept { return index_ != invalid_index; }
  /// Of a record that is there.
  unsigned GetIndex() const noexcept { return index_; }
  /// Of one that is gone, too: the index that it had.
  unsigned GetLastIndex() const noexcept { return last_; }

  // One record came, left, or all left. A move is a record that leaves and comes again.
  void OnPut(unsigned index, bool isMove) noexcept {
    if (IsThere()) {
      if (index <= index_) Begin(index_ + 1);
    } else if (isMove && isMoving_) {
      isMoving_ = false;
      Begin(index);
    }
  }
  void OnTake(unsigned index, bool isMove) noexcept {
    if (!IsThere() || index > index_) return;
    if (index == index_) {
      index_ = invalid_index;
      isMoving_ = isMove;
    } else {
      Begin(index_ - 1);
    }
  }
  void OnReset() noexcept { index_ = invalid_index; }
  CWatch* GetOuter() const noexcept { return outer_; }

 private:
  CTable& table_;
  CWatch* outer_;
  unsigned index_ = invalid_index;
  unsigned last_ = invalid_index;
  bool isMoving_ = false;
};

/// What is remembered of generated names: the last one; and while the table is being loaded, how far each run of
/// numbers got, so that a file of many equal names, or of some names by turns, costs a few look-ups for each record.
class CTable::CGeneratedNames {
 public:
  explicit CGeneratedNames(const CTable& table) : runs_(run_less_t{table}) {}

  CString lastBase;
  std::uint32_t lastNumber = 0;

  /// Runs are told by the text before the number, as the table compares names, and the width of the number. 0: none.
  std::uint64_t GetRun(const CString& base, unsigned width) const {
    const auto found = runs_.find({base, width});
    return found == runs_.end() ? 0 : found->second;
  }
  void SetRun(const CString& base, unsigned width, std::uint64_t position) { runs_[{base, width}] = position; }
  void ForgetRuns() noexcept { runs_.clear(); }

 private:
  using run_t = std::pair<CString, unsigned>;
  struct run_less_t {
    const CTable& table;
    bool operator()(const run_t& a, const run_t& b) const {
      const int order = table.OnCompare(a.first.GetString(), b.first.GetString());
      return order != 0 ? order < 0 : a.second < b.second;
    }
  };
  std::map<run_t, std::uint64_t, run_less_t> runs_;
};
