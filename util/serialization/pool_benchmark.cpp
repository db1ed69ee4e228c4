// Elements of one size and blocks of a private heap, beside other pools and the general heap: one thread, two threads
// on one pool, and elements that one thread takes and another gives back.
#include <benchmark/benchmark.h>
#include <dlfcn.h>

#include <array>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <memory_resource>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "util/serialization/pool.h"
#include "util/serialization/private_heap.h"

#if ZORUTIL_BENCH_BOOST
#include <boost/pool/singleton_pool.hpp>
#endif
#if ZORUTIL_BENCH_POCO
#include <Poco/MemoryPool.h>
#endif

namespace {

constexpr unsigned kElement = 264;
constexpr unsigned kChunk = 0x100000;

// ---- the sources of memory

struct ours_t {
  zorpool::CPool pool{kElement, kChunk, nullptr, false};
  void* Take(unsigned size) { return pool.Alloc(size); }
  void Give(void* p, unsigned size) { pool.Free(p, size); }
};

struct small_chunks_t {
  zorpool::CPool pool{kElement, 0x10000, nullptr, false};
  void* Take(unsigned size) { return pool.Alloc(size); }
  void Give(void* p, unsigned size) { pool.Free(p, size); }
};

struct heap_t {
  zorpool::CPrivateHeap heap;
  void* held = heap.Alloc(1);  // a heap in use, not one that comes and goes with each block
  void* Take(unsigned size) { return heap.Alloc(size); }
  void Give(void* p, unsigned size) { heap.Free(p, size); }
};
// One that is made for each block and goes with it.
struct idle_heap_t {
  zorpool::CPrivateHeap heap;
  void* Take(unsigned size) { return heap.Alloc(size); }
  void Give(void* p, unsigned size) { heap.Free(p, size); }
};

struct malloc_t {
  void* Take(unsigned size) { return std::malloc(size); }
  void Give(void* p, unsigned) { std::free(p); }
};

struct pmr_t {
  std::pmr::synchronized_pool_resource pool;
  void* Take(unsigned size) { return pool.allocate(size); }
  void Give(void* p, unsigned size) { pool.deallocate(p, size); }
};

#if ZORUTIL_BENCH_BOOST
struct boost_t {
  struct tag_t {};
  using pool_t = boost::singleton_pool<tag_t, kElement>;
  static_assert(!std::is_same_v<pool_t::mutex, boost::details::pool::null_mutex>);
  void* Take(unsigned) { return pool_t::malloc(); }
  void Give(void* p, unsigned) { pool_t::free(p); }
};
#endif

#if ZORUTIL_BENCH_POCO
struct poco_t {
  Poco::MemoryPool pool{kElement, kChunk / kElement};
  void* Take(unsigned) { return pool.get(); }
  void Give(void* p, unsigned) { pool.release(p); }
};
#endif

// Called by name, so that the program's own malloc stays what it is.
class mimalloc_t {
 public:
  void* Take(unsigned size) { return malloc_(size); }
  void Give(void* p, unsigned) { free_(p); }
  static bool IsThere() { return malloc_ != nullptr && free_ != nullptr; }

