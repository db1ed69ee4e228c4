// Programs that are killed while they write the registry: whoever reads then, or writes, finds what was written whole.
// ZORUTIL_KILLS sets how many are killed; 40 without it.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <random>
#include <string>

#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry.h"

namespace {

using namespace registry;

constexpr int kWriters = 2;
constexpr const char16_t* kPaths[] = {u"Software\\Plant\\Line 1", u"Software\\Plant\\Line 2\\Oven"};

// What the processes tell each other.
struct shared_t {
  std::atomic<std::uint32_t> written[kWriters];  // the number of the last write that was over
  std::atomic<std::uint32_t> reads;
  char fault[300];
};

// The bytes of a writer's nth write: their length and all of them tell which.
std::vector<std::uint8_t> Bytes(int writer, std::uint32_t n) {
  std::mt19937 random(2 * n + static_cast<unsigned>(writer));
  std::vector<std::uint8_t> bytes(4 + random() % 20000);
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    bytes[i] = static_cast<std::uint8_t>(i < 4 ? n >> (8 * i) : n * 31 + i * static_cast<unsigned>(7 + writer));
  }
  return bytes;
}

class RegistryKill : public testing::Test {
 protected:
  RegistryKill() {
    SetRegistryFile(folder_.PathOf("registry.db"));
    SetBusyTimeout(60'000);
  }
  ~RegistryKill() override {
    SetRegistryFile({});
    ::munmap(shared_, sizeof(shared_t));
  }

  bool IsFault(const std::string& fault) {
    if (shared_->fault[0] == '\0') fault.copy(shared_->fault, sizeof shared_->fault - 1);
    return false;
  }

  // The number of the writer's last write; both of its values are there and whole. `from` grows with it.
  bool Read(int writer, std::uint32_t& from) {
    const std::uint32_t least = std::max(from, shared_->written[writer].load());
    CTransaction transaction;
    status_t status = transaction.Begin(CTransaction::read);
    std::uint32_t numbers[std::size(kPaths)] = {};
    for (std::size_t i = 0; status && i < std::size(kPaths); ++i) {
      value_t value;
      status = registry::QueryValue(HKEY_LOCAL_MACHINE, kPaths[i], CString(u"w") + std::to_string(writer), value);
      if (!status && status.code == code_t::fileNotFound && least == 0) return true;
      if (!status) break;
      for (std::size_t byte = 0; byte < 4 && byte < value.data.size(); ++byte) {
        numbers[i] |= static_cast<std::uint32_t>(value.data[byte]) << (8 * byte);
      }
      if (value.data != Bytes(writer, numbers[i])) return IsFault("a value that nobody wrote");
    }
    if (!status) return IsFault(status.text);
    if (numbers[0] != numbers[1]) return IsFault("half of a transaction");
    if (numbers[0] < least) return IsFault("a write that was over is gone");
    from = numbers[0];
    ++shared_->reads;
    return true;
  }

  void WriteForEver(int writer) {
    std::uint32_t n = 0;
    if (!Read(writer, n)) return;
    for (++n;; ++n) {
      CTransaction transaction;
      status_t status = transaction.Begin();
      for (const char16_t* path : kPaths) {
        CKey key;
        if (status) status = key.Create(HKEY_LOCAL_MACHINE, path);
        if (status)
          status = key.SetValue(CString(u"w") + std::to_string(writer), value_t::FromBinary(Bytes(writer, n)));
      }
      if (status) status = transaction.Commit();
      if (!status) {
        IsFault(status.text);
        return;
      }
      shared_->written[writer] = n;
    }
  }

  void ReadForEver() {
    std::uint32_t from[kWriters] = {};
    while (Read(0, from[0]) && Read(1, from[1])) {
    }
  }

  // The last one is the reader.
  pid_t Start(int which) {
    const pid_t child = ::fork();
    if (child == 0) {
      if (which < kWriters) {
        WriteForEver(which);
      } else {
        ReadForEver();
      }
      ::_exit(1);
    }
    return child;
  }

  const CTempFolder folder_;
  shared_t* const shared_ = static_cast<shared_t*>(
      ::mmap(nullptr, sizeof(shared_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
};

TEST_F(RegistryKill, EveryValueReadIsOneThatWasWrittenWhole) {
  const char* const asked = std::getenv("ZORUTIL_KILLS");
  const int kills = asked == nullptr ? 40 : std::atoi(asked);
  std::mt19937 random(20'260'101);
  pid_t children[kWriters + 1];
  for (int i = 0; i <= kWriters; ++i) children[i] = Start(i);
  int journals = 0;
  std::uint32_t from[kWriters] = {};
  for (int kill = 0; kill < kills && shared_->fault[0] == '\0'; ++kill) {
    ::usleep(static_cast<useconds_t>(random() % 20'000));
    const unsigned which = random() % 8 == 0 ? kWriters : random() % kWriters;
    ::kill(children[which], SIGKILL);
    int status = 0;
    ::waitpid(children[which], &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status)) << "ended by itself: " << which;
    journals += std::filesystem::exists(folder_.Native("registry.db-journal"));
    EXPECT_TRUE(kill % 4 != 0 || (Read(0, from[0]) && Read(1, from[1])));
    children[which] = Start(static_cast<int>(which));
  }
  for (const pid_t child : children) {
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
  }
  EXPECT_TRUE(Read(0, from[0]) && Read(1, from[1]));
  EXPECT_STREQ(shared_->fault, "");
  EXPECT_GT(from[0] + from[1], 0U);
  std::cout << kills << " kills, " << journals << " with a journal there, " << from[0] + from[1] << " writes, "
            << shared_->reads << " reads\n";
}

}  // namespace
