#include "platform/ole/string.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace {

bool IsAligned(const void* memory, std::size_t alignment) {
  return reinterpret_cast<std::uintptr_t>(memory) % alignment == 0;
}

TEST(OleString, CarriesItsLengthAndANulAtEverySize) {
  for (const std::uint32_t length : {0U, 1U, 11U, 12U, 32U, 123U, 124U, 1000U}) {
    SCOPED_TRACE(length);
    const std::u16string text(length, u'x');
    const BSTR copy = SysAllocStringLen(text.data(), length);
    EXPECT_TRUE(IsAligned(copy, 8));
    EXPECT_EQ(SysStringView(copy), text);
    EXPECT_EQ(copy[length], u'\0');
    SysFreeString(copy);
  }
}

TEST(OleString, RefusesMoreThanTwoGigabytes) {
  BSTR text = SysAllocString(u"kept");
  EXPECT_EQ(SysAllocStringLen(nullptr, 0x4000'0000), nullptr);
  EXPECT_EQ(SysAllocStringByteLen(nullptr, 0x8000'0000), nullptr);
  EXPECT_FALSE(SysReAllocStringLen(&text, nullptr, 0xFFFF'FFFF));
  EXPECT_EQ(SysStringView(text), u"kept");
  SysFreeString(text);
}

TEST(OleString, ReallocatesInItsOwnMemoryWhereThatIsLargeEnough) {
  BSTR text = SysAllocString(u"0123456789");
  const BSTR before = text;
  ASSERT_TRUE(SysReAllocStringLen(&text, text + 3, 4));
  EXPECT_EQ(text, before);
  EXPECT_EQ(SysStringView(text), u"3456");
  EXPECT_EQ(text[4], u'\0');

  ASSERT_TRUE(SysReAllocStringLen(&text, nullptr, 500));  // larger: what was there stays
  EXPECT_EQ(SysStringView(text).substr(0, 4), u"3456");
  const std::u16string longer = std::u16string(SysStringView(text)) + u"end";
  ASSERT_TRUE(SysReAllocStringLen(&text, longer.data(), static_cast<std::uint32_t>(longer.size())));
  EXPECT_EQ(SysStringView(text), longer);
  SysFreeString(text);

  BSTR none = nullptr;
  ASSERT_TRUE(SysReAllocStringLen(&none, u"new", 3));
  EXPECT_EQ(SysStringView(none), u"new");
  SysFreeString(none);
}

// Texts of all sizes are made and freed in random order by two threads that pass them to each other; every text
// must keep its content until it is freed.
TEST(OleString, LivesOnWhicheverThreadFreesIt) {
  constexpr int kTexts = 4000;
  const auto make = [](unsigned seed) {
    std::mt19937 random(seed);
    std::vector<BSTR> texts;
    for (int i = 0; i != kTexts; ++i) {
      const std::u16string text(random() % 160, static_cast<char16_t>(u'A' + i % 26));
      texts.push_back(SysAllocStringLen(text.data(), static_cast<std::uint32_t>(text.size())));
      if (random() % 3 == 0) SysFreeString(SysAllocString(text.c_str()));
    }
    return texts;
  };
  const auto check = [](std::vector<BSTR>& texts) {
    for (std::size_t i = 0; i != texts.size(); ++i) {
      const auto text = SysStringView(texts[i]);
      const auto unit = static_cast<char16_t>(u'A' + i % 26);
      EXPECT_TRUE(std::all_of(text.begin(), text.end(), [unit](char16_t each) { return each == unit; }));
      SysFreeString(texts[i]);
    }
  };
  for (unsigned round = 0; round != 3; ++round) {
    std::vector<BSTR> theirs;
    std::thread([&] { theirs = make(round); }).join();
    std::vector<BSTR> ours = make(round + 100);
    std::thread other([&] { check(ours); });
    check(theirs);
    other.join();
  }
}

struct freed_at_thread_end_t {
  BSTR text = nullptr;
  ~freed_at_thread_end_t() {
    SysFreeString(text);
    SysFreeString(SysAllocString(u"made after the cache was closed"));
  }
};

TEST(OleString, MayBeFreedWhileItsThreadEnds) {
  std::thread([] {
    thread_local freed_at_thread_end_t last;  // made before the thread's cache, hence destroyed after it
    last.text = SysAllocString(u"last");
    for (int i = 0; i != 200; ++i) SysFreeString(SysAllocString(u"opens the cache"));
  }).join();
}

}  // namespace