 private:
  template <class Function>
  static Function* Find(const char* name) {
    static void* const library = dlopen("libmimalloc.so.2", RTLD_NOW | RTLD_LOCAL);
    return library != nullptr ? reinterpret_cast<Function*>(dlsym(library, name)) : nullptr;
  }
  static inline void* (*const malloc_)(std::size_t) = Find<void*(std::size_t)>("mi_malloc");
  static inline void (*const free_)(void*) = Find<void(void*)>("mi_free");
};

// ---- the works

template <class Source>
void Pair(benchmark::State& state) {
  Source source;
  for (auto _ : state) {
    void* p = source.Take(kElement);
    benchmark::DoNotOptimize(p);
    source.Give(p, kElement);
  }
}

// A working set whose blocks are replaced in no order.
template <class Source>
void Replace(benchmark::State& state, unsigned smallest, unsigned largest) {
  Source source;
  std::mt19937 random(1);
  struct block_t {
    void* at;
    unsigned size;
  };
  std::array<unsigned, 4096> sizes;
  for (unsigned& size : sizes) size = smallest + static_cast<unsigned>(random()) % (largest - smallest + 1);
  std::array<std::uint16_t, 4096> places;
  std::vector<block_t> live;
  for (unsigned i = 0; i != 1000; ++i) live.push_back({source.Take(sizes[i]), sizes[i]});
  for (std::uint16_t& place : places) place = static_cast<std::uint16_t>(random() % live.size());
  std::size_t i = 0;
  for (auto _ : state) {
    block_t& block = live[places[i]];
    source.Give(block.at, block.size);
    block = {source.Take(sizes[i]), sizes[i]};
    benchmark::DoNotOptimize(block.at);
    i = (i + 1) % sizes.size();
  }
  for (const block_t& block : live) source.Give(block.at, block.size);
}

// Takes elements of a thousand blocks of 64 KiB and gives them back in order.
template <class Source>
void Burst(benchmark::State& state) {
  constexpr std::size_t kElements = 248 * 1000;
  std::vector<void*> live(kElements);
  for (auto _ : state) {
    Source source;
    const auto start = std::chrono::steady_clock::now();
    for (void*& p : live) p = source.Take(kElement);
    for (void* p : live) source.Give(p, kElement);
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(took.count() / kElements);
  }
}

// Runs two works at once; the time of one pair.
template <class One, class Two>
void Together(benchmark::State& state, std::size_t pairs, One one, Two two) {
  for (auto _ : state) {
    std::atomic<int> ready{0};
    const auto run = [&](auto& work) {
      ++ready;
      while (ready != 2) continue;
      work();
    };
    const auto start = std::chrono::steady_clock::now();
    std::thread other([&] { run(two); });
    run(one);
    other.join();
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    state.SetIterationTime(took.count() / static_cast<double>(pairs));
  }
}

template <class Source>
void TwoThreads(benchmark::State& state) {
  constexpr std::size_t kPairs = 1'000'000;
  Source source;
  const auto work = [&] {
    for (std::size_t i = 0; i != kPairs; ++i) {
      void* p = source.Take(kElement);
      benchmark::DoNotOptimize(p);
      source.Give(p, kElement);
    }
  };
  Together(state, 2 * kPairs, work, work);
}

template <class Source>
void HandOver(benchmark::State& state) {
  constexpr std::size_t kPairs = 1'000'000;
  constexpr std::size_t kPlaces = 256;
  Source source;
  std::array<std::atomic<void*>, kPlaces> ring{};
  // Who finds the ring full or empty lets the other one run: with fewer processors than threads it would wait long.
  const auto await = [](auto isDone) {
    for (int spin = 0; !isDone(); ++spin) {
      if (spin > 1000) std::this_thread::yield();
    }
  };
  Together(
      state, kPairs,
      [&] {
        for (std::size_t i = 0; i != kPairs; ++i) {
          void* p = source.Take(kElement);
          *static_cast<std::size_t*>(p) = i;
          auto& place = ring[i % kPlaces];
          await([&] { return place.load(std::memory_order_relaxed) == nullptr; });
          place.store(p, std::memory_order_release);
        }
      },
      [&] {
        for (std::size_t i = 0; i != kPairs; ++i) {
          void* p = nullptr;
          auto& place = ring[i % kPlaces];
          await([&] { return (p = place.load(std::memory_order_acquire)) != nullptr; });
          place.store(nullptr, std::memory_order_relaxed);
          if (*static_cast<std::size_t*>(p) != i) std::abort();
          source.Give(p, kElement);
        }
      });
}

template <class Run, class... Args>
auto* Add(const std::string& name, Run run, Args... args) {
  return benchmark::RegisterBenchmark(name.c_str(), run, args...);
}

template <class Source>
void AddPool(const std::string& who) {
  Add("pool pair/" + who, Pair<Source>);
  Add("pool pair, two threads/" + who, TwoThreads<Source>)->UseManualTime()->Iterations(5);
  Add("pool hand-over/" + who, HandOver<Source>)->UseManualTime()->Iterations(5);
}

template <class Source>
void AddHeap(const std::string& who) {
  Add("private heap pair/" + who, Pair<Source>);
  Add("private heap pair, two threads/" + who, TwoThreads<Source>)->UseManualTime()->Iterations(5);
  Add("private heap replace 16 to 512 B/" + who, Replace<Source>, 16u, 512u);
  Add("private heap replace 1 to 16 KiB/" + who, Replace<Source>, 1024u, 16384u);
}

[[maybe_unused]] const bool registered = [] {
  AddPool<ours_t>("ours");
#if ZORUTIL_BENCH_BOOST
  AddPool<boost_t>("Boost singleton_pool");
#endif
#if ZORUTIL_BENCH_POCO
  AddPool<poco_t>("Poco MemoryPool");
#endif
  AddPool<pmr_t>("synchronized_pool_resource");
  AddPool<malloc_t>("malloc");
  if (mimalloc_t::IsThere()) AddPool<mimalloc_t>("mi_malloc");
  Add("pool burst of 1000 blocks/ours", Burst<small_chunks_t>)->UseManualTime()->Iterations(5);
  Add("pool burst of 1000 blocks/malloc", Burst<malloc_t>)->UseManualTime()->Iterations(5);
  AddHeap<heap_t>("ours");
  AddHeap<malloc_t>("malloc");
  if (mimalloc_t::IsThere()) AddHeap<mimalloc_t>("mi_malloc");
  Add("private heap made for one block/ours", Pair<idle_heap_t>);
  return true;
}();

}  // namespace
