// What a model of plain bytes can tell (contents, handing over, comparing, failing allocations) is the fuzz target's.
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "util/serialization/serialization_buffer.h"
#include "util/serialization/stream_testing.h"

using zorutil::CSerializationBuffer, zorutil::buffer_t;

namespace {

std::string Text(unsigned n) {
  std::string text(n, '\0');
  for (unsigned i = 0; i < n; ++i) text[i] = static_cast<char>('!' + i % 89);
  return text;
}
std::string Take(CSerializationBuffer& buffer, unsigned n, unsigned step = 4096) {
  std::string taken(n, '\0');
  for (unsigned i = 0; i < n; i += step) buffer.Read(taken.data() + i, std::min(step, n - i));
  return taken;
}
CSerializationBuffer Filled(unsigned n, unsigned step = 4096) {
  CSerializationBuffer buffer;
  for (unsigned i = 0; i < n; i += step) buffer.Write(Text(n).data() + i, std::min(step, n - i));
  return buffer;
}
unsigned Blocks(const CSerializationBuffer& buffer) { return buffer.Peek() == nullptr ? 0 : buffer.Peek()->size(); }
std::size_t InUse(unsigned size) {
  return dynamic_cast<zorpool::CPool&>(buffer_t::pool_factory_t()(size)).TotalInUse();
}

TEST(SerializationBuffer, FillsBlocksAndGivesThemBackAsTheyAreRead) {
  const struct {
    unsigned written, read, blocks;
  } cases[] = {{0, 0, 0}, {1, 0, 1}, {255, 0, 1},   {256, 0, 2},   {255, 254, 1}, {255, 255, 0},
               {1, 1, 0}, {9, 8, 1}, {510, 255, 1}, {510, 254, 2}, {600, 511, 1}, {999, 999, 0}};
  for (const auto& c : cases) {
    for (const unsigned step : {1u, 2u, 3u, 4u, 6u, 8u, 13u, 16u, 17u, 255u, 4096u}) {
      SCOPED_TRACE(testing::Message() << c.written << " written, " << c.read << " read, by " << step);
      const std::size_t before = InUse(264), chains = InUse(16);
      CSerializationBuffer buffer = Filled(c.written, step);
      EXPECT_EQ(Take(buffer, c.read, step), Text(c.read));
      EXPECT_EQ(buffer.Peek() != nullptr, c.written != 0);
      EXPECT_EQ(Blocks(buffer), c.blocks);
      EXPECT_EQ(InUse(264), before + c.blocks);
      EXPECT_EQ(Take(buffer, buffer.size()), Text(c.written).substr(c.read));
      buffer.Detach();
      EXPECT_EQ(InUse(16), chains);
    }
  }
}

TEST(SerializationBuffer, ReadingPastTheEndTakesWhatIsLeftAndThrows) {
  for (const unsigned n : {0u, 4u, 259u}) {
    CSerializationBuffer buffer = Filled(n);
    char bytes[301] = {};
    try {
      buffer.Read(bytes, 300);
      ADD_FAILURE() << "read 300 of " << n;
    } catch (const zorplatform::CException& error) {
      EXPECT_EQ(error.GetCode(), -1);
      EXPECT_NE(std::string(error.what()).find("300 bytes asked for, " + std::to_string(n)), std::string::npos);
    }
    EXPECT_EQ(bytes, Text(n));
    EXPECT_EQ(buffer.size() + Blocks(buffer), 0u);
  }
}

TEST(SerializationBuffer, TwoOverOneChainStayWithinItsBlocks) {
  CSerializationBuffer one = Filled(300), other(one.Peek());
  Take(one, 200);
  Take(other, 290);
  EXPECT_EQ(one.size(), 0u) << "its offset lies behind what is left";
  EXPECT_THROW(Take(one, 1), zorplatform::CException);
  other.Write("four", 4);
  one.Write("tail", 4);
  EXPECT_EQ(Take(other, other.size()), Text(300).substr(290) + "fourtail");
}

TEST(SerializationBuffer, AppendsChainsAndFilesThroughItsOwnWrite) {
  struct counting_t : CSerializationBuffer {
    void Write(const void*, unsigned n) override { sizes += std::to_string(n) + " "; }
    std::string sizes;
  } buffer;
  buffer.Append(Filled(520).Peek());
  buffer.Append(nullptr);
  CMemFile file(std::as_bytes(std::span(Text(400).c_str(), 400)));
  for (const unsigned position : {400, 500, 7}) buffer.FromFile(file, (file.Seek(position, CFile::begin), 300));
  EXPECT_EQ(buffer.sizes, "255 255 10 255 45 ");
  EXPECT_EQ(file.GetPosition(), 307u);
  struct cut_t : CMemFile {  // by another, after its length was asked for
    std::uint64_t GetLength() const override { return 1000; }
  } cut;
  buffer.FromFile(cut, 1000);
  EXPECT_EQ(buffer.sizes, "255 255 10 255 45 ");
}

TEST(SerializationBuffer, KeepsWhatAFullFileRefused) {
  struct small_file_t : CMemFile {
    void Write(const void* bytes, unsigned n) override {
      if (GetLength() + n > limit) throw CFileException(u"small", "write", 0);
      CMemFile::Write(bytes, n);
    }
    std::uint64_t limit = 600;
  };
  for (const unsigned limit : {0u, 300u, 599u}) {
    small_file_t begun, rest;
    begun.limit = limit;
    CSerializationBuffer buffer = Filled(600);
    Take(buffer, 7);
    EXPECT_THROW(buffer.CopyToFile(begun), CFileException);
    EXPECT_EQ(buffer.size(), 593u);
    begun.SetLength(0);
    begun.SeekToBegin();
    EXPECT_THROW(buffer.MoveToFile(begun), CFileException);
    EXPECT_EQ(buffer.size(), limit == 0 ? 593u : 600 - limit / 255 * 255);
    buffer.MoveToFile(rest);
    EXPECT_EQ(begun.GetLength() + rest.GetLength(), 600u);
  }
}

TEST(BufferPools, ServeTheSizesOfChainsOnly) {
  const buffer_t::pool_factory_t pools;
  for (const unsigned size : {5u, 16u, 17u, 24u, 264u}) {
    const auto& pool = dynamic_cast<zorpool::CPool&>(pools(size));
    EXPECT_EQ(pool.ElementSize(), size <= 16 ? 16 : size <= 24 ? 24 : 264) << size;
    EXPECT_EQ(pool.MaxElements(), (size == 264 ? 0x100000 : 0x10000) / pool.ElementSize()) << size;
  }
  for (const unsigned size : {0u, 4u, 25u, 256u, 263u, 265u}) EXPECT_THROW(pools(size), std::bad_alloc) << size;
}

TEST(BufferPools, GiveBackWhatABurstTook) {
  constexpr unsigned kSize = 3'500'000;
  auto& pool = dynamic_cast<zorpool::CPool&>(buffer_t::pool_factory_t()(264));
  Filled(1);
  const std::size_t before = pool.TotalAlloc();
  std::vector<CSerializationBuffer> buffers;
  for (int i = 0; i < 4; ++i) buffers.push_back(Filled(kSize, kSize));
  for (const std::size_t freed : {1, 2}) {  // what is left lies beside what is taken anew
    buffers[freed] = {};
    buffers.push_back(Filled(kSize, kSize));
  }
  for (const std::size_t kept : {0, 3, 4, 5}) EXPECT_TRUE(Take(buffers[kept], kSize) == Text(kSize)) << kept;
  buffers.clear();
  EXPECT_EQ(pool.TotalAlloc(), before);
}

TEST(SerializationBuffer, ServesThreadsThatShareThePools) {
  const auto work = [](unsigned n) {
    for (int i = 0; i < 2000; ++i) {
      CSerializationBuffer buffer = Filled(n), other(buffer.Detach());
      if (Take(other, n) != Text(n)) std::abort();
    }
  };
  std::thread other(work, 1000);
  work(700);
  other.join();
}

}  // namespace
