#include "platform/registry/registry.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>

#include "platform/framework/native_path.h"
#include "platform/framework/temp_folder_testing.h"

namespace {

using namespace registry;
namespace fs = std::filesystem;

constexpr auto kBase = u"Software\\Acme\\Gateway";

class Registry : public testing::Test {
 protected:
  Registry() {
    SetRegistryFile(folder_.PathOf("registry.db"));
    SetBusyTimeout(20'000);
  }
  ~Registry() override { SetRegistryFile({}); }

  static CKey Make(std::u16string_view path = kBase) {
    CKey key;
    EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, path));
    return key;
  }
  static code_t Set(CKey& key, std::u16string_view name, std::uint32_t number) {
    return key.SetValue(name, value_t::FromDword(number)).code;
  }
  // 0xDEAD where there is none.
  static std::uint32_t Get(std::u16string_view name, std::u16string_view path = kBase) {
    value_t value;
    std::uint32_t number = 0xDEAD;
    if (registry::QueryValue(HKEY_LOCAL_MACHINE, path, name, value)) value.ToDword(number);
    return number;
  }
  static code_t Read() {
    value_t value;
    return registry::QueryValue(HKEY_LOCAL_MACHINE, kBase, u"v", value).code;
  }
  static std::string Subkeys(const CKey& key) {
    std::vector<CString> names;
    EXPECT_TRUE(key.GetSubkeys(names));
    std::string text;
    for (const CString& name : names) text += name.ToUtf8() + ' ';
    return text;
  }
  // What the function answers in a child process.
  static int InChild(const std::function<int()>& work) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(work());
    int status = 0;
    ::waitpid(child, &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
  }
  // Who has no rights of its own.
  static void BecomeNobody() {
    if (::geteuid() == 0 && (::setegid(65534) != 0 || ::seteuid(65534) != 0)) ::_exit(99);
  }
  static int Code(code_t code) { return static_cast<int>(code) & 0xFF; }

  const CTempFolder folder_;
  const fs::path file_ = folder_.Native("registry.db");
};

TEST(RegistryValue, ReadsItsOwnFormsAndRefusesEveryOther) {
  const struct {
    value_t value;
    const char* is;  // number, text or list; null for none of them
  } cases[] = {{value_t::FromDword(0xFFFFFFFE), "4294967294"},
               {{REG_DWORD, {1, 2, 3, 4}}, "67305985"},
               {{REG_DWORD, {1, 2, 3}}, nullptr},
               {{REG_DWORD, {1, 2, 3, 4, 5}}, nullptr},
               {{REG_BINARY, {1, 2, 3, 4}}, nullptr},
               {value_t::FromText(u"ä%A%", REG_EXPAND_SZ), "ä%A%"},
               {value_t::FromText({u"a\0b", 3}), "a\0b"},
               {{REG_SZ, {}}, ""},
               {{REG_SZ, {0, 0}}, ""},
               {{REG_SZ, {'a', 0}}, nullptr},
               {{REG_SZ, {'a', 0, 0}}, nullptr},
               {{REG_SZ, {'a', 0, 0, 1}}, nullptr},
               {{REG_BINARY, {'a', 0, 0, 0}}, nullptr},
               {{REG_MULTI_SZ, {}}, "|"},
               {{REG_MULTI_SZ, {0, 0}}, "|"},
               {{REG_MULTI_SZ, {'a', 0, 0, 0, 'b', 0, 0, 0, 0, 0}}, "|a|b|"},
               {{REG_MULTI_SZ, {'a', 0, 0, 0}}, nullptr},
               {{REG_MULTI_SZ, {0, 0, 0, 0}}, nullptr},
               {{REG_MULTI_SZ, {'a', 0, 0, 0, 0}}, nullptr}};
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::Message() << GetTypeName(c.value.type) << ' ' << testing::PrintToString(c.value.data));
    std::uint32_t number = 7;
    CString text = u"untouched";
    std::vector<CString> list{u"untouched"};
    std::string is;
    if (c.value.ToDword(number)) is = std::to_string(number);
    if (c.value.ToText(text)) is = text.ToUtf8().c_str();
    if (c.value.ToList(list)) {
      is = "|";
      for (const CString& each : list) is += each.ToUtf8() + "|";
      EXPECT_TRUE(c.value.data.empty() || value_t::FromList(list) == c.value);
    }
    const bool isNone = number == 7 && text == u"untouched" && list == std::vector<CString>{u"untouched"};
    EXPECT_EQ(isNone, c.is == nullptr);
    EXPECT_EQ(is, c.is == nullptr ? "" : c.is);
  }
  const CString faults[] = {u"", CString(std::u16string_view(u"a\0b", 3))};
  for (const CString& fault : faults) EXPECT_EQ(value_t::FromList({&fault, 1}), std::nullopt);
  CString text;
  EXPECT_TRUE(value_t::FromText({u"a\0b", 3}).ToText(text) && text.GetLength() == 3);
}

