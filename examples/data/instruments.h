// The instruments of the boiler house: on which channel and device they sit, how their tags are set up, and what their
// registers hold.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "examples/data/boiler_house.h"

namespace boiler_house {

/// What is measured, in the tag's unit, at this second.
using measure_t = std::function<double(const CBoilerHouse& house, int second)>;

enum class kind_t {
  input,     ///< a 4-20 mA input: counts 0 to 27648 of a signed word, linear
  pressure,  ///< the same input behind a differential pressure: the flow is its square root
  word,      ///< an unsigned word, as it is
  counter,   ///< 32 bits, as they are
  real,      ///< a 32-bit real, as it is
  truth,     ///< 0 or 1
};

struct instrument_t {
  int device = 0;     ///< into house_t::devices
  std::string group;  ///< tag group; empty: the device's own tags
  std::string name;
  std::string description;
  std::string unit;
  kind_t kind = kind_t::input;
  double low = 0, high = 100;  ///< of the scaled range
  double noise = 0;            ///< in the unit
  double deadband = 0;         ///< in the unit; 0: none
  bool clampsLow = false;
  int scanMs = 500;       ///< how often the gateway asks
  int sampleSeconds = 2;  ///< how often the instrument measures
  int address = 0;        ///< of its register
  measure_t measure;
  /// What the register holds instead, when not null: empty for no answer.
  std::function<const char*(int second)> fault;
};

struct device_t {
  int channel = 0;
  std::string name;
  std::string description;
  int station = 0;
};

struct channel_t {
  std::string name;
  std::string description;
  std::string ip;  ///< empty: a serial port
  int port = 502;  ///< or the number of the serial port
  std::string GetAddress() const {
    return ip.empty() ? "serial " + std::to_string(port) : ip + ":" + std::to_string(port);
  }
};

struct house_t {
  std::vector<channel_t> channels;
  std::vector<device_t> devices;
  std::vector<instrument_t> instruments;  ///< in the order of their devices
};

house_t MakeHouse();

}  // namespace boiler_house
