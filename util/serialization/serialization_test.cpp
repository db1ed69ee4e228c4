#include <gtest/gtest.h>

#include <cerrno>
#include <string>

#include "platform/framework/mem_file.h"
#include "util/serialization/stream_serializers.h"
#include "util/serialization/stream_testing.h"
#include "util/serialization/string_serialization.h"

using namespace stream_testing;
using namespace std::literals;
using zorplatform::CException;

namespace {

CString Read(std::string_view hex, CString before = {}) {
  zorutil::memory_serializer_t in(Bytes(hex));
  zorutil::Deserialize(before, in);
  return before;
}

void ReadString(zorutil::ISerializer& in) {
  CString text;
  zorutil::Deserialize(text, in);
}

TEST(StringForm, IsTheShorterEncodingAndUtf16OfTwoEqual) {
  const struct {
    std::u16string_view text;
    const char* hex;
  } cases[] = {{u""sv, "00000000"},
               {u"abc"sv, "03000080616263"},
               {u"a\0b"sv, "03000080610062"},
               {u"\u00e9"sv, "01000000E900"},
               {u"\u00e9a"sv, "03000080C3A961"},
               {u"\u6c34\u6c34\u6c34"sv, "03000000346C346C346C"},
               {u"\U0001F600"sv, "020000003DD800DE"},
               {u"\U0001F600a"sv, "05000080F09F988061"},
               {u"\xD800"sv, "0100000000D8"},
               {u"abc\xD800"sv, "0400000061006200630000D8"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.hex);
    EXPECT_EQ(Written(CString(c.text)), c.hex);
    EXPECT_EQ(Read(c.hex, u"before").View(), c.text);
    ExpectRefusesDamage(c.hex, ReadString);
  }
}

TEST(StringForm, HoldsLongTextAndGivesTheCountACheckWordAbove0xFFFFUnits) {
  for (const std::size_t units : {0xFFFF, 0x10000}) {
    const std::string hex = Written(CString(std::u16string(units, u'\u6c34')));
    EXPECT_EQ(hex.substr(0, 16), units > 0xFFFF ? "00000100FFFFFEFF" : "FFFF0000346C346C");
  }
  EXPECT_EQ(Read("0300000061006200 6300"), u"abc") << "the longer form is read too";
  EXPECT_EQ(Read("0300008061FF62"), u"a\uFFFDb");
  EXPECT_EQ(Read("00000080", u"before"), u"");
  EXPECT_EQ(CodeOf(Bytes("00000100FFFFFEFE"), ReadString), CException::kEndOfStream);
  EXPECT_EQ(CodeOf(Bytes("01000040FEFFFFBF"), ReadString), CException::kEndOfStream) << "longer than any text";
}

// Around the sizes where the reader goes from the stack to the heap, and from one chunk to several.
TEST(StringForm, ReadsBackEveryLength) {
  for (const std::size_t length : {1022, 1023, 1024, 1025, 32767, 32768, 32769, 65535, 65536, 65537, 200000}) {
    for (const char16_t unit : {u'a', u'\u6c34'}) {
      SCOPED_TRACE(length);
      const CString text(std::u16string(length, unit));
      zorutil::memory_serializer_t stream;
      zorutil::Serialize(text, stream);
      EXPECT_EQ(stream.GetContent().size(), unit == u'a' ? 4 + length : (length > 0xFFFF ? 8 : 4) + 2 * length);
      stream.Rewind();
      CString back;
      zorutil::Deserialize(back, stream);
      EXPECT_TRUE(back == text);
    }
  }
}

TEST(StringForm, AFailureLeavesTheTextAndAnnouncedLengthsTakeNoMemory) {
  for (const char* header : {"FFFFFFFF", "00000040FFFFFFBF", "05000080616263", "02000000FF"}) {
    SCOPED_TRACE(header);
    const bytes_t bytes = Bytes(header);
    CCountingReader in(bytes);
    CString text = u"before";
    EXPECT_THROW(zorutil::Deserialize(text, in), CException);
    EXPECT_EQ(text, u"before");
    EXPECT_LE(in.GetLargest(), 64u * 1024);
  }
}

TEST(StringForm, InAFileIsThatOfASerializer) {
  CMemFile file;
  zorutil::WriteCString(&file, u"abc");
  zorutil::WriteCString(&file, u"\u6c34");
  EXPECT_EQ(Hex(file.GetContent()), "0300008061626301000000346C");
  file.SeekToBegin();
  CString first, second;
  zorutil::ReadCString(&file, first);
  zorutil::ReadCString(&file, second);
  EXPECT_EQ(first, u"abc");
  EXPECT_EQ(second, u"\u6c34");
}

TEST(StreamSerializer, PeekLooksAheadAndAShortReadTakesWhatIsThere) {
  CMemFile file(Bytes("0102030405060708"));
  char bytes[10] = {};
  {
    zorutil::file_serializer_t stream(&file);
    file.Seek(4, CFile::begin);
    EXPECT_FALSE(stream.Peek(bytes, 5));
    EXPECT_EQ(file.GetPosition(), 4u);
    EXPECT_TRUE(stream.Peek(bytes, 4));
    EXPECT_EQ(std::string(bytes, 4), "\5\6\7\x8");
    EXPECT_EQ(file.GetPosition(), 4u);
    try {
      stream.Read(bytes, 10);
      ADD_FAILURE() << "read 10 of 4 bytes";
    } catch (const CException& error) {
      EXPECT_EQ(error.GetCode(), CException::kShortRead);
      EXPECT_NE(std::string_view(error.what()).find("6 more"), std::string_view::npos) << error.what();
    }
    EXPECT_EQ(file.GetPosition(), 8u);
    EXPECT_FALSE(stream.Peek(bytes, 1));
    EXPECT_TRUE(stream.Peek(bytes, 0));
  }
  EXPECT_EQ(file.GetLength(), 8u) << "the file outlives the serializer";
  struct pipe_t : CMemFile {
    using CMemFile::CMemFile;
    std::uint64_t Seek(std::int64_t, seek_t) override { throw CFileException(u"pipe", "seek", ESPIPE); }
  } pipe(Bytes("0102"));
  EXPECT_FALSE(zorutil::file_serializer_t(&pipe).Peek(bytes, 1));
  EXPECT_EQ(pipe.GetPosition(), 0u) << "what cannot be given back is not taken";
  CFile closed;
  EXPECT_THROW(zorutil::file_serializer_t(&closed).Peek(bytes, 1), CFileException);
}

}  // namespace