TEST_F(Registry, MakesItsFileWithTheFirstWriteAndNotBefore) {
  SetRegistryFile(folder_.PathOf("a/b/r.db"));
  CKey hive;
  EXPECT_TRUE(hive.Open(HKEY_LOCAL_MACHINE, u"", KEY_READ_WRITE));
  EXPECT_EQ(Subkeys(hive), "");
  EXPECT_EQ(Read(), code_t::fileNotFound);
  EXPECT_EQ(hive.DeleteTree(kBase).code, code_t::fileNotFound);
  EXPECT_EQ(hive.DeleteValue(u"v").code, code_t::fileNotFound);
  EXPECT_FALSE(fs::exists(folder_.Native("a/b/r.db")));
  CKey key = Make();
  EXPECT_EQ(Set(key, u"v", 3), code_t::success);
  EXPECT_EQ(Get(u"v"), 3U);
  EXPECT_TRUE(hive.SetValue(u"", value_t::FromText(u"of the hive")));

  // Another file in its place, and none: what is open follows.
  fs::rename(folder_.Native("a/b/r.db"), folder_.Native("a/b/old.db"));
  EXPECT_EQ(Read(), code_t::fileNotFound);
  EXPECT_EQ(Set(key, u"v", 4), code_t::fileNotFound);
  Make();
  EXPECT_EQ(Set(key, u"v", 5), code_t::success);
  fs::rename(folder_.Native("a/b/old.db"), folder_.Native("a/b/r.db"));
  EXPECT_EQ(Get(u"v"), 3U);
}

TEST_F(Registry, NamesIgnoreLetterCaseAndKeepIt) {
  CKey key = Make(u"Überblick\\b");
  for (const char16_t* name : {u"b", u"C", u"a", u"é", u"a/b"}) EXPECT_EQ(Set(key, name, 1), code_t::success);
  EXPECT_EQ(Set(key, u"A", 2), code_t::success);
  EXPECT_EQ(Set(key, u"É", 3), code_t::success);
  EXPECT_EQ(Set(key, u"", 4), code_t::success);
  std::vector<named_value_t> values;
  EXPECT_TRUE(key.GetValues(values));
  std::string names;
  for (const named_value_t& each : values) names += each.name.ToUtf8() + ",";
  EXPECT_EQ(names, ",a,a/b,b,C,é,");
  EXPECT_EQ(Get(u"a", u"überBLICK\\B"), 2U);
  EXPECT_EQ(Get(u"é", u"überBLICK\\B"), 3U);
  bool wasCreated = true;
  EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, u"ÜBERBLICK\\B", KEY_READ, &wasCreated));
  EXPECT_FALSE(wasCreated);
  EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, u"ÜBERBLICK\\A", KEY_READ, &wasCreated));
  EXPECT_TRUE(wasCreated);
  EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, u"Überblick"));
  EXPECT_EQ(Subkeys(key), "A b ");
  EXPECT_TRUE(key.Open(HKEY_USERS, u""));
  EXPECT_EQ(Subkeys(key), "");

  const std::u16string longest(255, u'k');
  std::u16string deep = u"d";
  for (int i = 1; i < 512; ++i) deep += u"\\d";
  const struct {
    std::u16string path;
    code_t code;
  } paths[] = {{longest, code_t::success},
               {longest + u'k', code_t::badPathname},
               {deep, code_t::success},
               {deep + u"\\d", code_t::badPathname},
               {u"\\a", code_t::badPathname},
               {u"a\\", code_t::badPathname},
               {u"a\\\\b", code_t::badPathname},
               {u"\\", code_t::badPathname},
               {{u"a\0", 2}, code_t::badPathname},
               {u"\xD800\xFFFF]\"\n", code_t::success}};
  for (const auto& c : paths) EXPECT_EQ(key.Create(HKEY_LOCAL_MACHINE, c.path).code, c.code) << c.path.size();
  key = Make();
  const std::u16string longName(16383, u'ö');
  EXPECT_EQ(Set(key, longName, 1), code_t::success);
  EXPECT_EQ(Get(longName), 1U);
  EXPECT_EQ(Set(key, longName + u"o", 1), code_t::invalidParameter);
  EXPECT_EQ(Set(key, {u"\0", 1}, 1), code_t::invalidParameter);
}

