// make_plant: the readings of the sample plant, to standard output.
//
//   make_plant > examples/data/plant_readings.csv
//
// Five hours of a small boiler house: a cold start, a change of load, a trip of the feed pump and the restart. The
// instruments have what instruments have: noise, dropouts, a stuck level sensor, currents and pressures beyond the
// end of their range.
#include <cstdint>
#include <cstdio>
#include <string>

#include "examples/data/simulation.h"

namespace {

using simulation::CRandom;
using simulation::IsWithin;

constexpr int kTicksPerSecond = 2;
constexpr int kSeconds = 5 * 3600;
constexpr double kTick = 1.0 / kTicksPerSecond;

constexpr int At(int hour, int minute, int second = 0) { return (hour * 60 + minute) * 60 + second; }
// The story, in seconds since its beginning.
constexpr int kStart = At(0, 30);
constexpr int kLinkLost = At(1, 20);  // the temperature transmitter, for 90 seconds
constexpr int kFlushed = At(1, 55);   // the level's impulse line, for 20 seconds: it reads below zero
constexpr int kMoreLoad = At(2, 15);
constexpr int kStuck = At(2, 50);  // the level sensor, for 15 minutes
constexpr int kTrip = At(3, 45);
constexpr int kRestart = At(4, 15);

// What really happens.
class CPlant {
 public:
  void Advance(int second, CRandom& random) {
    running_ = IsWithin(second, kStart, kTrip - kStart) || second >= kRestart;
    sinceStart_ = !running_ ? -1 : second - (second >= kRestart ? kRestart : kStart);
    const bool moreLoad = IsWithin(second, kMoreLoad, kTrip - kMoreLoad);
    const double target = !running_ ? 0 : moreLoad ? 96 : 62;
    const double flowBefore = flow_;
    Approach(flow_, target, running_ ? 90 : 6);
    litres_ += flow_ / 3.6 * kTick;

    // The burner follows the flow late: cold feed water cools the boiler first.
    Approach(burner_, running_ ? target : 0, 600);
    Approach(temperature_, 38 + burner_ * 2.35 - (flow_ - burner_) * 0.7, 420);

    // The tank: drawn down by the flow, filled by a slow controller; its surface is a damped pendulum.
    Approach(inlet_, flow_ + (4300 - level_) * 0.05, 240);
    level_ += (inlet_ - flow_) / 3.6 * kTick * 0.25;
    const double push = (flow_ - flowBefore) * -30 + random.Noise() * 9;
    surfaceSpeed_ += (-0.42 * surface_ - 0.012 * surfaceSpeed_ + push) * kTick;
    surface_ += surfaceSpeed_ * kTick;
  }

  bool IsRunning() const { return running_; }
  bool IsStartingUp() const { return running_ && sinceStart_ < 6; }
  double Flow() const { return flow_; }                // m3/h
  double Temperature() const { return temperature_; }  // degrees
  double Level() const { return level_ + surface_; }   // mm
  double Pulses() const { return litres_ / 2; }        // one for every 2 litres
  double Current() const {                             // A
    if (!running_) return 0;
    return sinceStart_ < 6 ? 135 - sinceStart_ * 9 : 17 + flow_ * 0.52;
  }

 private:
  static void Approach(double& value, double target, double seconds) { value += (target - value) * kTick / seconds; }

