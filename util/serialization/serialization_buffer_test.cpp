#include <gtest/gtest.h>

#include <cstdlib>
#include <new>
#include <thread>

#include "util/serialization/serialization_buffer.h"
#include "util/serialization/stream_testing.h"
#include "util/serialization/string_serialization.h"

using zorplatform::CException, zorutil::CSerializationBuffer, zorutil::buffer_t;

thread_local int allocationsLeft = -1;  // that still succeed; fewer than 0: all do
#if defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define __SANITIZE_THREAD__ 1
#endif
#endif
#if !defined(__SANITIZE_THREAD__)  // its allocator cannot be replaced: nothing fails
[[gnu::noinline]] void* operator new(std::size_t size) {
  void* const memory = allocationsLeft == 0 ? nullptr : std::malloc(size + 1);
  if (allocationsLeft > 0) --allocationsLeft;
  return memory != nullptr ? memory : throw std::bad_alloc();
}
[[gnu::noinline]] void operator delete(void* memory) noexcept { std::free(memory); }
[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
#endif

namespace {

std::string Text(unsigned n) {
  std::string text(n, '\0');
  for (unsigned i = 0; i < n; ++i) text[i] = static_cast<char>('!' + i % 89);
  return text;
}
std::string Take(CSerializationBuffer& buffer, unsigned n, unsigned step) {
  std::string taken(n, '\0');
  for (unsigned i = 0; i < n; i += step) buffer.Read(taken.data() + i, std::min(step, n - i));
  return taken;
}
std::string TakeAll(CSerializationBuffer& buffer) { return Take(buffer, buffer.size(), 4096); }
void Put(CSerializationBuffer& buffer, const std::string& bytes, unsigned step = 4096) {
  const auto n = static_cast<unsigned>(bytes.size());
  for (unsigned i = 0; i < n; i += step) buffer.Write(bytes.data() + i, std::min(step, n - i));
}
CSerializationBuffer Filled(unsigned written, unsigned read = 0, unsigned step = 4096) {
  CSerializationBuffer buffer;
  Put(buffer, Text(written), step);
  if (Take(buffer, read, step) != Text(read)) std::abort();
  return buffer;
}
unsigned Blocks(const CSerializationBuffer& buffer) { return buffer.Peek() == nullptr ? 0 : buffer.Peek()->size(); }
std::size_t NodesInUse() { return dynamic_cast<zorpool::CPool&>(buffer_t::pool_factory_t()(264)).TotalInUse(); }

TEST(SerializationBuffer, FillsBlocksAndGivesThemBackAsTheyAreRead) {
  const struct {
    unsigned written, read, blocks;
  } cases[] = {{0, 0, 0}, {1, 0, 1}, {255, 0, 1},   {256, 0, 2},   {255, 254, 1}, {255, 255, 0},
               {1, 1, 0}, {9, 8, 1}, {510, 255, 1}, {510, 254, 2}, {600, 511, 1}, {999, 999, 0}};
  for (const auto& c : cases) {
    for (const unsigned step : {1u, 2u, 4u, 8u, 16u, 100u, 255u, 4096u}) {
      SCOPED_TRACE(testing::Message() << c.written << " written, " << c.read << " read, by " << step);
      const std::size_t before = NodesInUse();
      CSerializationBuffer buffer = Filled(c.written, c.read, step);
      EXPECT_EQ(buffer.Peek() != nullptr, c.written != 0);
      EXPECT_EQ(buffer.size(), c.written - c.read);
      EXPECT_EQ(Blocks(buffer), c.blocks);
      EXPECT_EQ(NodesInUse(), before + c.blocks);
      Put(buffer, "tail");
      EXPECT_EQ(TakeAll(buffer), Text(c.written).substr(c.read) + "tail");
      EXPECT_EQ(NodesInUse(), before);
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
    } catch (const CException& error) {
      EXPECT_EQ(error.GetCode(), -1);
      EXPECT_NE(std::string(error.what()).find("300 bytes asked for, " + std::to_string(n)), std::string::npos);
    }
    EXPECT_EQ(bytes, Text(n));
    EXPECT_EQ(buffer.size() + Blocks(buffer), 0u);
  }
}

TEST(SerializationBuffer, HandsChainsOver) {
  CSerializationBuffer source = Filled(520, 100), target = Filled(3, 1), moved = Filled(7);
  moved = std::move(source);
  EXPECT_EQ(source.size() + Blocks(source), 0u);
  EXPECT_EQ(moved.size(), 420u);
  target.Attach(moved.Detach());
  EXPECT_EQ(moved.Peek(), nullptr);
  EXPECT_EQ(target.size(), 520u) << "what was read counts again";
  Put(target, "tail");
  EXPECT_EQ(TakeAll(target), Text(520) + "tail");
  // Two over one chain see each other's changes, and stay within the blocks.
  CSerializationBuffer one = Filled(300, 200), other(one.Peek());
  Take(other, 290, 4096);
  EXPECT_EQ(one.size(), 0u) << "its offset lies behind what is left";
  EXPECT_THROW(Take(one, 1, 1), CException);
  Put(other, "four");
  Put(one, "tail");
  EXPECT_EQ(TakeAll(other), Text(300).substr(290) + "fourtail");
}

TEST(SerializationBuffer, AppendsChainsAndFilesThroughItsOwnWrite) {
  struct counting_t : CSerializationBuffer {
    void Write(const void* src, unsigned n) override { CSerializationBuffer::Write(src, (++writes, n)); }
    unsigned writes = 0;
  };
  for (const unsigned n : {0u, 1u, 128u, 255u, 256u, 600u}) {
    counting_t buffer;
    const CSerializationBuffer other = Filled(n);
    buffer.Append(other.Peek());
    buffer.Append(buffer.Peek());
    const std::string content = Text(1000);
    CMemFile file(std::as_bytes(std::span(content)));
    for (const std::int64_t position : {1000, 2000, 1}) buffer.FromFile(file, (file.Seek(position, CFile::begin), n));
    EXPECT_EQ(file.GetPosition(), 1 + n);
    buffer.FromFile(file, 0xFFFFFFFF);
    EXPECT_EQ(buffer.writes, (n + 254) / 255 * 2 + (n + 254) / 255 + (999 - n + 254) / 255);
    EXPECT_EQ(TakeAll(buffer), Text(n) + Text(n) + content.substr(1));
  }
}

TEST(SerializationBuffer, EqualityComparesBlocksFromTheirBeginning) {
  CSerializationBuffer differs = Filled(299);
  Put(differs, "?");
  EXPECT_FALSE(differs == Filled(300));
  EXPECT_TRUE(Filled(300) == Filled(300) && Filled(300, 1) == Filled(300, 1) && Filled(0) == Filled(9, 9));
  EXPECT_FALSE(Filled(300) == Filled(301) || Filled(301, 1) == Filled(300) || Filled(265, 10) == Filled(255));
  EXPECT_TRUE(Filled(255) == Filled(265, 10)) << "the first one's blocks decide";
}

TEST(SerializationBuffer, GoesIntoFilesWholeAndKeepsWhatAFullFileRefused) {
  struct small_file_t : CMemFile {
    void Write(const void* bytes, unsigned n) override {
      if (GetLength() + n > limit) throw CFileException(u"small", "write", 0);
      CMemFile::Write(bytes, n);
    }
    std::string Text() const { return {reinterpret_cast<const char*>(GetContent().data()), GetContent().size()}; }
    std::uint64_t limit = 600;
  };
  for (const unsigned limit : {0u, 300u, 599u}) {
    small_file_t refused, copy, begun, rest;
    refused.limit = begun.limit = limit;
    CSerializationBuffer buffer = Filled(600, 7);
    EXPECT_THROW(buffer.CopyToFile(refused), CFileException);
    buffer.CopyToFile(copy);
    EXPECT_EQ(copy.Text(), Text(600));
    EXPECT_THROW(buffer.MoveToFile(begun), CFileException);
    EXPECT_EQ(buffer.size(), limit == 0 ? 593u : 600 - limit / 255 * 255);
    buffer.MoveToFile(rest);
    EXPECT_EQ(begun.Text() + rest.Text(), Text(600));
    EXPECT_EQ(buffer.Peek(), nullptr);
  }
}

TEST(SerializationBuffer, StaysWholeWhenAnyAllocationFails) {
  const std::string text = Text(3'000'000);  // more than the pool's first chunk
  for (bool failed = true; failed;) {
    static int succeed = 0;
    CSerializationBuffer buffer;
    allocationsLeft = succeed++;
    try {
      Put(buffer, text, 4'000'000);
      failed = false;
    } catch (const std::bad_alloc&) {
    }
    allocationsLeft = -1;
    Put(buffer, text.substr(buffer.size()));
    EXPECT_TRUE(TakeAll(buffer) == text) << succeed;
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

TEST(SerializationBuffer, ServesThreadsThatShareThePools) {
  const auto work = [](unsigned n) {
    for (int i = 0; i < 2000; ++i) {
      CSerializationBuffer buffer = Filled(n, n / 5), other(buffer.Detach());
      if (TakeAll(other) != Text(n)) std::abort();
    }
  };
  std::thread other(work, 1000);
  work(700);
  other.join();
}

TEST(SerializationBuffer, CutRecordsEndAsReadingPastTheEnd) {
  for (const CString& text : {CString(u"abc"), CString(u"\u6c34\u6c34"), CString(std::u16string(600, u'a'))}) {
    CSerializationBuffer whole;
    zorutil::Serialize(text, whole);
    const std::string bytes = TakeAll(whole);
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut) {
      CSerializationBuffer buffer;
      Put(buffer, bytes.substr(0, cut));
      CString read;
      const auto code = stream_testing::CodeOf({}, [&](auto&) { zorutil::Deserialize(read, buffer); });
      EXPECT_EQ(code, cut < bytes.size() ? -1 : 0);
      EXPECT_EQ(read, cut < bytes.size() ? CString() : text);
    }
  }
}

}  // namespace
