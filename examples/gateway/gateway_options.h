// What an installation of the gateway sets, as a group of the options store: section "Gateway" of level 1.
//
//   [Gateway]
//   LogIntervalMs=60000      entries of one kind of a channel are this far apart; 0 to 86400000
//   SliceMs=2000             of time that the channels run through side by side; 10 to 600000 (in real time: 100)
//   RealTime=0               1: simulated time passes as fast as real time
//   Language=en              of failures
//   Definitions=             the folder of the compiled definitions; empty: beside the program
//   Log=                     where the log goes; empty: standard error
//
// Reading is for any thread. The settings that a run goes by are in live_settings.h.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "platform/framework/cstring.h"
#include "platform/zorplatform/ini_file.h"
#include "util/options/options.h"

namespace gateway {

class CGatewayOptions : public COptions {
 public:
  CGatewayOptions() : COptions(u"Gateway", LEVEL_1) {}

  std::uint32_t GetLogIntervalMs() const { return ReadDWord(kLogIntervalMs, 60'000); }
  /// 0: not set.
  std::uint32_t GetSliceMs() const { return ReadDWord(kSliceMs, 0); }
  bool IsRealTime() const { return ReadDWord(kRealTime, 0) != 0; }
  std::string GetLanguage() const { return ReadText(kLanguage); }
  std::string GetDefinitions() const { return ReadText(kDefinitions); }
  std::string GetLog() const { return ReadText(kLog); }
  void QueryKeys(CStringArray& keys) const override;

  /// What is wrong with the group in a document that is to be loaded, a line each that begins with the document's
  /// `file`: lines without meaning (anywhere in it), a last line without its end, which is what is left of a longer
  /// one, keys that the gateway does not know, values that are no number or out of range.
  std::vector<std::string> Check(const CIniFile& document, const std::string& file) const;

 private:
  static constexpr const char16_t* kLogIntervalMs = u"LogIntervalMs";
  static constexpr const char16_t* kSliceMs = u"SliceMs";
  static constexpr const char16_t* kRealTime = u"RealTime";
  static constexpr const char16_t* kLanguage = u"Language";
  static constexpr const char16_t* kDefinitions = u"Definitions";
  static constexpr const char16_t* kLog = u"Log";
  struct setting_t {
    const char16_t* key;
    std::uint32_t least, most;  // of a number; both 0: a text
  };
  static constexpr setting_t kSettings[] = {{kLogIntervalMs, 0, 86'400'000},
                                            {kSliceMs, 10, 600'000},
                                            {kRealTime, 0, 1},
                                            {kLanguage, 0, 0},
                                            {kDefinitions, 0, 0},
                                            {kLog, 0, 0}};

  std::string ReadText(const char16_t* key) const { return ReadString(key, u"").ToUtf8(); }
  static std::string WhatIsExpected(const CString& key, const std::string& value);
};

}  // namespace gateway
