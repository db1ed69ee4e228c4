#include "platform/registry/registry.h"

#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <functional>
#include <future>

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

  static code_t Set(CKey& key, std::u16string_view name, std::uint32_t number) {
    return key.SetValue(name, value_t::FromDword(number)).code;
  }
  static CKey Make(std::uint32_t number = 1, std::u16string_view path = kBase) {
    CKey key;
    EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, path) && Set(key, u"v", number) == code_t::success);
    return key;
  }
  // The number, or the code of what failed behind 1000.
  static std::uint32_t Get(std::u16string_view name = u"v", std::u16string_view path = kBase) {
    value_t value;
    std::uint32_t number = 999;
    const status_t status = registry::QueryValue(HKEY_LOCAL_MACHINE, path, name, value);
    return status ? (value.ToDword(number), number) : No(status.code);
  }
  static std::uint32_t No(code_t code) { return 1000 + static_cast<std::uint32_t>(code); }
  // Whether the function is true in a child process, which with `asNobody` has no rights of its own.
  static bool InChild(bool asNobody, const std::function<bool()>& work) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit((asNobody && (::setegid(65534) != 0 || ::seteuid(65534) != 0)) || !work() ? 1 : 0);
    int status = -1;
    return ::waitpid(child, &status, 0) == child && status == 0;
  }

  const CTempFolder folder_;
  const fs::path file_ = folder_.Native("registry.db");
};

TEST_F(Registry, MakesItsFileWithTheFirstWriteAndFollowsItsPlace) {
  SetRegistryFile(folder_.PathOf("a/r.db"));
  CKey hive;
  std::vector<CString> names;
  EXPECT_TRUE(hive.Open(HKEY_LOCAL_MACHINE, u"", KEY_READ_WRITE) && hive.GetSubkeys(names));
  EXPECT_FALSE(hive.DeleteTree(kBase) || hive.DeleteValue(u"v") || fs::exists(folder_.Native("a")));
  EXPECT_EQ(Set(hive, u"v", 1), code_t::success) << "hives are there without a file";
  CKey key = Make(3);
  fs::rename(folder_.Native("a/r.db"), folder_.Native("old.db"));
  EXPECT_EQ(Set(key, u"v", 4), code_t::fileNotFound);
  Make(5);
  fs::rename(folder_.Native("old.db"), folder_.Native("a/r.db"));
  EXPECT_EQ(Get(), 3U);
}

TEST_F(Registry, NamesIgnoreLetterCaseAndKeepIt) {
  CKey key = Make(1, u"Überblick\\b");
  for (const char16_t* name : {u"b", u"C", u"é", u"a/b", u"", u"B", u"É"}) Set(key, name, 1);
  std::vector<named_value_t> values;
  std::string names = key.GetValues(values).text;
  for (const named_value_t& each : values) names += each.name.ToUtf8() + ",";
  EXPECT_EQ(names, ",a/b,b,C,é,v,");
  bool wasCreated = true;
  EXPECT_TRUE(key.Create(HKEY_LOCAL_MACHINE, u"ÜBERBLICK\\B", KEY_READ, &wasCreated) && !wasCreated);
  Make(1, u"ÜBERBLICK\\A");
  std::vector<CString> keys;
  EXPECT_TRUE(key.Open(HKEY_LOCAL_MACHINE, u"Überblick") && key.GetSubkeys(keys));
  EXPECT_EQ(keys, (std::vector<CString>{u"A", u"b"}));
  const std::u16string longest(255, u'k');
  const std::u16string odd = u"\xD800\xFFFF]\"\n";
  for (const auto& path : {longest, odd}) Make(1, path);
  for (const auto& path : {longest + u'k', u'\\' + odd, odd + u'\\', odd + u"\\\\" + odd, odd + u'\0'}) {
    EXPECT_EQ(key.Create(HKEY_LOCAL_MACHINE, path).code, code_t::badPathname) << path.size();
  }
  const std::u16string longName(16383, u'ö');
  key = Make();
  EXPECT_EQ(Set(key, longName, 1), code_t::success);
  EXPECT_TRUE(Get(longName) == 1 && Set(key, longName + u"o", 1) == code_t::invalidParameter);
}

