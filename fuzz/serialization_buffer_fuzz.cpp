// Two buffers and a chain that is passed between them, worked by the input's bytes, beside models that are plain bytes.
// Some writes meet an allocation that fails; for that, the pool's first chunk is all but used up.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <new>
#include <span>
#include <utility>
#include <vector>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/mem_file.h"
#include "platform/zorplatform/exception.h"
#include "util/serialization/serialization_buffer.h"

namespace {

using allocation_testing::allocationsLeft;
using zorutil::buffers_t, zorutil::buffer_t, zorutil::CSerializationBuffer;
using bytes_t = std::vector<unsigned char>;

constexpr std::size_t kLargest = 16 * 1024;

void Require(bool claim) {
  if (!claim) std::abort();
}

// What a chain holds, and how much of it was read.
struct model_t {
  bytes_t bytes;
  std::size_t read = 0;

  std::size_t Size() const { return bytes.size() - read; }
  void Add(const bytes_t& more) { bytes.insert(bytes.end(), more.begin(), more.end()); }
  // A block is given up when its last byte is read.
  void Take(std::size_t n) {
    read += n;
    const std::size_t given = read == bytes.size() ? read : read / buffer_t::kPayload * buffer_t::kPayload;
    bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(given));
    read -= given;
  }
};

struct pair_t {
  CSerializationBuffer buffer;
  model_t model;
};

void CheckChain(const buffers_t* chain, const bytes_t& bytes) {
  std::size_t at = 0;
  unsigned blocks = 0;
  if (chain != nullptr) {
    for (const buffer_t& block : *chain) {
      Require(block.fill == std::min<std::size_t>(buffer_t::kPayload, bytes.size() - at));
      Require(std::equal(block.data, block.data + block.fill, bytes.begin() + static_cast<std::ptrdiff_t>(at)));
      at += block.fill;
      ++blocks;
    }
    Require(chain->size() == blocks && chain->bytes() == at && chain->empty() == (blocks == 0));
  }
  Require(at == bytes.size());
}

void Check(const pair_t& pair) {
  Require(pair.buffer.size() == pair.model.Size());
  CheckChain(pair.buffer.Peek().get(), pair.model.bytes);
}

class CInput {
 public:
  CInput(const std::uint8_t* data, std::size_t size) : at_(data), end_(data + size) {}
  bool IsEmpty() const { return at_ == end_; }
  unsigned Next() { return at_ == end_ ? 0 : *at_++; }
  // Mostly small, at times a few blocks.
  unsigned NextCount() {
    const unsigned value = Next();
    return value < 0xC0 ? value : (value - 0xC0) * 16 + Next() % 16;
  }
  bytes_t NextBytes() {
    bytes_t bytes(NextCount());
    for (unsigned char& byte : bytes) byte = static_cast<unsigned char>(++seed_ * 167 >> 3);
    return bytes;
  }

 private:
  const std::uint8_t* at_;
  const std::uint8_t* end_;
  unsigned seed_ = 0;
};

void Read(pair_t& pair, unsigned n) {
  bytes_t taken(n);
  const std::size_t had = std::min<std::size_t>(n, pair.model.Size());
  const auto first = pair.model.bytes.begin() + static_cast<std::ptrdiff_t>(pair.model.read);
  const bytes_t expected(first, first + static_cast<std::ptrdiff_t>(had));
  bool threw = false;
  try {
    pair.buffer.Read(taken.data(), n);
  } catch (const zorplatform::CException& error) {
    threw = error.GetCode() == -1;
  }
  Require(threw == (n > had));
  Require(std::equal(expected.begin(), expected.end(), taken.begin()));
  pair.model.Take(had);
}

// What found room before an allocation failed stays; which bytes these are, Check tells.
void WriteAndFail(pair_t& pair, const bytes_t& bytes, int succeed) {
  const unsigned before = pair.buffer.size();
  std::size_t added = bytes.size();
  allocationsLeft = succeed;
  try {
    pair.buffer.Write(bytes.data(), static_cast<unsigned>(bytes.size()));
    allocationsLeft = -1;
  } catch (const std::bad_alloc&) {
    allocationsLeft = -1;
    added = pair.buffer.size() - before;
    Require(added < bytes.size());
  }
  pair.model.Add(bytes_t(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(added)));
}

