#include "platform/registry/store_internal.h"

#include <pthread.h>
#include <stdlib.h>

#include <atomic>
#include <cassert>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <system_error>
#include <utility>

#include "platform/framework/native_path.h"
#include "platform/zorplatform/known_folders.h"

namespace registry {

namespace {

constexpr std::size_t kMaxIdle = 4;
constexpr std::chrono::milliseconds kForkPatience{100};

// Of the system, as all places here.
std::string StandardFile() {
  std::error_code failed;
  const char* const asked = ::secure_getenv("ZORUTIL_REGISTRY_FILE");
  if (asked != nullptr && *asked != '\0') return std::filesystem::absolute(asked, failed).string();
  static const std::string standard =
      (zorplatform::ToNativePath(zorplatform::GetKnownFolder(zorplatform::known_folder_t::machineData)) /
       "zorutil/registry.db")
          .string();
  return standard;
}

// The connections that wait for their next call, and where the registry is.
struct pool_t {
  std::mutex mutex;
  std::condition_variable quiet;
  std::vector<std::unique_ptr<CDatabase>> idle;
  std::string place;  // as it was set; empty for the standard
  int timeoutMs = 5000;
  int inUse = 0;
  // What the process had before it was forked: never touched again, for the locks on the file are the parent's.
  pool_t* abandoned = nullptr;
  // A connection was in use at the fork, so that the database library takes the parent's locks for ours.
  bool isUnsafe = false;
};

std::atomic<pool_t*> thePool{nullptr};

struct transaction_t;
thread_local transaction_t* theTransaction = nullptr;

// The parent waits a moment until nobody reads or writes, so that the child finds no lock that it has not.
void BeforeFork() {
  pool_t& pool = *thePool.load();
  std::unique_lock lock(pool.mutex);
  if (theTransaction == nullptr) pool.quiet.wait_for(lock, kForkPatience, [&] { return pool.inUse == 0; });
  lock.release();
}

void AfterForkInParent() { thePool.load()->mutex.unlock(); }

void AfterForkInChild() {
  pool_t* const old = thePool.load();
  auto* const pool = new pool_t;
  pool->place = old->place;
  pool->timeoutMs = old->timeoutMs;
  pool->abandoned = old;
  pool->isUnsafe = old->isUnsafe || old->inUse != 0;
  thePool = pool;
}

// Never destroyed: a thread may read while the process ends, and a connection at rest has nothing to save.
pool_t& Pool() {
  static const bool isReady = [] {
    thePool = new pool_t;
    ::pthread_atfork(BeforeFork, AfterForkInParent, AfterForkInChild);
    return true;
  }();
  static_cast<void>(isReady);
  return *thePool.load(std::memory_order_acquire);
}

std::string PlaceOf(const pool_t& pool) { return pool.place.empty() ? StandardFile() : pool.place; }

// A connection for as long as a call or a transaction lasts.
class CLoan {
 public:
  explicit CLoan(purpose_t purpose) : pool_(&Pool()) {
    std::string file;
    int timeoutMs = 0;
    {
      const std::lock_guard guard(pool_->mutex);
      file = PlaceOf(*pool_);
      if (pool_->isUnsafe) Fail(code_t::invalidHandle, file, "forked while the registry was in use");
      timeoutMs = pool_->timeoutMs;
      if (!pool_->idle.empty()) {
        database_ = std::move(pool_->idle.back());
        pool_->idle.pop_back();
      }
      ++pool_->inUse;
    }
    try {
      if (database_ == nullptr || !database_->IsCurrent(file, purpose)) {
        database_.reset();
        database_ = std::make_unique<CDatabase>(file, purpose);
      }
    } catch (...) {
      Return();
      throw;
    }
    database_->SetBusyTimeout(timeoutMs);
  }
  CLoan(const CLoan&) = delete;
  CLoan& operator=(const CLoan&) = delete;
  ~CLoan() {
    if (IsInherited()) {
      static_cast<void>(database_.release());
      return;
    }
    database_->Rollback();
    Return();
  }

  CDatabase& Get() const noexcept { return *database_; }
  /// Whether it is the parent's, from before a fork.
  bool IsInherited() const noexcept { return pool_ != thePool.load(std::memory_order_acquire); }
  /// After a failure the connection is not used again.
  void Spoil() noexcept { isSpoilt_ = true; }

