// How the gateway runs: what its command line and its settings file (live_settings.h) set.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace gateway {

struct settings_t {
  std::string readings;            ///< the recorded readings, CSV
  std::string definitions;         ///< the folder of the compiled definitions; empty: beside the program
  std::vector<std::string> types;  ///< plug-ins with further types of objects
  std::string changes;             ///< a script of changes; empty: none
  std::string reported;            ///< where reported values go, CSV; empty: nowhere
  std::string log;                 ///< where the log goes; empty: standard error
  std::string plot;                ///< curves of the watched tags, SVG; empty: none
  std::string overview;            ///< all devices over time, SVG; empty: none
  std::string save;                ///< where the project goes, in all three forms, without ending; empty: memory alone
  std::vector<std::string> watched;  ///< paths of tags below the project
  bool isRealTime = false;
  std::uint64_t passes = 1;      ///< over the readings
  std::uint64_t updates = 0;     ///< end after so many; 0: at the end of the readings
  std::uint32_t sliceMs = 2000;  ///< of time that the channels run through side by side; 100 in real time
  int logIntervalMs = 60'000;    ///< of the throttle
  unsigned short languageId = 0x0409;

  bool operator==(const settings_t&) const = default;
};

}  // namespace gateway