TEST_F(Registry, TellsTypeAndSizeFirstThenTheBytesOfAnyLength) {
  CKey key = Make();
  for (const std::uint32_t length : {0U, 1U, 5001U, 3U << 20}) {
    std::vector<std::uint8_t> data(length, 0xA5);
    std::uint32_t type = 0;
    std::uint32_t size = 0;
    EXPECT_TRUE(key.SetValue(u"v", REG_SZ, data.data(), length));
    EXPECT_TRUE(key.QueryValue(u"V", &type, nullptr, &size) && type == REG_SZ && size == length);
    data.assign(length + 1, 1);
    const bool isEnough = bool{key.QueryValue(u"v", nullptr, data.data(), &(size = length / 2))};
    EXPECT_TRUE(isEnough == (length == 0) && size == length && data[0] == 1);
    EXPECT_TRUE(key.QueryValue(u"v", nullptr, data.data(), &(size = length)));
    EXPECT_EQ(std::count(data.begin(), data.end(), 0xA5), length);
  }
}

TEST_F(Registry, KeysGiveTheRightsTheyWereOpenedWith) {
  CKey key = Make();
  CKey other;
  EXPECT_TRUE(!other.DeleteTree(u"Acme") && other.Open(HKEY_LOCAL_MACHINE, u"Software"));
  EXPECT_EQ(other.SetValue(u"v", {}).text, "HKEY_LOCAL_MACHINE\\Software: the key was opened for reading");
  EXPECT_TRUE(other.Open(other, u"Acme\\Gateway") && other.GetPath() == kBase);
  EXPECT_TRUE(other.Open(HKEY_LOCAL_MACHINE, u"Software", KEY_READ_WRITE));
  EXPECT_EQ(other.DeleteKey(u"Acme").code, code_t::keyHasChildren);
  EXPECT_TRUE(Get() == 1 && CKey().Create(other, u"Acme2\\x") && other.DeleteTree(u"ACME"));
  EXPECT_EQ(Set(key, u"v", 1), code_t::fileNotFound);
  EXPECT_TRUE(other.DeleteKey(u"Acme2\\X") && CKey().Create(HKEY_LOCAL_MACHINE, kBase));
  EXPECT_EQ(Get(), No(code_t::fileNotFound)) << "deleted with its key";
  Make();
  EXPECT_TRUE(Get() == 1 && other.DeleteKey(u"Acme\\Gateway"));
  Make(5, u"Software\\Acme\\Other");
  EXPECT_EQ(Get(), No(code_t::fileNotFound)) << "another key has its place now";
}

TEST_F(Registry, ATransactionIsWrittenWholeOrNotAtAllAndReadsOfOneMoment) {
  CKey key = Make();
  SetBusyTimeout(30);
  const auto isLocked = [&] {  // for another thread, which may read what was there before
    return std::async(std::launch::async, [&] { return Get() == 1 && Set(key, u"v", 7) == code_t::lockViolation; })
        .get();
  };
  {
    CTransaction undone;
    EXPECT_TRUE(undone.Begin() && Set(key, u"v", 2) == code_t::success && Get() == 2);
    EXPECT_TRUE(CTransaction().Begin().code == code_t::alreadyExists && isLocked());
  }
  EXPECT_TRUE(Get() == 1 && Get() == 1);  // and now its place is known
  CTransaction transaction;
  EXPECT_TRUE(transaction.Begin(CTransaction::read) && Get() == 1 && isLocked());
  EXPECT_EQ(Set(key, u"v", 3), code_t::accessDenied);
  EXPECT_TRUE(Get() == 1 && transaction.Commit());
  EXPECT_TRUE(!transaction.Commit() && transaction.Begin() && Set(key, u"v", 4) == code_t::success);
  EXPECT_EQ(Get(u"none"), No(code_t::fileNotFound));
  EXPECT_TRUE(transaction.Commit() && Get() == 4);
}

TEST_F(Registry, ThreadsCountTogether) {
  CKey key = Make(0);
  std::vector<std::future<void>> threads(3);
  for (auto& each : threads) {
    each = std::async(std::launch::async, [&] {
      CTransaction one;
      for (std::uint32_t step = 0; step < 20; ++step) {
        EXPECT_TRUE(one.Begin() && Set(key, u"v", Get() + 1) == code_t::success && one.Commit() && Get() > step);
      }
    });
  }
  threads.clear();
  EXPECT_EQ(Get(), 60U);
}

