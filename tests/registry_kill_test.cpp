// Programs that are killed while they write the registry: whoever reads then, or writes, finds what was written whole.
// ZORUTIL_KILLS sets how many are killed; 40 without it.
#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <atomic>
#include <csignal>
#include <iostream>
#include <random>

#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry_text.h"

namespace {

using namespace registry;

constexpr int kWriters = 2;
constexpr const char16_t* kPaths[] = {u"Software\\Plant", u"Software\\Plant\\Line 2\\Oven"};
constexpr const char16_t* kNames[kWriters] = {u"first", u"second"};

// What the processes tell each other.
struct shared_t {
  std::atomic<std::uint32_t> written[kWriters];  // the number of the last write that was over
};
shared_t* shared = nullptr;

// The bytes of a writer's nth write: their length and all of them tell which.
value_t ValueOf(int writer, std::uint32_t n) {
  std::mt19937 random(2 * n + static_cast<unsigned>(writer));
  std::vector<std::uint8_t> bytes(4 + random() % 20000);
  for (std::size_t i = 0; i < bytes.size(); ++i)
    bytes[i] = static_cast<std::uint8_t>(i < 4 ? n >> (8 * i) : n * 31 + i);
  return value_t::FromBinary(bytes);
}

bool Check(bool isGood, const std::string& fault) { return isGood || (std::cerr << fault << '\n', false); }

// Both values of a writer are there, whole and of the same write, `from` or a later one, which `from` becomes.
bool Read(int writer, std::uint32_t& from) {
  const std::uint32_t least = std::max(from, shared->written[writer].load());
  std::vector<key_values_t> keys;
  std::vector<value_t> values;
  const status_t status = ReadTree(HKEY_LOCAL_MACHINE, kPaths[0], keys);
  for (const key_values_t& key : keys) {
    for (const named_value_t& each : key.values) {
      if (each.name == kNames[writer]) values.push_back(each.value);
    }
  }
  if (least == 0 && values.empty() && (status || status.code == code_t::fileNotFound)) return true;
  if (!Check(values.size() == 2 && values[0].data.size() >= 4, "cannot read: " + status.text)) return false;
  const std::vector<std::uint8_t>& bytes = values[0].data;
  value_t{REG_DWORD, {bytes.begin(), bytes.begin() + 4}}.ToDword(from);
  return Check(from >= least, "a write that was over is gone") &&
         Check(values[0] == ValueOf(writer, from), "a value that nobody wrote") &&
         Check(values[0] == values[1], "half of a transaction");
}

void WriteForEver(int writer) {
  std::uint32_t n = 0;
  if (!Read(writer, n)) return;
  for (;; shared->written[writer] = n) {
    const named_value_t named{kNames[writer], ValueOf(writer, ++n)};
    const status_t status = WriteKeys(std::array{key_values_t{HKEY_LOCAL_MACHINE, kPaths[0], {named}},
                                                 key_values_t{HKEY_LOCAL_MACHINE, kPaths[1], {named}}});
    if (!Check(bool{status}, "cannot write: " + status.text)) return;
  }
}

// The one behind the writers is the reader.
pid_t Start(unsigned which) {
  const pid_t child = ::fork();
  if (child != 0) return child;
  if (which < kWriters) WriteForEver(static_cast<int>(which));
  std::uint32_t from[kWriters] = {};
  while (Read(0, from[0]) && Read(1, from[1])) continue;
  ::_exit(1);
}

TEST(RegistryKill, EveryValueReadIsOneThatWasWrittenWhole) {
  const CTempFolder folder;
  SetRegistryFile(folder.PathOf("registry.db"));
  SetBusyTimeout(60'000);
  shared = static_cast<shared_t*>(
      ::mmap(nullptr, sizeof(shared_t), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  const int kills = std::getenv("ZORUTIL_KILLS") == nullptr ? 40 : std::atoi(std::getenv("ZORUTIL_KILLS"));
  std::mt19937 random(20'260'101);
  pid_t children[kWriters + 1] = {Start(0), Start(1), Start(2)};
  std::uint32_t from[kWriters] = {};
  int journals = 0;
  for (int kill = 0; kill < kills; ++kill) {
    ::usleep(static_cast<useconds_t>(random() % 20'000));
    const unsigned which = random() % 8 == 0 ? kWriters : random() % kWriters;
    int status = 0;
    ::kill(children[which], SIGKILL);
    ::waitpid(children[which], &status, 0);
    ASSERT_TRUE(WIFSIGNALED(status)) << "it found a fault";
    journals += std::filesystem::exists(folder.Native("registry.db-journal"));
    ASSERT_TRUE(kill % 4 != 0 || (Read(0, from[0]) && Read(1, from[1])));
    children[which] = Start(which);
  }
  for (const pid_t child : children) ::kill(child, SIGKILL);
  for (const pid_t child : children) ::waitpid(child, nullptr, 0);
  EXPECT_TRUE(Read(0, from[0]) && Read(1, from[1]) && from[0] + from[1] > 0);
  std::cout << kills << " kills, " << journals << " with a journal there, " << from[0] + from[1] << " writes\n";
}

}  // namespace
