// Counting references while others move the object.
//
// A reference counts for the object, its table and everything above. Taking one climbs from the object to the root, and
// so does giving it back; putting the object into a table, or taking it out, carries its count along. The two must not
// see each other half done. So a climb is a visit (kOneVisit) on the object: SetTable waits until nobody visits, and
// keeps new visitors waiting (kMoving) until it is done. Climbs hold the visits of what they have passed and wait
// upwards only, so nobody waits in a circle.
//
// What keeps the objects on the way in memory: while a reference is taken, another one on the object, which counts
// above as well, for SetTable cannot have carried it away. While one is given back, that one: the object's count falls
// first, and what is still to be taken off above belongs to nobody else. After that step the object is not touched.

#include <thread>

#include "util/objects/table_obj_internal.h"

void CTableObj::BeginVisit(std::uint64_t references) const noexcept {
  std::uint64_t word = references_.load(std::memory_order_relaxed);
  for (;;) {
    if ((word & kMoving) != 0) {
      std::this_thread::yield();
      word = references_.load(std::memory_order_relaxed);
    } else if (references_.compare_exchange_weak(word, word + references + kOneVisit, std::memory_order_acquire,
                                                 std::memory_order_relaxed)) {
      return;
    }
  }
}

std::int32_t CTableObj::AddRefs(std::int32_t count) const noexcept {
  BeginVisit(static_cast<std::uint64_t>(count) * kOneReference);
  CTable* const table = table_.load(std::memory_order_relaxed);
  if (table != nullptr) table->AddRefs(count);
  return static_cast<std::int32_t>(references_.fetch_sub(kOneVisit, std::memory_order_release) >> kCountShift);
}

std::int32_t CTableObj::RemoveRefs(std::int32_t count) const noexcept {
  BeginVisit(0);
  CTable* const table = table_.load(std::memory_order_relaxed);
  const std::uint64_t taken = static_cast<std::uint64_t>(count) * kOneReference + kOneVisit;
  const std::uint64_t word = references_.fetch_sub(taken, std::memory_order_acq_rel) - taken;
  const auto left = static_cast<std::int32_t>(word >> kCountShift);
  if (table != nullptr) {
    table->RemoveRefs(count);
  } else if (left == 0 && (word & kDeletePending) != 0) {
    references_.fetch_and(~kDeletePending, std::memory_order_relaxed);
    delete this;
  }
  return left;
}

std::int32_t CTableObj::SetTable(CTable* table) noexcept {
  std::uint64_t word = references_.load(std::memory_order_acquire);
  if ((word & ~kDeletePending) == 0) {  // no reference: nobody but the caller may use the object
    table_.store(table, std::memory_order_release);
    return 0;
  }
  while ((word & kMoving) != 0 || !references_.compare_exchange_weak(word, word | kMoving, std::memory_order_acquire)) {
    std::this_thread::yield();
    word = references_.load(std::memory_order_relaxed);
  }
  while ((references_.load(std::memory_order_acquire) & kVisits) != 0) std::this_thread::yield();
  const std::int32_t count = GetRefCount();
  if (table != nullptr) table->AddRefs(count);
  table_.store(table, std::memory_order_release);
  references_.fetch_and(~kMoving, std::memory_order_release);
  return table != nullptr ? 0 : count;
}

void CTableObj::Delete() {
  {
    const table_pin_t pin(*this);
    if (pin.GetTable() != nullptr) pin.GetTable()->Remove(this);
  }
  // Who comes second, this or the last RemoveRef, sees both and destroys.
  const std::uint64_t word = references_.fetch_or(kDeletePending, std::memory_order_acq_rel);
  if (word >> kCountShift != 0) return;
  references_.fetch_and(~kDeletePending, std::memory_order_relaxed);
  delete this;
}

namespace zorutil {

object_lock_t::object_lock_t(const CTableObj& object) : object_lock_t(object, true) {}

object_lock_t::object_lock_t(const CTableObj& object, bool evenIfFree) : lock_(nullptr) {
  for (;;) {
    CTable* table = nullptr;
    {
      const CTableObj::table_visit_t visit(object);
      lock_ = object.GetLock();
      if (!evenIfFree && lock_ == CTableObj::GetFreeObjectsLock()) lock_ = nullptr;
      if (lock_ == nullptr || lock_->Lock(0)) return;
      // The lock is waited for without a visit, for its holder may be about to move the object. So something else must
      // keep the table.
      table = visit.GetTable();
      if (table != nullptr) table->AddRef();
    }
    lock_->Lock();
    const bool stays = object.GetLock() == lock_;
    if (!stays) lock_->Unlock();
    if (table != nullptr) table->RemoveRef();
    if (stays) return;
  }
}

}  // namespace zorutil
