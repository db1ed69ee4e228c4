// The ways between an object and its table, for the .cpp files of this folder.
#pragma once

#include "util/objects/table.h"
#include "util/objects/table_obj.h"

/// As long as it lives, the object stays in its table, or in none. Few instructions long: who moves the object waits.
class CTableObj::table_visit_t {
 public:
  explicit table_visit_t(const CTableObj& object) noexcept : object_(object) { object.BeginVisit(0); }
  table_visit_t(const table_visit_t&) = delete;
  table_visit_t& operator=(const table_visit_t&) = delete;
  ~table_visit_t() { object_.references_.fetch_sub(kOneVisit, std::memory_order_release); }

  CTable* GetTable() const noexcept { return object_.table_.load(std::memory_order_relaxed); }

 private:
  const CTableObj& object_;
};

/// Holds a reference on the table in which the object was when this was made, if it was in one.
class CTableObj::table_pin_t {
 public:
  explicit table_pin_t(const CTableObj& object) noexcept {
    if (!object.IsInTable()) return;
    const table_visit_t visit(object);
    table_ = visit.GetTable();
    if (table_ != nullptr) table_->AddRefs(1);
  }
  table_pin_t(const table_pin_t&) = delete;
  table_pin_t& operator=(const table_pin_t&) = delete;
  ~table_pin_t() {
    if (table_ != nullptr) table_->RemoveRefs(1);
  }

  CTable* GetTable() const noexcept { return table_; }

 private:
  CTable* table_ = nullptr;
};