TEST_F(Registry, TellsTypeAndSizeFirstThenTheBytesOfAnyLength) {
  CKey key = Make();
  for (const std::size_t length : {0U, 1U, 3U, 5000U, 3U << 20}) {
    for (const type_t type : {REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_MULTI_SZ}) {
      const std::vector<std::uint8_t> bytes(length, 0xA5);
      EXPECT_TRUE(key.SetValue(u"v", type, bytes.data(), length));
      std::uint32_t found = 0;
      std::uint32_t size = 0;
      EXPECT_TRUE(key.QueryValue(u"V", &found, nullptr, &size));
      EXPECT_TRUE(found == type && size == length);
      std::vector<std::uint8_t> data(length + 1, 1);
      if (length != 0) {
        size = static_cast<std::uint32_t>(length) - 1;
        EXPECT_EQ(key.QueryValue(u"v", nullptr, data.data(), &size).code, code_t::moreData);
        EXPECT_TRUE(size == length && data[0] == 1);
      }
      EXPECT_TRUE(key.QueryValue(u"v", nullptr, data.data(), &size));
      EXPECT_TRUE(std::equal(bytes.begin(), bytes.end(), data.begin()) && data.back() == 1);
    }
  }
  EXPECT_EQ(key.SetValue(u"v", static_cast<type_t>(99), "", 0).code, code_t::invalidParameter);
  EXPECT_EQ(key.SetValue(u"v", REG_BINARY, "", kMaxDataSize + 1).code, code_t::invalidParameter);
  EXPECT_EQ(key.QueryValue(u"w", nullptr, nullptr, nullptr).code, code_t::fileNotFound);
}

TEST_F(Registry, KeysGiveTheRightsTheyWereOpenedWith) {
  CKey key = Make();
  EXPECT_EQ(Set(key, u"v", 1), code_t::success);
  CKey reader;
  EXPECT_EQ(reader.GetSubkeys(*std::make_unique<std::vector<CString>>()).code, code_t::invalidHandle);
  EXPECT_EQ(reader.Open(HKEY_LOCAL_MACHINE, u"Software\\Nobody").code, code_t::fileNotFound);
  EXPECT_TRUE(reader.Open(HKEY_LOCAL_MACHINE, u"Software"));
  const status_t refused = reader.SetValue(u"v", value_t::FromDword(2));
  EXPECT_EQ(refused.code, code_t::accessDenied);
  EXPECT_EQ(refused.text, "HKEY_LOCAL_MACHINE\\Software: the key was opened for reading");
  EXPECT_EQ(reader.DeleteTree(u"Acme").code, code_t::accessDenied);
  EXPECT_TRUE(reader.Open(reader, u"Acme\\Gateway"));
  EXPECT_EQ(reader.GetPath(), kBase);

  CKey software;
  EXPECT_TRUE(software.Open(HKEY_LOCAL_MACHINE, u"Software", KEY_READ_WRITE));
  EXPECT_EQ(software.DeleteKey(u"Acme").code, code_t::keyHasChildren);
  EXPECT_EQ(software.DeleteTree(u"").code, code_t::badPathname);
  EXPECT_EQ(Get(u"v"), 1U);
  EXPECT_TRUE(CKey().Create(software, u"Acme2\\x"));
  EXPECT_TRUE(software.DeleteTree(u"ACME"));
  EXPECT_EQ(Subkeys(software), "Acme2 ");
  EXPECT_EQ(Set(key, u"v", 1), code_t::fileNotFound);
  Make();
  EXPECT_EQ(Get(u"v"), 0xDEADU) << "deleted with its key";
  EXPECT_TRUE(software.DeleteKey(u"Acme2\\X"));
}