 private:
  void Return() noexcept {
    if (isSpoilt_) database_.reset();
    const std::lock_guard guard(pool_->mutex);
    if (database_ != nullptr && pool_->idle.size() < kMaxIdle) {
      try {
        pool_->idle.push_back(std::move(database_));
      } catch (const std::bad_alloc&) {
      }
    }
    if (--pool_->inUse == 0) pool_->quiet.notify_all();
  }

  pool_t* pool_;
  std::unique_ptr<CDatabase> database_;
  bool isSpoilt_ = false;
};

struct transaction_t {
  explicit transaction_t(purpose_t wanted) : purpose(wanted), loan(wanted) {}

  purpose_t purpose;
  CLoan loan;
  status_t failure;
};

// Whether calls can be made in it; else throws.
void CheckUsable(const transaction_t& transaction, purpose_t purpose) {
  const std::string& file = transaction.loan.Get().GetFile();
  if (transaction.loan.IsInherited()) Fail(code_t::invalidHandle, file, "the transaction is the parent process's");
  if (!transaction.failure) throw failure_t{transaction.failure};
  if (purpose != purpose_t::read && transaction.purpose == purpose_t::read) {
    Fail(code_t::accessDenied, file, "write", "the transaction is for reading");
  }
}

status_t RunIn(transaction_t& transaction, purpose_t purpose, const work_t& work) {
  CheckUsable(transaction, purpose);
  try {
    return work(transaction.loan.Get());
  } catch (const failure_t& failure) {
    transaction.failure = failure.status;
    transaction.loan.Spoil();
    throw;
  } catch (...) {
    transaction.failure = {code_t::ioFailed, transaction.loan.Get().GetFile() + ": an earlier call ran out of memory"};
    transaction.loan.Spoil();
    throw;
  }
}

status_t RunAlone(purpose_t purpose, const work_t& work) {
  CLoan loan(purpose);
  try {
    loan.Get().Begin(purpose, true);
    status_t status = work(loan.Get());
    if (status || purpose == purpose_t::read) loan.Get().Commit();
    return status;
  } catch (...) {
    loan.Spoil();
    throw;
  }
}

}  // namespace

status_t Run(purpose_t purpose, const work_t& work) {
  try {
    return theTransaction == nullptr ? RunAlone(purpose, work) : RunIn(*theTransaction, purpose, work);
  } catch (const failure_t& failure) {
    return failure.status;
  }
}

// --- transactions --------------------------------------------------------------------------------------------------

struct CTransaction::state_t : transaction_t {
  using transaction_t::transaction_t;
};

CTransaction::CTransaction() noexcept = default;

CTransaction::~CTransaction() { Rollback(); }

status_t CTransaction::Begin(kind_t kind) {
  try {
    if (theTransaction != nullptr) {
      Fail(code_t::alreadyExists, theTransaction->loan.Get().GetFile(), "this thread has begun a transaction already");
    }
    auto begun = std::make_unique<state_t>(kind == write ? purpose_t::make : purpose_t::read);
    try {
      begun->loan.Get().Begin(begun->purpose, false);
    } catch (...) {
      begun->loan.Spoil();
      throw;
    }
    state_ = std::move(begun);
    theTransaction = state_.get();
    return {};
  } catch (const failure_t& failure) {
    return failure.status;
  }
}

status_t CTransaction::Commit() {
  if (state_ == nullptr) return {code_t::invalidHandle, "the transaction has not begun"};
  assert(theTransaction == state_.get());
  status_t status = Run(purpose_t::read, [](CDatabase& database) {
    database.Commit();
    return status_t{};
  });
  Rollback();
  return status;
}

void CTransaction::Rollback() noexcept {
  if (state_ == nullptr) return;
  assert(theTransaction == state_.get());
  theTransaction = nullptr;
  state_.reset();
}

// --- where it is ---------------------------------------------------------------------------------------------------

CString GetRegistryFile() {
  pool_t& pool = Pool();
  const std::lock_guard guard(pool.mutex);
  return zorplatform::FromNativePath(PlaceOf(pool));
}

void SetRegistryFile(const CString& path) {
  std::error_code failed;
  std::string place;
  if (!path.IsEmpty()) place = std::filesystem::absolute(zorplatform::ToNativePath(path), failed).string();
  pool_t& pool = Pool();
  const std::lock_guard guard(pool.mutex);
  pool.place.swap(place);
}

void SetBusyTimeout(int timeoutMs) {
  pool_t& pool = Pool();
  const std::lock_guard guard(pool.mutex);
  pool.timeoutMs = timeoutMs;
}

}  // namespace registry