  bool running_ = false;
  int sinceStart_ = -1;
  double flow_ = 0;
  double burner_ = 0;
  double temperature_ = 38;
  double inlet_ = 0;
  double level_ = 4300;
  double surface_ = 0;
  double surfaceSpeed_ = 0;
  double litres_ = 0;
};

// --- instruments: what the device's registers hold ------------------------------------------------------------------

std::int32_t Rounded(double value) { return static_cast<std::int32_t>(value < 0 ? value - 0.5 : value + 0.5); }
std::int32_t Limited(std::int32_t value, std::int32_t low, std::int32_t high) {
  return value < low ? low : value > high ? high : value;
}

// Counts of a signed 4-20 mA input: 0 to 27648 is the range, -4864 and 32511 are its ends.
std::int32_t SignedCounts(double share) { return Limited(Rounded(share * 27648), -4864, 32511); }
// Counts of a 12-bit input behind a burden resistor: 819 to 4095 is the range, up to 4300 is seen.
std::int32_t UnsignedCounts(double share) { return Limited(Rounded(819 + share * (4095 - 819)), 0, 4300); }

std::int32_t FlowCounts(const CPlant& plant, int second, CRandom& random) {
  const double share = plant.Flow() / 120;                   // the pressure difference goes with its square
  const double slam = IsWithin(second, kTrip, 4) ? 1.3 : 0;  // the check valve closes
  return SignedCounts(share * share + slam + random.Noise() * (0.0003 + share * 0.006));
}

std::int32_t StatusWord(const CPlant& plant, int second) {
  constexpr std::int32_t kReady = 0x0001, kRunning = 0x0002, kStarting = 0x0004, kAlarm = 0x0010, kTripped = 0x0020;
  const bool tripped = IsWithin(second, kTrip, kRestart - 300 - kTrip);
  return (tripped ? kTripped | kAlarm : kReady) | (plant.IsRunning() ? kRunning : 0) |
         (IsWithin(second, kStart, 180) || IsWithin(second, kRestart, 180) ? kStarting : 0) |
         (plant.Temperature() > 245 ? kAlarm : 0);
}

// --- output ---------------------------------------------------------------------------------------------------------

class CWriter {
 public:
  CWriter() : text_("time,tag,value\n") {}
  void Add(int tick, int ms, const char* tag, std::int32_t value) { AddRow(tick, ms, tag, std::to_string(value)); }
  void AddDropout(int tick, int ms, const char* tag) { AddRow(tick, ms, tag, ""); }
  const std::string& GetText() const { return text_; }

 private:
  void AddRow(int tick, int ms, const char* tag, const std::string& value) {
    const int second = tick / kTicksPerSecond;
    simulation::AppendTime(text_, second, tick % kTicksPerSecond * (1000 / kTicksPerSecond) + ms);
    text_.append(",").append(tag).append(",").append(value).append("\n");
  }
  std::string text_;
};

std::string MakeReadings() {
  CRandom random(20260312);
  CPlant plant;
  CWriter out;
  std::int32_t level = 0;
  for (int tick = 0; tick < kSeconds * kTicksPerSecond; ++tick) {
    const int second = tick / kTicksPerSecond;
    plant.Advance(second, random);
    const auto isEvery = [tick](int ticks) { return tick % ticks == 0; };

    if (isEvery(2)) out.Add(tick, 4, "FT101", FlowCounts(plant, second, random));
    if (isEvery(4)) {
      const bool lost = IsWithin(second, kLinkLost, 90) || random.OneIn(800);
      const std::int32_t counts = SignedCounts(plant.Temperature() / 300 + random.Noise() * 0.0012);
      lost ? out.AddDropout(tick, 61, "TT201") : out.Add(tick, 61, "TT201", counts);
    }
    const double noise = random.Noise() * 0.0008;
    if (!IsWithin(second, kStuck, 15 * 60)) level = SignedCounts(plant.Level() / 8000 + noise);
    if (IsWithin(second, kFlushed, 20)) level = SignedCounts(-0.011 + noise);
    out.Add(tick, 97, "LT301", level);
    const double running = plant.IsRunning() ? 0.009 : 0.002;
    const std::int32_t current = UnsignedCounts(plant.Current() / 100 + random.Noise() * running);
    random.OneIn(2000) ? out.AddDropout(tick, 118, "IT401") : out.Add(tick, 118, "IT401", current);
    // A 16-bit register: it starts somewhere, and rolls over.
    if (isEvery(10)) out.Add(tick, 140, "FQ101", static_cast<std::int32_t>(plant.Pulses() + 41230) % 65536);
    if (isEvery(20)) out.Add(tick, 152, "ST400", StatusWord(plant, second));
  }
  return out.GetText();
}

}  // namespace

int main() {
  const std::string text = MakeReadings();
  const bool written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0;
  return written ? 0 : 3;
}