void FromFile(pair_t& pair, const bytes_t& bytes, unsigned position, unsigned most) {
  CMemFile file(std::as_bytes(std::span(bytes)));
  file.Seek(position, CFile::begin);
  pair.buffer.FromFile(file, most);
  if (position >= bytes.size()) return;
  const std::size_t count = std::min<std::size_t>(most, bytes.size() - position);
  Require(file.GetPosition() == position + count);
  const auto first = bytes.begin() + position;
  pair.model.Add(bytes_t(first, first + static_cast<std::ptrdiff_t>(count)));
}

void ToFile(pair_t& pair, bool moves) {
  CMemFile file;
  if (moves) {
    const bool had = !pair.model.bytes.empty();
    pair.buffer.MoveToFile(file);
    Require(!had || pair.buffer.Peek() == nullptr);
  } else {
    pair.buffer.CopyToFile(file);
  }
  const bytes_t& bytes = pair.model.bytes;
  Require(std::ranges::equal(file.GetContent(), std::as_bytes(std::span(bytes))));
  if (moves) pair.model = {};
}

// The blocks of `a` from their beginning, as far as they go.
bool IsEqual(const model_t& a, const model_t& b) {
  if (a.Size() != b.Size()) return false;
  if (a.Size() == 0) return true;
  if (a.bytes.size() > b.bytes.size()) return false;
  const bool sameFills = a.bytes.size() == b.bytes.size() || a.bytes.size() % buffer_t::kPayload == 0;
  return sameFills && std::equal(a.bytes.begin(), a.bytes.end(), b.bytes.begin());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<void*> used = [] {
    zorpool::IPool& pool = buffer_t::pool_factory_t()(buffers_t::kNodeSize);
    std::vector<void*> nodes(0x100000 / buffers_t::kNodeSize - 8);
    for (void*& node : nodes) node = pool.Alloc(buffers_t::kNodeSize);
    return nodes;
  }();
  CInput input(data, size);
  pair_t pairs[2];
  std::shared_ptr<buffers_t> chain;
  bytes_t chained;
  while (!input.IsEmpty()) {
    const unsigned step = input.Next();
    pair_t& one = pairs[step & 1];
    pair_t& other = pairs[(step & 1) ^ 1];
    const bool grows = one.model.bytes.size() < kLargest;
    switch (step / 2 % 12) {
      case 0:
        if (const bytes_t bytes = input.NextBytes(); grows) {
          one.buffer.Write(bytes.data(), static_cast<unsigned>(bytes.size()));
          one.model.Add(bytes);
        }
        break;
      case 1: Read(one, input.NextCount()); break;
      case 2:
        chain = one.buffer.Detach();
        chained = one.model.bytes;
        one.model = {};
        Require(one.buffer.Peek() == nullptr);
        break;
      case 3:
        one.buffer.Attach(std::move(chain));
        one.model = {std::move(chained), 0};
        chain = nullptr;
        chained.clear();
        break;
      case 4:
        if (!grows) break;
        one.buffer.Append(one.buffer.Peek());
        one.model.Add(bytes_t(one.model.bytes));
        break;
      case 5:
        if (!grows) break;
        one.buffer.Append(other.buffer.Peek());
        one.model.Add(other.model.bytes);
        break;
      case 6:
        if (!grows) break;
        one.buffer.Append(chain);
        one.model.Add(chained);
        break;
      case 7: ToFile(one, input.Next() % 2 == 0); break;
      case 8: {
        const bytes_t bytes = input.NextBytes();
        const unsigned position = input.NextCount(), most = input.NextCount();
        if (grows) FromFile(one, bytes, position, most);
        break;
      }
      case 9:
        one.buffer = std::move(other.buffer);
        one.model = std::exchange(other.model, {});
        break;
      case 10: {
        const bytes_t bytes = input.NextBytes();
        const int succeed = static_cast<int>(input.Next() % 8);
        if (grows) WriteAndFail(one, bytes, succeed);
        break;
      }
      default:
        Require((one.buffer == other.buffer) == IsEqual(one.model, other.model));
        Require(one.buffer == one.buffer);
    }
    Check(one);
    Check(other);
    CheckChain(chain.get(), chained);
  }
  return 0;
}
