// The settings of a run: the command line before the settings file, the file before the defaults. The file may change
// while the gateway runs.
//
//   CLiveSettings live(settings, given, file);              // settings are complete now
//   ...
//   for (const std::string& line : live.Look()) Log(line);   // after each slice: settings may be other ones
//
// The file is loaded into the options store, and what comes of that is heard by a handler, so that a load by anybody
// else in the process is taken over as well. Meanwhile the log interval, the slice and the language may change; the
// rest is for the next start. A file that is gone, cut or wrong in one place is not taken at all.
//
// It refers to the settings. One thread at a time, which is the one that loads level 1.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "examples/gateway/gateway_options.h"
#include "examples/gateway/settings.h"
#include "util/os/throttle.h"

namespace gateway {

/// What the command line says.
struct given_t {
  std::optional<int> logIntervalMs;
  std::optional<bool> isRealTime;
  std::optional<std::string> language, definitions, log;
};

class CLiveSettings : private COptions::IChangeHandler {
 public:
  /// An empty file is none. std::runtime_error with all that is wrong with the file.
  CLiveSettings(settings_t& settings, given_t given, std::string file);
  CLiveSettings(const CLiveSettings&) = delete;
  CLiveSettings& operator=(const CLiveSettings&) = delete;
  ~CLiveSettings() override;

  /// Loads the file when it is another one (by its time and size; in real time looked at once a second). What the log
  /// should tell of it; nothing when it is the same.
  std::vector<std::string> Look();

  /// The product's settings file, when there is one; otherwise empty, and no folder is made.
  static std::string FindProductFile();

 private:
  using stamp_t = std::pair<std::filesystem::file_time_type, std::uintmax_t>;

  stamp_t GetStamp() const;
  std::vector<std::string> Load();
  void OnOptionsChanged(COptions&) override;
  void TakeFixed(settings_t& settings) const;

  settings_t& settings_;
  const given_t given_;
  const std::string file_;
  CGatewayOptions options_;
  stamp_t seen_;
  zorutil::time_utils::CThrottle throttle_;
};

}  // namespace gateway
