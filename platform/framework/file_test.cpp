#include "platform/framework/file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <random>
#include <span>
#include <string>
#include <thread>
#include <tuple>
#include <utility>

#include "platform/framework/mem_file.h"
#include "platform/framework/read_to_end_internal.h"
#include "platform/framework/temp_folder_testing.h"

namespace {

class FileTest : public testing::Test {
 protected:
  CString PathOf(const char* name) const { return folder_.PathOf(name); }

  const CTempFolder folder_;
};

constexpr unsigned kNewFile = CFile::modeCreate | CFile::modeReadWrite;

std::string ReadAll(CFile& file) {
  file.SeekToBegin();
  return ReadToEnd(file, SIZE_MAX);
}

int ErrorOf(const std::function<void()>& call) {
  try {
    call();
  } catch (const CFileException& failure) {
    return failure.GetSystemError();
  }
  return -1;
}

// One step on both files: they must agree on everything a caller sees.
void StepBoth(CFile& disk, CFile& memory, std::minstd_rand& random) {
  const auto upTo = [&](unsigned limit) { return static_cast<unsigned>(random() % (limit + 1)); };
  const unsigned sizes[] = {1, 7, 300, 64 * 1024, 200'000};
  const unsigned count = upTo(sizes[upTo(4)]);
  std::string a(count, static_cast<char>(random())), b = a;
  const auto from = static_cast<CFile::seek_t>(upTo(2));
  const std::int64_t offset = std::int64_t{upTo(400'000)} - (from == CFile::begin ? 0 : 200'000);
  switch (upTo(6)) {
    case 0:
    case 1:
      ASSERT_EQ(disk.Read(a.data(), count), memory.Read(b.data(), count));
      ASSERT_EQ(a, b);
      break;
    case 2:
    case 3:
      disk.Write(a.data(), count);
      memory.Write(a.data(), count);
      break;
    case 4: ASSERT_EQ(ErrorOf([&] { disk.Seek(offset, from); }), ErrorOf([&] { memory.Seek(offset, from); })); break;
    case 5:
      disk.SetLength(disk.GetLength() / 2 + count);
      memory.SetLength(memory.GetLength() / 2 + count);
      break;
    default: disk.Flush();
  }
  ASSERT_EQ(disk.GetPosition(), memory.GetPosition());
  ASSERT_EQ(disk.GetLength(), memory.GetLength());
}

TEST_F(FileTest, MixedReadsAndWritesGiveWhatAFileInMemoryGives) {
  for (unsigned seed = 1; seed <= 20; ++seed) {
    SCOPED_TRACE(seed);
    std::minstd_rand random(seed);
    CFile disk(PathOf("mixed"), kNewFile);
    CMemFile memory;
    for (int step = 0; step < 300 && !HasFatalFailure(); ++step) StepBoth(disk, memory, random);
    disk.Close();
    CFile again(PathOf("mixed"), CFile::modeRead);
    ASSERT_EQ(ReadAll(again), ReadAll(memory));
  }
}

TEST_F(FileTest, IsReadToItsEndOrALimitWhateverItsLengthSays) {
  struct pipe_t : CMemFile {
    using CMemFile::CMemFile;
    std::uint64_t GetLength() const override { return 0; }
  };
  const std::string content(200'000, 'x');
  for (const std::size_t most : {0U, 65'536U, 65'537U, 200'000U, 200'001U}) {
    pipe_t file(std::as_bytes(std::span(content)));
    EXPECT_EQ(ReadToEnd(file, most), content.substr(0, most));
  }
}

TEST_F(FileTest, ModesDecideWhatBecomesOfAFileThatIsThere) {
  const std::pair<unsigned, const char*> cases[] = {
      {CFile::modeWrite, "xbc"},
      {CFile::modeCreate | CFile::modeWrite, "x"},
      {CFile::modeCreate | CFile::modeNoTruncate | CFile::modeWrite, "xbc"},
  };
  for (const auto& [flags, after] : cases) {
    CFile(PathOf("there"), kNewFile).Write("abc", 3);
    CFile(PathOf("there"), flags).Write("x", 1);
    CFile file(PathOf("there"), CFile::modeRead);
    EXPECT_EQ(ReadAll(file), after) << flags;
  }
}

TEST_F(FileTest, WhatCannotBeOpenedSaysPathAndCause) {
  const std::tuple<CString, unsigned, int> cases[] = {
      {PathOf("missing"), CFile::modeRead, ENOENT},
      {PathOf("missing\\deeper"), kNewFile, ENOENT},
      {PathOf(""), CFile::modeRead, EISDIR},
      {PathOf(""), CFile::modeReadWrite, EISDIR},
      {PathOf("n") + CString(u'\0', 1) + u"ul", kNewFile, EINVAL},
      {PathOf("both"), kNewFile | CFile::modeWrite, EINVAL},
      {u"", CFile::modeRead, ENOENT},
  };
  for (const auto& [path, flags, cause] : cases) {
    CFile file;
    std::unique_ptr<CFileException> error;
    EXPECT_FALSE(file.Open(path, flags, &error) || file.IsOpen()) << path;
    EXPECT_EQ(error == nullptr ? -1 : error->GetSystemError(), cause) << path;
  }
  EXPECT_STREQ(CFileException(u"\\tmp\\x", "open", ENOENT).what(), "\\tmp\\x: open: No such file or directory");
}

TEST_F(FileTest, RefusesWhatItsModeOrStateForbids) {
  char byte = 0;
  CFile writer(PathOf("w"), CFile::modeCreate | CFile::modeWrite);
  EXPECT_EQ(ErrorOf([&] { writer.Read(&byte, 1); }), EBADF);
  EXPECT_EQ(ErrorOf([&] { writer.Seek(-1, CFile::begin); }), EINVAL);
  EXPECT_EQ(ErrorOf([&] { writer.Seek(INT64_MAX, CFile::begin); }), EINVAL);
  CFile reader(PathOf("w"), CFile::modeRead);
  EXPECT_EQ(ErrorOf([&] { reader.Write(&byte, 1); }), EBADF);
  EXPECT_EQ(ErrorOf([&] { reader.SetLength(1); }), EBADF);
  reader.Close();
  reader.Close();
  CFile never;
  for (CFile* file : {&reader, &never}) {
    EXPECT_EQ(ErrorOf([&] { file->Read(&byte, 1); }), 0);
    EXPECT_EQ(ErrorOf([&] { file->Write(&byte, 1); }), 0);
    EXPECT_EQ(ErrorOf([&] { file->GetLength(); }), 0);
  }
}

TEST_F(FileTest, ADeviceThatIsFullIsToldToWhoeverFlushesOrCloses) {
  CFile file;
  if (!file.Open(u"\\dev\\full", CFile::modeWrite)) GTEST_SKIP() << "no such device here";
  const std::string large(100'000, 'x');
  EXPECT_EQ(ErrorOf([&] { file.Write(large.data(), 100'000); }), ENOSPC);
  file.Write("abc", 3);
  EXPECT_EQ(ErrorOf([&] { file.Flush(); }), ENOSPC);
  EXPECT_EQ(file.GetPosition(), 3U);
  EXPECT_EQ(ErrorOf([&] { file.Close(); }), ENOSPC);
  EXPECT_FALSE(file.IsOpen());
  CFile(u"\\dev\\full", CFile::modeWrite).Write("abc", 3);  // the destructor keeps it to itself
}

TEST_F(FileTest, APipeIsReadUntilTheCountIsThere) {
  int ends[2];
  ASSERT_EQ(::pipe(ends), 0);
  CFile file(zorplatform::FromNativePath("/proc/self/fd/" + std::to_string(ends[0])), CFile::modeRead);
  std::thread writer([&] {
    for (int i = 0; i < 5; ++i) EXPECT_EQ(::write(ends[1], "abcd", 4), 4);
    ::close(ends[1]);
  });
  std::string got(18, '\0');
  EXPECT_EQ(file.Read(got.data(), 18), 18U);
  EXPECT_EQ(got, "abcdabcdabcdabcdab");
  EXPECT_EQ(file.Read(got.data(), 18), 2U);
  EXPECT_EQ(ErrorOf([&] { file.SeekToBegin(); }), ESPIPE);
  writer.join();
  ::close(ends[0]);
}

TEST_F(FileTest, PositionsHave64Bits) {
  CFile file(PathOf("sparse"), kNewFile);
  const std::int64_t far = std::int64_t{5} << 30;
  file.Seek(far, CFile::begin);
  file.Write("end", 3);
  EXPECT_EQ(file.GetLength(), static_cast<std::uint64_t>(far) + 3);
  file.Seek(-4, CFile::end);
  char bytes[5] = {};
  EXPECT_EQ(file.Read(bytes, 5), 4U);
  EXPECT_EQ(std::string(bytes, 4), std::string("\0end", 4));
}

TEST(MemFile, RefusesAbsurdSizesUnchanged) {
  const std::byte content[3] = {};
  CMemFile file{std::span<const std::byte>(content)};
  file.Seek(std::int64_t{1} << 62, CFile::begin);
  EXPECT_THROW(file.Write("x", 1), std::length_error);
  EXPECT_THROW(file.SetLength(CMemFile::kMaxSize + 1), std::length_error);
  EXPECT_EQ(file.GetLength(), 3U);
  EXPECT_EQ(file.Read(nullptr, 1), 0U);
  file.Close();
  EXPECT_EQ(file.GetPosition() + file.GetLength(), 0U);
}

TEST(NativePath, IsUtf8WithTheSystemsSeparatorAndComesBack) {
  const std::tuple<std::u16string_view, const char*, const char16_t*> cases[] = {
      {u"", "", u""},
      {u"\\var\\lib\\", "/var/lib/", u"\\var\\lib\\"},
      {u"a/b\\..\\\\c", "a/b/..//c", u"a\\b\\..\\\\c"},
      {u"\\\u00dcto\U0001F600", "/\xC3\x9Cto\xF0\x9F\x98\x80", u"\\\u00dcto\U0001F600"},
      {u"a\xD800z", "a\xEF\xBF\xBDz", u"a\uFFFDz"},
  };
  for (const auto& [text, native, back] : cases) {
    const std::filesystem::path path = zorplatform::ToNativePath(text);
    EXPECT_EQ(path.string(), native);
    EXPECT_EQ(zorplatform::FromNativePath(path), back);
    EXPECT_EQ(zorplatform::ToNativePath(zorplatform::FromNativePath(path).View()), path);
  }
}

}  // namespace
