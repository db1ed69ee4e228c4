// make_boiler_house: the sample plant of the gateway, to standard output.
//
//   make_boiler_house project > boiler_house.json        the project: channels, devices, tag groups, tags
//   make_boiler_house readings > boiler_house.csv        forty minutes of its registers
//
// A register is written down when it has changed. The output is the same to the byte with every compiler.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <numeric>
#include <string>
#include <vector>

#include "examples/data/instruments.h"

namespace {

using namespace boiler_house;

constexpr int kCounts = 27648;  // of an input at the end of its range

// --- the project ----------------------------------------------------------------------------------------------------

// The numbers of the data types, scalings and deadbands as the tags' definitions have them.
enum data_type_t { BOOLEAN = 1, SHORT = 4, WORD = 5, DWORD = 7, REAL4 = 8, REAL8 = 9 };

std::string NumberText(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.10g", value);
  return text;
}

std::string Quoted(const std::string& text) { return '"' + text + '"'; }  // no text here needs an escape

std::string TagText(const instrument_t& tag) {
  std::string text = Quoted(tag.name) + ": {\"Type\": \"Tag\", \"Description\": " + Quoted(tag.description) +
                     ", \"Address\": \"" + std::to_string(tag.address) + '"';
  const auto member = [&text](const char* name, const std::string& value) {
    text.append(", \"").append(name).append("\": ").append(value);
  };
  const auto number = [&member](const char* name, double value) { member(name, NumberText(value)); };
  const bool isInput = tag.kind == kind_t::input || tag.kind == kind_t::pressure;
  constexpr int kTypes[] = {SHORT, SHORT, WORD, DWORD, REAL4, BOOLEAN};
  number("DataType", kTypes[static_cast<int>(tag.kind)]);
  member("Writable", tag.name.find("SP") != std::string::npos ? "true" : "false");
  number("ScanRate", tag.scanMs);
  if (!tag.unit.empty()) member("Unit", Quoted(tag.unit));
  if (isInput) {
    number("Scaling", tag.kind == kind_t::pressure ? 2 : 1);
    number("RawLow", 0);
    number("RawHigh", kCounts);
    number("ScaledType", REAL8);
    number("ScaledLow", tag.low);
    number("ScaledHigh", tag.high);
    if (tag.clampsLow) member("ClampLow", "true");
  }
  if (tag.deadband > 0) {
    number("DeadbandType", 1);
    number("Deadband", tag.deadband);
  }
  return text + '}';
}

// Lines of a JSON object: `"name": {` ... `}`, with commas where they belong.
class CObjectWriter {
 public:
  void Open(const std::string& text) {
    Line(text.empty() ? "{" : text + " {");
    isFirst_.push_back(true);
  }
  void Close() {
    isFirst_.pop_back();
    text_.append("\n").append(2 * isFirst_.size(), ' ').append("}");
  }
  void Line(const std::string& text) {
    if (!isFirst_.empty()) {
      if (!isFirst_.back()) text_ += ',';
      isFirst_.back() = false;
      text_ += '\n';
    }
    text_.append(2 * isFirst_.size(), ' ').append(text);
  }
  const std::string& GetText() { return text_ += '\n'; }