TEST_F(Registry, ATransactionIsWrittenWholeOrNotAtAll) {
  CKey key = Make();
  const auto seenByAnother = [] {
    std::uint32_t number = 0;
    std::thread([&] { number = Get(u"v"); }).join();
    return number;
  };
  Set(key, u"v", 1);
  {
    CTransaction undone;
    EXPECT_TRUE(undone.Begin());
    EXPECT_EQ(CTransaction().Begin().code, code_t::alreadyExists);
    EXPECT_EQ(Set(key, u"v", 2), code_t::success);
    EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, u"new"));
    EXPECT_EQ(Get(u"v"), 2U);
    EXPECT_EQ(seenByAnother(), 1U);
    SetBusyTimeout(30);
    std::thread([&] {
      const status_t status = CKey().Create(HKEY_USERS, u"x");
      EXPECT_EQ(status.code, code_t::lockViolation);
      EXPECT_EQ(status.text, file_.string() + ": write: another program has locked it for longer than 30 ms");
    }).join();
  }
  EXPECT_EQ(Get(u"v"), 1U);
  EXPECT_EQ(CKey().Open(HKEY_LOCAL_MACHINE, u"new").code, code_t::fileNotFound);
  CTransaction reading;
  EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, kBase, KEY_READ_WRITE));
  EXPECT_EQ(Get(u"v"), 1U);  // and now its place is known
  EXPECT_TRUE(reading.Begin(CTransaction::read));
  EXPECT_EQ(Get(u"v"), 1U);
  std::thread([&] { EXPECT_EQ(Set(key, u"v", 7), code_t::lockViolation); }).join();
  EXPECT_EQ(Get(u"v"), 1U);
  EXPECT_EQ(Set(key, u"v", 3), code_t::accessDenied);
  EXPECT_TRUE(reading.Commit());
  CTransaction writing;
  EXPECT_EQ(writing.Commit().code, code_t::invalidHandle);
  EXPECT_TRUE(writing.Begin());
  EXPECT_EQ(Get(u"none"), 0xDEADU);
  EXPECT_EQ(Set(key, u"v", 4), code_t::success);
  EXPECT_TRUE(writing.Commit());
  EXPECT_EQ(seenByAnother(), 4U);
}

