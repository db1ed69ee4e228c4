// A group of settings: the named values of one section at one level, each read by its own function.
//
//   class CScanOptions : public COptions {
//    public:
//     CScanOptions() : COptions(u"Scan", LEVEL_1) {}
//     std::uint32_t GetRateMs() const { return ReadDWord(kRateMs, 1000); }
//     void SetRateMs(std::uint32_t rateMs) { WriteDWord(kRateMs, rateMs); }
//     void QueryKeys(CStringArray& keys) const override { keys.Add(kRateMs); }
//
//    private:
//     static constexpr const char16_t* kRateMs = u"RateMs";
//   };
//
// The values live in the container (options_container.h), which loads and saves whole levels. A level stands for
// itself: a value that it does not have is the default that the reader names.
//
// Values are read again and again, on every poll of a device, so each object remembers what it read, defaults included,
// until a value is written through it or the container says that the level was replaced. It remembers by the address
// of the name, not by its text: keep each name in one constant, whose text does not change. Another object of the same
// section does not learn of a write before the container's next load. Of a text, the first 255 characters are
// remembered: a longer one is whole when it is read first and cut from then on (never within a surrogate pair). 4,096
// names an object are remembered for each kind of value.
//
// A resource, told apart by its address: it registers with the container, which outlives it. Reading, writing and
// IsDefined may run on any threads at once, also while the container loads; a number that is remembered is read without
// a lock. What is read while a level is being replaced is the old value or the new one, and an old one is not
// remembered. The object's lock is held neither while the container is asked nor while handlers run.
#pragma once

#include <cstdint>
#include <memory>
#include <set>

#include "platform/export.h"
#include "platform/framework/cstring.h"

class CStringArray;

class ZORUTIL_API COptions {
 public:
  /// Each has a document of its own. Any other number means LEVEL_0.
  enum level_t : std::int32_t { LEVEL_0 = 0, LEVEL_1 = 1, LEVEL_2 = 2, LEVEL_3 = 3 };

  /// Hears that the settings of a group may have changed.
  class ZORUTIL_API IChangeHandler {
   public:
    virtual ~IChangeHandler();
    /// Runs on the thread that loads, which holds the container's lock: it may use the container and any options, and
    /// must not wait for another thread that does. What it throws is dropped. A handler that loads its own level anew
    /// is called again within that load.
    virtual void OnOptionsChanged(COptions& options) = 0;
  };

  COptions(const COptions&) = delete;
  COptions& operator=(const COptions&) = delete;
  virtual ~COptions();

  /// Adds the names of the settings in this group, in the order in which people are to see them.
  virtual void QueryKeys(CStringArray& keys) const = 0;
  /// The level was replaced: forgets what was read, then calls the handlers in the order of their addresses. An
  /// override calls this one. Neither handlers nor container may destroy the object meanwhile.
  virtual void OnSettingsChanged();

  /// As the constructor was given it.
  const CString& GetSection() const noexcept { return section_; }
  /// As the constructor was given it.
  level_t GetLevel() const noexcept { return level_; }
  /// Whether the section has that value; an empty one counts. Not remembered.
  bool IsDefined(const char16_t* key) const;

  /// Handlers are not owned. They are added and removed by the owner, not while another thread notifies; a handler may
  /// do so from its call: one that is removed is not called any more, and an added one is called when its address lies
  /// behind that of the caller.
  void RegisterChangeHandler(IChangeHandler* handler);
  void UnregisterChangeHandler(IChangeHandler* handler);

 protected:
  /// The group of that section, registered with the container until it is destroyed.
  COptions(const CString& section, level_t level);

  /// A null `def` is an empty text.
  CString ReadString(const char16_t* key, const char16_t* def) const;
  /// The number that the text begins with: 0 when there is none, 4294967295 for a larger one. `def` when the value is
  /// missing or empty.
  std::uint32_t ReadDWord(const char16_t* key, std::uint32_t def) const;
  /// Both return true, even for a name that no document can hold (see CIniFile::WriteValue), which is then not defined.
  /// @{
  bool WriteString(const char16_t* key, const char16_t* value) const;
  bool WriteDWord(const char16_t* key, std::uint32_t value) const;
  /// @}

 private:
  class CCache;
  std::unique_ptr<CCache> cache_;
  std::set<IChangeHandler*> handlers_;
  level_t level_;
  CString section_;
};