 private:
  std::string text_;
  std::vector<bool> isFirst_;
};

void WriteTags(CObjectWriter& out, const house_t& house, int device) {
  std::string group;
  bool isOpen = false, inGroups = false;
  for (const bool grouped : {false, true}) {
    for (const instrument_t& tag : house.instruments) {
      if (tag.device != device || tag.group.empty() == grouped) continue;
      if (grouped && tag.group != group) {
        if (!group.empty()) out.Close(), out.Close();
        if (!inGroups) out.Open("\"TagGroups\":");
        inGroups = true;
        group = tag.group;
        out.Open(Quoted(group) + ":");
        out.Line("\"Type\": \"TagGroup\"");
        out.Open("\"Tags\":");
      } else if (!grouped && !isOpen) {
        isOpen = true;
        out.Open("\"Tags\":");
      }
      out.Line(TagText(tag));
    }
    if (!grouped && isOpen) out.Close();
  }
  if (!group.empty()) out.Close(), out.Close();
  if (inGroups) out.Close();
}

std::string ProjectText(const house_t& house) {
  CObjectWriter out;
  out.Open("");
  out.Open("\"Boiler house\":");
  out.Line("\"Type\": \"Project\"");
  out.Line("\"Description\": \"Four steam boilers and a heating network: the sample plant\"");
  out.Open("\"Channels\":");
  for (int c = 0; c < static_cast<int>(house.channels.size()); ++c) {
    const channel_t& channel = house.channels[static_cast<std::size_t>(c)];
    out.Open(Quoted(channel.name) + ":");
    out.Line("\"Type\": \"Channel\"");
    out.Line("\"Description\": " + Quoted(channel.description));
    if (channel.ip.empty()) {
      out.Line("\"Medium\": 1");
      out.Line("\"SerialPort\": " + std::to_string(channel.port));
      out.Line("\"BaudRate\": 19200");
    } else {
      out.Line("\"Address\": " + Quoted(channel.ip));
      out.Line("\"Port\": " + std::to_string(channel.port));
    }
    out.Open("\"Devices\":");
    for (int d = 0; d < static_cast<int>(house.devices.size()); ++d) {
      const device_t& device = house.devices[static_cast<std::size_t>(d)];
      if (device.channel != c) continue;
      out.Open(Quoted(device.name) + ":");
      out.Line("\"Type\": \"Device\"");
      out.Line("\"Description\": " + Quoted(device.description));
      out.Line("\"StationId\": " + std::to_string(device.station));
      WriteTags(out, house, d);
      out.Close();
    }
    out.Close();
    out.Close();
  }
  out.Close();
  out.Close();
  out.Close();
  return out.GetText();
}

// --- the readings ---------------------------------------------------------------------------------------------------

long Rounded(double value) { return static_cast<long>(value < 0 ? value - 0.5 : value + 0.5); }
long Limited(long value, long low, long high) { return std::min(std::max(value, low), high); }

std::string RegisterText(const instrument_t& tag, const CBoilerHouse& house, int second, CRandom& random) {
  const double value = tag.measure(house, second) + random.Noise() * tag.noise;
  if (const char* const fault = tag.fault ? tag.fault(second) : nullptr) return fault;
  const double share = (value - tag.low) / (tag.high - tag.low);
  switch (tag.kind) {
    case kind_t::input: return std::to_string(Limited(Rounded(share * kCounts), -4864, 32511));
    case kind_t::pressure: {
      // The pressure difference goes with the square of the flow; the zero of those that clamp it has drifted less.
      const double counts = (share < 0 ? -share * share : share * share) * kCounts - (tag.clampsLow ? 4 : 14);
      return std::to_string(Limited(Rounded(counts), -4864, 32511));
    }
    case kind_t::word: return std::to_string(Limited(Rounded(value), 0, 65535));
    case kind_t::counter: return std::to_string(static_cast<long>(value));
    case kind_t::real: return NumberText(static_cast<double>(Rounded(value * 1000)) / 1000);
    case kind_t::truth: return value != 0 ? "1" : "0";
  }
  return {};
}

std::string ReadingsText(const house_t& house) {
  CRandom random(7);
  CBoilerHouse plant;
  // Devices answer one after the other, each at its own moment of the second.
  const auto moment = [&house](std::size_t i) {
    const device_t& device = house.devices[static_cast<std::size_t>(house.instruments[i].device)];
    return (device.channel * 131 + device.station * 43) % 1000;
  };
  std::vector<std::size_t> order(house.instruments.size());
  std::iota(order.begin(), order.end(), std::size_t{0});
  std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return moment(a) < moment(b); });

  std::vector<std::string> held(order.size(), "never");
  std::string out = "time,station,address,value\n";
  for (int second = 0; second < kSeconds; ++second) {
    plant.Advance(second);
    for (const std::size_t i : order) {
      const instrument_t& tag = house.instruments[i];
      if (second != 0 && (second + static_cast<int>(i)) % tag.sampleSeconds != 0) continue;
      std::string text = RegisterText(tag, plant, second, random);
      if (text == held[i]) continue;
      const device_t& device = house.devices[static_cast<std::size_t>(tag.device)];
      simulation::AppendTime(out, second, moment(i));
      out += ',' + house.channels[static_cast<std::size_t>(device.channel)].GetAddress() + '/';
      out += std::to_string(device.station) + ',' + std::to_string(tag.address) + ',' + text + '\n';
      held[i] = std::move(text);
    }
  }
  return out;
}

}  // namespace

int main(int argc, char** argv) {
  const bool isProject = argc == 2 && std::strcmp(argv[1], "project") == 0;
  if (!isProject && (argc != 2 || std::strcmp(argv[1], "readings") != 0)) {
    std::fputs("make_boiler_house project|readings\n", stderr);
    return 2;
  }
  const house_t house = MakeHouse();
  const std::string text = isProject ? ProjectText(house) : ReadingsText(house);
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  return written ? 0 : 3;
}