TEST_F(Registry, ChildrenUseWhatTheyInherit) {
  CKey key = Make();
  EXPECT_TRUE(InChild(false, [&] { return Set(key, u"v", Get() + 1) == code_t::success; }));
  CTransaction transaction;
  EXPECT_TRUE(Get() == 2 && transaction.Begin() && Set(key, u"v", 3) == code_t::success);
  EXPECT_TRUE(InChild(false, [&] {
    const bool isRefused = Set(key, u"v", 9) == code_t::invalidHandle;
    transaction.Rollback();
    return isRefused && Get() == No(code_t::invalidHandle);
  }));
  EXPECT_TRUE(transaction.Commit() && Get() == 3U);
}

TEST_F(Registry, RefusesWhatIsNoRegistryWithAText) {
  CKey key = Make();
  EXPECT_TRUE(key.SetValue(u"w", REG_BINARY, std::string(20'000, 'x').data(), 20'000));
  const std::string good = folder_.Get("registry.db");
  // In a file of its own, so that nothing of the one before is remembered.
  const auto write = [&](std::string_view content) {
    fs::remove(file_);
    folder_.Put("registry.db", content);
    return CKey().Create(HKEY_LOCAL_MACHINE, u"x\\y\\z");
  };
  for (std::size_t cut = 1; cut < good.size(); cut += 1021) {
    const status_t status = write(good.substr(0, cut));
    EXPECT_TRUE(status.code == code_t::badDatabase && status.text.starts_with(file_.string() + ": ")) << status.text;
  }
  // Rubbish anywhere: an answer, whichever it is.
  for (std::size_t at = 0; at < good.size(); at += 1536) {
    std::string bad = good;
    for (std::size_t i = at; i < at + 64; ++i) bad[i] = static_cast<char>(i * 167 + at);
    const status_t status = write(bad);
    EXPECT_EQ(status.text.empty(), bool{status});
  }
  // The mark of registries, the number of the form, and other files.
  for (const std::string& content : {std::string(good).replace(68, 4, "none"), std::string(good).replace(63, 1, "\2"),
                                     std::string("[Settings]\nkey = value\n"), std::string(5000, '\0')}) {
    EXPECT_EQ(write(content).code, code_t::badDatabase) << content.substr(0, 20);
    EXPECT_TRUE(Get() == No(code_t::badDatabase) && folder_.Get("registry.db") == content);
  }
  EXPECT_TRUE(write("") && fs::remove(file_) && ::mkfifo(file_.c_str(), 0600) == 0);
  EXPECT_EQ(Get(), No(code_t::badDatabase));
}

TEST_F(Registry, ReadersNeedNoRightToWriteAndWriteNothing) {
  CKey key = Make();
  const auto isDenied = [&] { return Set(key, u"v", 2) == code_t::accessDenied; };
  fs::permissions(folder_.Native(), fs::perms{0555});
  fs::permissions(file_, fs::perms{0444});
  EXPECT_TRUE(InChild(::geteuid() == 0, [&] {
    const bool mayRead = Get() == 1 && isDenied() && !CKey().Open(HKEY_LOCAL_MACHINE, kBase, KEY_READ_WRITE);
    SetRegistryFile(folder_.PathOf("new.db"));
    return mayRead && CKey().Create(HKEY_LOCAL_MACHINE, kBase).code == code_t::accessDenied;
  }));
  fs::permissions(file_, fs::perms{0666});
  EXPECT_TRUE(InChild(::geteuid() == 0, isDenied)) << "no room for a journal";
  fs::permissions(folder_.Native(), fs::perms{0});
  EXPECT_TRUE(InChild(::geteuid() == 0, [] { return Get() == No(code_t::accessDenied); }));
  fs::permissions(folder_.Native(), fs::perms{0755});
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_.Native()), {}), 1);
}

TEST_F(Registry, AFullDiskLeavesWhatWasThere) {
  CKey key = Make();
  const std::vector<std::uint8_t> large(1 << 17);
  EXPECT_TRUE(InChild(false, [&] {
    std::signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{200'000, 200'000};
    CTransaction transaction;
    if (::setrlimit(RLIMIT_FSIZE, &limit) != 0 || !transaction.Begin() || !key.SetValue(u"v", {})) return false;
    std::u16string name;
    while (key.SetValue(name += u'n', REG_BINARY, large.data(), large.size()) && name.size() < 40) continue;
    return transaction.Commit().code == code_t::diskFull && Get() == 1 && Get(u"n") == No(code_t::fileNotFound);
  }));
}

}  // namespace
