// The serialization buffer beside the growing byte stores that one would take instead of it: many small writes, and
// short messages that are built, read and thrown away.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <memory_resource>
#include <string>
#include <string_view>

#include "bench/opaque.h"
#include "util/serialization/serialization_buffer.h"

#if ZORUTIL_BENCH_QT
#include <QByteArray>
#include <QDataStream>
#include <QIODevice>
#endif

namespace {

using zorutil::CSerializationBuffer;
using zorutil::ISerializer;

constexpr unsigned kStep = 16;
constexpr unsigned kStream = 100u << 20;
constexpr unsigned kMessage = 4096;

struct record_t {
  char bytes[kStep];
};

const record_t kRecord = {"0123456789abcde"};

// ---- one store for each way: Put and Take move 16 bytes

struct ours_t {
  void Put(const record_t& record) { buffer.Write(&record, sizeof record); }
  void Take(record_t& record) { buffer.Read(&record, sizeof record); }
  CSerializationBuffer buffer;
};

// As records see it: the compiler does not know which serializer it is.
struct ours_as_interface_t {
  void Put(const record_t& record) { stream->Write(&record, step); }
  void Take(record_t& record) { stream->Read(&record, step); }
  CSerializationBuffer buffer;
  ISerializer* stream = Opaque<ISerializer*>(&buffer);
  unsigned step = Opaque(kStep);
};

template <class Deque>
struct deque_t {
  void Put(const record_t& record) { bytes.insert(bytes.end(), record.bytes, record.bytes + sizeof record); }
  void Take(record_t& record) {
    std::copy_n(bytes.begin(), sizeof record, record.bytes);
    bytes.erase(bytes.begin(), bytes.begin() + sizeof record);
  }
  Deque bytes;
};
using std_deque_t = deque_t<std::deque<char>>;

struct pooled_deque_t : deque_t<std::pmr::deque<char>> {
  pooled_deque_t() : deque_t{std::pmr::deque<char>(&Pool())} {}
  static std::pmr::memory_resource& Pool() {
    static std::pmr::synchronized_pool_resource pool;
    return pool;
  }
};

#if ZORUTIL_BENCH_QT
struct q_data_stream_t {
  void Put(const record_t& record) { stream.writeRawData(record.bytes, sizeof record); }
  void Take(record_t& record) {
    if (!reading) reading = stream.device()->seek(0);
    stream.readRawData(record.bytes, sizeof record);
  }
  QByteArray bytes;
  QDataStream stream{&bytes, QIODevice::ReadWrite};
  bool reading = false;
};

// Reads from the front by removing what was read; QByteArray moves its beginning instead of its bytes.
struct q_byte_array_t {
  void Put(const record_t& record) { bytes.append(record.bytes, sizeof record); }
  void Take(record_t& record) {
    std::memcpy(record.bytes, bytes.constData(), sizeof record);
    bytes.remove(0, sizeof record);
  }
  QByteArray bytes;
};

// Reads by an offset and gives nothing back before the end.
struct q_byte_array_offset_t {
  void Put(const record_t& record) { bytes.append(record.bytes, sizeof record); }
  void Take(record_t& record) {
    std::memcpy(record.bytes, bytes.constData() + offset, sizeof record);
    offset += sizeof record;
  }
  QByteArray bytes;
  qsizetype offset = 0;
};
#endif

// ---- the work

template <class Store>
void Stream(benchmark::State& state) {
  const record_t* const record = Opaque(&kRecord);
  for (auto _ : state) {
    Store store;
    for (unsigned done = 0; done < kStream; done += kStep) store.Put(*record);
    benchmark::DoNotOptimize(store);
  }
  state.SetBytesProcessed(state.iterations() * kStream);
}

// In a process whose heap keeps what was freed, as a busy one's does, no time goes into fresh pages.
void KeepMemory(const benchmark::State&) {
  mallopt(M_MMAP_THRESHOLD, 32 << 20);
  mallopt(M_TRIM_THRESHOLD, 1 << 30);
}

template <class Store>
void BuildAndRead(const record_t& record) {
  Store store;
  record_t read;
  for (unsigned done = 0; done < kMessage; done += kStep) store.Put(record);
  for (unsigned done = 0; done < kMessage; done += kStep) {
    store.Take(read);
    benchmark::DoNotOptimize(read);
  }
  benchmark::DoNotOptimize(store);
}

template <class Store>
void Message(benchmark::State& state) {
  const record_t* const record = Opaque(&kRecord);
  for (auto _ : state) BuildAndRead<Store>(*record);
}

template <class Store>
void Register(const char* work, const char* who) {
  const std::string name = std::string(work) + "/" + who;
  const std::string_view title = work;
  if (title.starts_with("100 MiB")) {
    auto* const stream = benchmark::RegisterBenchmark(name.c_str(), Stream<Store>)->Unit(benchmark::kMillisecond);
    if (title.ends_with("kept heap")) stream->Setup(KeepMemory);
  } else {
    auto* const message = benchmark::RegisterBenchmark(name.c_str(), Message<Store>);
    if (title.ends_with("two threads")) message->Threads(2);
  }
}

// The kept heap last: once kept, it stays so.
const int kRegistered = [] {
  for (const char* work : {"message of 4 KiB in steps of 16 B", "message of 4 KiB, two threads",
                           "100 MiB in writes of 16 B", "100 MiB in writes of 16 B, kept heap"}) {
    Register<ours_t>(work, "ours");
    Register<ours_as_interface_t>(work, "ours as interface");
    Register<std_deque_t>(work, "std::deque");
    Register<pooled_deque_t>(work, "std::pmr::deque");
#if ZORUTIL_BENCH_QT
    Register<q_data_stream_t>(work, "QDataStream");
    Register<q_byte_array_t>(work, "QByteArray");
    Register<q_byte_array_offset_t>(work, "QByteArray by offset");
#endif
  }
  return 0;
}();

}  // namespace