TEST_F(Registry, ThreadsCountTogether) {
  CKey key = Make();
  Set(key, u"v", 0);
  std::atomic<bool> isOver{false};
  std::thread reader([&] {
    for (std::uint32_t last = 0; !isOver;) {
      const std::uint32_t now = Get(u"v");
      EXPECT_TRUE(now >= last && now <= 60) << now;
      last = now;
    }
  });
  std::vector<std::thread> writers;
  for (int i = 0; i < 3; ++i) {
    writers.emplace_back([&] {
      for (int step = 0; step < 20; ++step) {
        CTransaction transaction;
        EXPECT_TRUE(transaction.Begin());
        EXPECT_EQ(Set(key, u"v", Get(u"v") + 1), code_t::success);
        EXPECT_TRUE(transaction.Commit());
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  isOver = true;
  reader.join();
  EXPECT_EQ(Get(u"v"), 60U);
}

TEST_F(Registry, ChildrenUseWhatTheyInherit) {
  CKey key = Make();
  Set(key, u"v", 1);
  EXPECT_EQ(InChild([&] { return Set(key, u"v", Get(u"v") + 1) == code_t::success ? 7 : 1; }), 7);
  EXPECT_EQ(Get(u"v"), 2U);
  CTransaction transaction;
  EXPECT_TRUE(transaction.Begin());
  EXPECT_EQ(Set(key, u"v", 3), code_t::success);
  EXPECT_EQ(InChild([&] {
              const bool isRefused = Set(key, u"v", 9) == code_t::invalidHandle;
              transaction.Rollback();
              return isRefused && Read() == code_t::invalidHandle ? 7 : 1;
            }),
            7);
  EXPECT_TRUE(transaction.Commit());
  EXPECT_EQ(Get(u"v"), 3U);
}

TEST_F(Registry, RefusesWhatIsNoRegistryWithAText) {
  CKey key = Make();
  CTransaction filling;
  EXPECT_TRUE(filling.Begin());
  for (int i = 0; i < 300; ++i) Set(key, u"value " + std::u16string(20, static_cast<char16_t>(u'a' + i)), 1);
  Set(key, u"v", 1);
  EXPECT_TRUE(filling.Commit());
  const std::string good = folder_.Get("registry.db");
  // A file of its own, so that nothing of the one before is remembered.
  const auto replace = [&](std::string_view content) {
    fs::remove(file_);
    folder_.Put("registry.db", content);
  };
  const auto answers = [&] {
    CKey written;
    const code_t codes[] = {Read(), written.Create(HKEY_LOCAL_MACHINE, u"x\\y\\z").code};
    return codes[0] == code_t::badDatabase || codes[1] == code_t::badDatabase;
  };
  for (std::size_t cut = 1; cut < good.size(); cut += 1021) {
    replace(good.substr(0, cut));
    const status_t status = CKey().Create(HKEY_LOCAL_MACHINE, u"x\\y\\z");
    EXPECT_EQ(status.code, code_t::badDatabase) << cut << status.text;
    EXPECT_TRUE(status.text.starts_with(file_.string() + ": ")) << status.text;
  }
  // A page of rubbish anywhere: an answer, whichever it is.
  for (std::size_t at = 0; at < good.size(); at += 1536) {
    std::string bad = good;
    for (std::size_t i = at; i < at + 64; ++i) bad[i] = static_cast<char>(i * 167 + at);
    replace(bad);
    answers();
    CKey hive;
    static_cast<void>(hive.Open(HKEY_LOCAL_MACHINE, u"", KEY_READ_WRITE));
    static_cast<void>(hive.DeleteTree(u"Software"));
  }
  std::string other = good;
  other.replace(68, 4, "none");  // the application's mark
  std::string newer = good;
  newer.replace(60, 4, std::string("\0\0\0\2", 4));
  for (const std::string& content : {std::string("[Settings]\nkey = value\n"), std::string(5000, '\0'), other, newer}) {
    replace(content);
    EXPECT_EQ(Read(), code_t::badDatabase) << content.substr(0, 20);
    EXPECT_TRUE(answers());
    EXPECT_EQ(folder_.Get("registry.db"), content);
  }
  folder_.Put("registry.db", "");
  EXPECT_EQ(Read(), code_t::fileNotFound);
  Make();
  fs::remove(file_);
  ::mkfifo(file_.c_str(), 0600);
  EXPECT_EQ(Read(), code_t::badDatabase);
  SetRegistryFile(folder_.GetPath());
  EXPECT_EQ(Read(), code_t::badDatabase);
}

TEST_F(Registry, ReadersNeedNoRightToWriteAndWriteNothing) {
  CKey key = Make();
  Set(key, u"v", 1);
  fs::permissions(folder_.Native(), fs::perms{0555});
  fs::permissions(file_, fs::perms{0444});
  const auto write = [&] { return Code(Set(key, u"v", 2)); };
  const auto asNobody = [&](const std::function<int()>& work) {
    return InChild([&] {
      BecomeNobody();
      return work();
    });
  };
  EXPECT_EQ(asNobody([&] { return static_cast<int>(Get(u"v")); }), 1);
  EXPECT_EQ(asNobody(write), Code(code_t::accessDenied));
  EXPECT_EQ(asNobody([&] { return Code(CKey().Open(HKEY_LOCAL_MACHINE, kBase, KEY_READ_WRITE).code); }), 5);
  fs::permissions(file_, fs::perms{0666});
  EXPECT_EQ(asNobody(write), Code(code_t::accessDenied)) << "no room for a journal";
  fs::permissions(folder_.Native(), fs::perms{0});
  EXPECT_EQ(asNobody([&] { return Code(Read()); }), Code(code_t::accessDenied));
  fs::permissions(folder_.Native(), fs::perms{0755});
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.Native()), {}), 1);
}

TEST_F(Registry, AFullDiskLeavesWhatWasThere) {
  CKey key = Make();
  Set(key, u"v", 1);
  EXPECT_EQ(InChild([&] {
              std::signal(SIGXFSZ, SIG_IGN);
              const rlimit limit{200'000, 200'000};
              ::setrlimit(RLIMIT_FSIZE, &limit);
              const std::vector<std::uint8_t> large(1 << 20);
              const status_t status = key.SetValue(u"v", REG_BINARY, large.data(), large.size());
              if (status.code != code_t::diskFull || status.text.empty()) return 1;
              CTransaction transaction;
              if (!transaction.Begin() || Set(key, u"w", 1) != code_t::success) return 2;
              code_t code = code_t::success;
              for (int i = 0; i < 40 && code == code_t::success; ++i) {
                code = key.SetValue(std::u16string(static_cast<std::size_t>(i) + 1, u'x'), REG_BINARY, large.data(),
                                    1 << 17)
                           .code;
              }
              if (transaction.Commit().code != code_t::diskFull) return 3;
              return Get(u"v") == 1 && Get(u"w") == 0xDEAD ? 0 : 4;
            }),
            0);
  EXPECT_EQ(Get(u"v"), 1U);
}

}  // namespace
