#include "examples/data/instruments.h"

#include <utility>

namespace boiler_house {
namespace {

using house_ref_t = const CBoilerHouse&;

std::string Number(int number) { return std::to_string(number); }

// Collects the instruments, device by device; the setters change the one added last.
class CMaker {
 public:
  house_t Take() { return std::move(house_); }

  void Channel(std::string name, std::string description, std::string ip, int port) {
    house_.channels.push_back({std::move(name), std::move(description), std::move(ip), port});
    station_ = 0;
  }
  void Device(std::string name, std::string description) {
    house_.devices.push_back(
        {static_cast<int>(house_.channels.size()) - 1, std::move(name), std::move(description), ++station_});
    group_.clear();
    address_ = 40000;
  }
  void Group(std::string name) { group_ = std::move(name); }

  CMaker& Add(kind_t kind, std::string name, std::string description, measure_t measure) {
    instrument_t& made = house_.instruments.emplace_back();
    made.device = static_cast<int>(house_.devices.size()) - 1;
    made.group = group_;
    made.name = std::move(name);
    made.description = std::move(description);
    made.kind = kind;
    made.address = ++address_;
    if (kind == kind_t::counter || kind == kind_t::real) ++address_;  // two registers
    made.measure = std::move(measure);
    return *this;
  }
  CMaker& Range(std::string unit, double low, double high) {
    last().unit = std::move(unit);
    last().low = low;
    last().high = high;
    last().noise = (high - low) * 0.0006;
    last().deadband = (high - low) * 0.005;
    return *this;
  }
  CMaker& Unit(std::string unit) { return last().unit = std::move(unit), *this; }
  CMaker& Noise(double noise) { return last().noise = noise, *this; }
  CMaker& Deadband(double deadband) { return last().deadband = deadband, *this; }
  CMaker& Clamps() { return last().clampsLow = true, *this; }
  CMaker& Every(int scanMs, int sampleSeconds) {
    last().scanMs = scanMs;
    last().sampleSeconds = sampleSeconds;
    return *this;
  }
  CMaker& Fault(std::function<const char*(int)> fault) { return last().fault = std::move(fault), *this; }

 private:
  instrument_t& last() { return house_.instruments.back(); }

  house_t house_;
  std::string group_;
  int station_ = 0;
  int address_ = 0;
};

void AddBurners(CMaker& make, int b) {
  make.Device("Burners", "Four gas burners with their valves and flame scanners");
  for (int i = 1; i <= 4; ++i) {
    const std::string n = Number(i);
    const double share = 1 + (i - 2.5) * 0.03;  // no two burners are the same
    make.Group("Burner " + n);
    make.Add(kind_t::input, "BE" + n + "1", "Flame intensity",
             [b, share](house_ref_t house, int) {
               const boiler_t& boiler = house.GetBoiler(b);
               return boiler.isFiring ? (42 + boiler.fuel * 50) * share : 1.5;
             })
        .Range("%", 0, 100)
        .Noise(1.6)
        .Deadband(4)
        .Every(100, 2);
    make.Add(kind_t::input, "FV" + n + "1", "Gas valve position",
             [b, share](house_ref_t house, int) { return house.GetBoiler(b).fuel * 96 * share; })
        .Range("%", 0, 100)
        .Noise(0.05)
        .Every(200, 2);
    make.Add(kind_t::input, "FV" + n + "2", "Air damper position",
             [b, share](house_ref_t house, int) { return house.GetBoiler(b).air * 80 * share; })
        .Range("%", 0, 100)
        .Noise(0.05)
        .Every(200, 2);
    make.Add(kind_t::pressure, "FT" + n + "1", "Gas flow",
             [b, share](house_ref_t house, int) { return house.GetBoiler(b).fuel * 362 * share; })
        .Range("m3/h", 0, 500)
        .Noise(1.2)
        .Every(250, 2)
        .Clamps();
    make.Add(kind_t::input, "PT" + n + "1", "Gas pressure before the burner",
             [b](house_ref_t house, int) { return 8 + house.GetBoiler(b).fuel * 110; })
        .Range("mbar", 0, 200)
        .Every(250, 2);
    make.Add(kind_t::input, "TT" + n + "1", "Burner tip temperature",
             [b, share](house_ref_t house, int) { return house.GetBoiler(b).metal * 1.6 * share; })
        .Range("°C", 0, 900)
        .Every(1000, 4);
    make.Add(kind_t::word, "XS" + n + "1", "Burner state",
             [b](house_ref_t house, int) {
               const boiler_t& boiler = house.GetBoiler(b);
               return !boiler.isFiring ? 0.0 : boiler.firingFor < 12 ? 1.0 : boiler.firingFor < 30 ? 2.0 : 4.0;
             })
        .Every(100, 2);
    make.Add(kind_t::counter, "KQ" + n + "1", "Starts since commissioning",
             [b, i](house_ref_t, int second) { return 812 + i * 3 + (b == 1 && second >= kRelit ? 1 : 0); })
        .Every(5000, 10);
  }
}

void AddDrum(CMaker& make, int b) {
  make.Device("Drum", "Steam drum, feed water and steam");
  for (const char c : {'A', 'B', 'C'}) {
    const double offset = c - 'B';
    make.Add(kind_t::input, std::string("LT10") + c, std::string("Drum level, transmitter ") + c,
             [b, c, offset, held = 0.0](house_ref_t house, int second) mutable {
               const boiler_t& boiler = house.GetBoiler(b);
               const bool isStuck = b == 2 && c == 'B' && IsWithin(second, kLevelStuck, 360);
               if (!isStuck) held = boiler.level + boiler.swell + offset * 1.8;
               return held;
             })
        .Range("mm", -250, 250)
        .Noise(0.9)
        .Every(100, 2);
  }
  make.Add(kind_t::input, "PT101", "Drum pressure", [b](house_ref_t h, int) { return h.GetBoiler(b).pressure; })
      .Range("bar", 0, 16)
      .Noise(0.008)
      .Deadband(0.05)
      .Every(200, 2);
  make.Add(kind_t::input, "PT102", "Drum pressure, safety", [b](house_ref_t h, int) { return h.GetBoiler(b).pressure; })
      .Range("bar", 0, 16)
      .Noise(0.008)
      .Deadband(0.05)
      .Every(200, 2);
  // A zero that has drifted: without flow it reads below the range, and a root knows no result there.
  make.Add(kind_t::pressure, "FT101", "Steam flow", [b](house_ref_t h, int) { return h.GetBoiler(b).steam; })
      .Range("t/h", 0, 32)
      .Noise(0.06)
      .Every(200, 2);
  make.Add(kind_t::pressure, "FT102", "Feed water flow", [b](house_ref_t h, int) { return h.GetBoiler(b).feed; })
      .Range("t/h", 0, 36)
      .Noise(0.07)
      .Every(200, 2)
      .Clamps();
  make.Add(kind_t::input, "TT101", "Steam temperature",
           [b](house_ref_t h, int) { return h.GetBoiler(b).steamTemperature; })
      .Range("°C", 0, 350)
      .Every(500, 2);
  make.Add(kind_t::input, "TT102", "Feed water temperature",
           [](house_ref_t h, int) { return 96 + h.GetMainPressure() * 0.6; })
      .Range("°C", 0, 150)
      .Every(1000, 4);
  make.Add(kind_t::input, "FV101", "Feed water valve position",
           [b](house_ref_t h, int) { return h.GetBoiler(b).feed * 2.6; })
      .Range("%", 0, 100)
      .Noise(0.05)
      .Every(200, 2);
  make.Add(kind_t::input, "FV102", "Blow-down valve position",
           [b](house_ref_t h, int s) { return h.GetBoiler(b).isFiring && (s + b * 90) % 420 < 25 ? 35.0 : 0.0; })
      .Range("%", 0, 100)
      .Noise(0.02)
      .Every(500, 2);
  make.Add(kind_t::input, "QT101", "Boiler water conductivity",
           [b](house_ref_t h, int s) {
             return 2900 + static_cast<double>((s + b * 90) % 420) * 1.1 + h.GetBoiler(b).steam * 4;
           })
      .Range("uS/cm", 0, 6000)
      .Every(1000, 4);
  make.Add(kind_t::real, "LC101SP", "Level controller, set point", [](house_ref_t, int) { return 38.0; })
      .Unit("mm")
      .Every(1000, 10);
  make.Add(kind_t::real, "LC101OP", "Level controller, output",
           [b](house_ref_t h, int) { return h.GetBoiler(b).feed * 2.6; })
      .Unit("%")
      .Deadband(0.5)
      .Every(500, 2);
  make.Add(kind_t::real, "PC101OP", "Pressure controller, output",
           [b](house_ref_t h, int) { return h.GetBoiler(b).demand * 100; })
      .Unit("%")
      .Deadband(0.5)
      .Every(500, 2);
  make.Add(kind_t::counter, "FQ101", "Steam meter",
           [b](house_ref_t h, int s) {
             return 4190000 + b * 77213 + static_cast<double>(s) * h.GetBoiler(b).steam / 3.6;
           })
      .Unit("kg")
      .Every(1000, 5);
  make.Add(kind_t::counter, "FQ102", "Gas meter",
           [b](house_ref_t h, int) { return 1882000 + b * 40111 + h.GetBoiler(b).gas; })
      .Unit("m3")
      .Every(1000, 5);
}

void AddFurnace(CMaker& make, int b) {
  make.Device("Furnace", "Flue gas and superheater");
  make.Add(kind_t::input, "PT201", "Furnace pressure",
           [b](house_ref_t h, int) { return h.GetBoiler(b).isFiring ? -0.6 + h.GetBoiler(b).fuel * 0.4 : 0.0; })
      .Range("mbar", -5, 5)
      .Noise(0.06)
      .Deadband(0.15)
      .Every(100, 2);
  const auto calibration = [b](int second) { return b == 3 && IsWithin(second, kCalibration, 120) ? "CAL" : nullptr; };
  for (const char c : {'L', 'R'}) {
    make.Add(kind_t::input, std::string("QT20") + c, c == 'L' ? "Oxygen, left" : "Oxygen, right",
             [b, c](house_ref_t h, int) { return h.GetBoiler(b).oxygen + (c == 'L' ? 0.1 : -0.1); })
        .Range("%", 0, 21)
        .Noise(0.03)
        .Every(500, 2)
        .Fault(calibration);
  }
  make.Add(kind_t::input, "QT211", "Carbon monoxide",
           [b](house_ref_t h, int) {
             const boiler_t& boiler = h.GetBoiler(b);
             return !boiler.isFiring ? 0.0 : boiler.firingFor < 60 ? 380.0 : 9 + 30 / (boiler.oxygen + 0.4);
           })
      .Range("ppm", 0, 500)
      .Noise(0.8)
      .Every(500, 2);
  make.Add(kind_t::input, "QT212", "Nitrogen oxides", [b](house_ref_t h, int) { return 18 + h.GetBoiler(b).fuel * 74; })
      .Range("mg/m3", 0, 250)
      .Every(500, 2);
  make.Add(kind_t::input, "TT201", "Flue gas behind the boiler",
           [b](house_ref_t h, int) { return h.GetBoiler(b).flueTemperature * 1.9; })
      .Range("°C", 0, 500)
      .Every(500, 2);
  make.Add(kind_t::input, "TT202", "Flue gas behind the economiser",
           [b](house_ref_t h, int) { return h.GetBoiler(b).flueTemperature; })
      .Range("°C", 0, 300)
      .Every(500, 2);
  make.Add(kind_t::input, "TT203", "Water behind the economiser",
           [b](house_ref_t h, int) { return 104 + h.GetBoiler(b).fuel * 32; })
      .Range("°C", 0, 250)
      .Every(1000, 4);
  make.Group("Superheater");
  for (int i = 1; i <= 24; ++i) {
    const double share = 1 + static_cast<double>((i * 7) % 11 - 5) * 0.006;
    // A broken wire drives the input beyond its end; the converter then reports its own code.
    const auto broken = [b, i](int s) { return b == 0 && i == 17 && s >= kThermocoupleFails ? "-99999" : nullptr; };
    make.Add(kind_t::input, "TE" + Number(300 + i), "Tube metal " + Number(i),
             [b, share](house_ref_t h, int) { return h.GetBoiler(b).metal * share; })
        .Range("°C", 0, 600)
        .Noise(0.4)
        .Every(1000, 4)
        .Fault(broken);
  }
}

void AddMachine(CMaker& make, int b, const std::string& group, const std::string& prefix, double power,
                const measure_t& load) {
  make.Group(group);
  const auto times = [load](double factor, double base) {
    return [load, factor, base](house_ref_t h, int s) { return base + factor * load(h, s); };
  };
  make.Add(kind_t::input, prefix + "ST", "Speed", times(2930, 20)).Range("1/min", 0, 3200).Noise(1.5).Every(200, 2);
  make.Add(kind_t::input, prefix + "IT", "Motor current", times(power * 1.7, 2))
      .Range("A", 0, power * 2.5)
      .Every(100, 2);
  make.Add(kind_t::input, prefix + "JT", "Power", times(power, 0.5)).Range("kW", 0, power * 1.4).Every(500, 2);
  for (int i = 1; i <= 4; ++i) {
    make.Add(kind_t::input, prefix + "TE" + Number(i), "Bearing temperature " + Number(i),
             [b, i](house_ref_t h, int) { return h.GetBoiler(b).bearing + i * 1.5; })
        .Range("°C", 0, 150)
        .Noise(0.05)
        .Every(1000, 4);
  }
  for (int i = 1; i <= 2; ++i) {
    make.Add(kind_t::input, prefix + "VT" + Number(i), "Vibration " + Number(i), times(2.1 + 0.3 * i, 0.4))
        .Range("mm/s", 0, 12)
        .Noise(0.12)
        .Deadband(0.4)
        .Every(200, 2);
  }
  for (int i = 1; i <= 3; ++i) {
    make.Add(kind_t::input, prefix + "TW" + Number(i), "Winding temperature " + Number(i), times(44 + i, 31))
        .Range("°C", 0, 180)
        .Every(1000, 4);
  }
  make.Add(kind_t::counter, prefix + "KQ", "Running time", [](house_ref_t, int s) { return 41233 * 60 + s / 60; })
      .Unit("min")
      .Every(5000, 10);
  make.Add(kind_t::word, prefix + "XS", "State word",
           [load](house_ref_t h, int s) { return load(h, s) > 0.03 ? 3.0 : 1.0; })
      .Every(100, 2);
}

void AddSootBlowersAndInterlocks(CMaker& make, int b) {
  make.Device("Soot blowers", "Blown one after the other");
  for (int i = 1; i <= 6; ++i) {
    const auto running = [b, i](house_ref_t, int s) {
      const int phase = (s + b * 211) % 900 - i * 120;
      return phase >= 0 && phase < 90 ? static_cast<double>(phase < 45 ? phase : 90 - phase) : 0.0;
    };
    make.Add(kind_t::input, "ZT" + Number(400 + i), "Lance " + Number(i) + ", position",
             [running](house_ref_t h, int s) { return running(h, s) * 2.1; })
        .Range("%", 0, 100)
        .Noise(0.02)
        .Every(250, 2);
    make.Add(kind_t::input, "IT" + Number(400 + i), "Lance " + Number(i) + ", motor current",
             [running](house_ref_t h, int s) { return running(h, s) > 0 ? 2.6 : 0.0; })
        .Range("A", 0, 5)
        .Noise(0.01)
        .Every(250, 2);
    make.Add(kind_t::word, "XS" + Number(400 + i), "Lance " + Number(i) + ", state",
             [running](house_ref_t h, int s) { return running(h, s) > 0 ? 2.0 : 1.0; })
        .Every(250, 2);
  }
  make.Device("Safety", "Interlocks of the burner control");
  const char* const names[] = {"Main gas pressure low", "Main gas pressure high", "Air pressure low",
                               "Drum level low low",    "Drum level high high",   "Drum pressure high",
                               "Furnace pressure high", "Flame failure",          "Feed pump failure",
                               "Fan failure",           "Emergency stop",         "Purge complete"};
  for (int i = 0; i < 12; ++i) {
    make.Add(kind_t::truth, "XA" + Number(501 + i), names[i],
             [b, i](house_ref_t h, int s) {
               const bool isTripped = b == 1 && IsWithin(s, kTrip, 240);
               if (i == 7) return isTripped ? 1.0 : 0.0;
               if (i == 3) return h.GetBoiler(b).level + h.GetBoiler(b).swell < -120 ? 1.0 : 0.0;
               if (i == 11) return h.GetBoiler(b).isFiring ? 1.0 : 0.0;
               return 0.0;
             })
        .Every(100, 2);
  }
}

void AddBoiler(CMaker& make, int b) {
  make.Channel("Boiler " + Number(b + 1), "Steam boiler, 30 t/h", "10.1." + Number(b + 1) + ".10", 502);
  AddBurners(make, b);
  AddDrum(make, b);
  AddFurnace(make, b);
  make.Device("Fans", "Forced and induced draught");
  const auto air = [b](house_ref_t h, int) { return h.GetBoiler(b).air * 0.82; };
  AddMachine(make, b, "Forced draught", "FD", 160, air);
  AddMachine(make, b, "Induced draught", "ID", 220, air);
  make.Device("Feed pumps", "One runs, one stands by");
  AddMachine(make, b, "Pump A", "PA", 90, [b](house_ref_t h, int) { return h.GetBoiler(b).feed * 0.03; });
  AddMachine(make, b, "Pump B", "PB", 90, [](house_ref_t, int) { return 0.0; });
  AddSootBlowersAndInterlocks(make, b);
}

void AddWaterTreatment(CMaker& make) {
  make.Channel("Water treatment", "Softeners, degasser and tanks", "", 3);
  const auto lost = [](int second) { return IsWithin(second, kLinkLost, 100) ? "" : nullptr; };
  for (int line = 1; line <= 2; ++line) {
    make.Device("Softener " + Number(line), "Two columns in turn");
    for (int i = 1; i <= 2; ++i) {
      const std::string n = Number(i);
      const auto share = [line, i](int s) { return (s / 700 + line + i) % 2 == 0 ? 0.48 : 0.02; };
      make.Group("Column " + n);
      make.Add(kind_t::pressure, "FT60" + n, "Flow",
               [share](house_ref_t h, int s) { return h.GetSoftWater() * share(s); })
          .Range("m3/h", 0, 20)
          .Noise(0.03)
          .Every(1000, 2)
          .Clamps()
          .Fault(lost);
      make.Add(kind_t::input, "PD60" + n, "Pressure drop",
               [share](house_ref_t h, int s) { return h.GetSoftWater() * share(s) * 0.06; })
          .Range("bar", 0, 2)
          .Every(1000, 4)
          .Fault(lost);
      make.Add(kind_t::input, "QT60" + n, "Hardness", [share](house_ref_t, int s) { return 0.02 + share(s) * 0.05; })
          .Range("°dH", 0, 1)
          .Every(2000, 4)
          .Fault(lost);
      make.Add(kind_t::input, "TT60" + n, "Temperature", [](house_ref_t, int) { return 11.6; })
          .Range("°C", 0, 60)
          .Every(2000, 8)
          .Fault(lost);
      make.Add(kind_t::counter, "FQ60" + n, "Meter",
               [](house_ref_t h, int s) { return 55120 + static_cast<double>(s) * h.GetSoftWater() / 7.2; })
          .Unit("l")
          .Every(2000, 5)
          .Fault(lost);
      make.Add(kind_t::word, "XS60" + n, "Step", [share](house_ref_t, int s) { return share(s) > 0.1 ? 1.0 : 4.0; })
          .Every(1000, 2)
          .Fault(lost);
    }
  }
  make.Device("Degasser", "Feed water tank and dosing");
  make.Add(kind_t::input, "LT701", "Tank level", [](house_ref_t h, int) { return h.GetTank(); })
      .Range("mm", 0, 4000)
      .Noise(4)
      .Every(500, 2)
      .Fault(lost);
  make.Add(kind_t::input, "PT701", "Tank pressure",
           [](house_ref_t h, int) { return 0.16 + h.GetMainPressure() * 0.004; })
      .Range("bar", 0, 1)
      .Every(500, 2)
      .Fault(lost);
  make.Add(kind_t::input, "TT701", "Tank temperature",
           [](house_ref_t h, int) { return 102 + h.GetMainPressure() * 0.2; })
      .Range("°C", 0, 150)
      .Every(1000, 4)
      .Fault(lost);
  make.Add(kind_t::input, "QT701", "Oxygen dissolved", [](house_ref_t h, int) { return 6 + h.GetSoftWater() * 0.4; })
      .Range("ug/l", 0, 100)
      .Every(2000, 4)
      .Fault(lost);
  for (int i = 1; i <= 4; ++i) {
    make.Add(kind_t::input, "FT71" + Number(i), "Dosing pump " + Number(i),
             [i](house_ref_t h, int) { return h.GetSoftWater() * 0.2 * i; })
        .Range("l/h", 0, 20)
        .Every(1000, 4)
        .Fault(lost);
    make.Add(kind_t::truth, "XA71" + Number(i), "Dosing tank " + Number(i) + " low",
             [](house_ref_t, int) { return 0.0; })
        .Every(1000, 5)
        .Fault(lost);
  }
}

void AddNetwork(CMaker& make) {
  make.Channel("Heating network", "Main, heat exchangers and substations", "10.1.9.10", 502);
  make.Device("Main", "Steam main and heat exchangers");
  make.Add(kind_t::input, "PT801", "Steam main", [](house_ref_t h, int) { return h.GetMainPressure(); })
      .Range("bar", 0, 16)
      .Noise(0.01)
      .Deadband(0.05)
      .Every(200, 2);
  make.Add(kind_t::input, "TT801", "Supply", [](house_ref_t h, int) { return h.GetSupplyTemperature(); })
      .Range("°C", 0, 160)
      .Every(500, 2);
  make.Add(kind_t::input, "TT802", "Return", [](house_ref_t h, int) { return h.GetReturnTemperature(); })
      .Range("°C", 0, 160)
      .Every(500, 2);
  make.Add(kind_t::input, "TT803", "Outside", [](house_ref_t h, int) { return h.GetOutside(); })
      .Range("°C", -40, 60)
      .Noise(0.03)
      .Every(2000, 8);
  for (int i = 1; i <= 12; ++i) {
    make.Device("Substation " + Number(i), "Heat for some streets");
    const double share = 0.7 + static_cast<double>((i * 5) % 8) * 0.08;
    const auto heat = [share, i](house_ref_t h, int s) {
      const double wave = static_cast<double>((s + i * 97) % 480) / 480;
      return h.GetHeatDemand() * share * (0.9 + 0.2 * (wave < 0.5 ? 2 * wave : 2 - 2 * wave));
    };
    for (const char* const circuit : {"A", "B"}) {
      make.Group(std::string("Circuit ") + circuit);
      const double part = circuit[0] == 'A' ? 1 : 0.62;
      make.Add(kind_t::input, "TT1", "Supply",
               [heat, part](house_ref_t h, int s) { return 48 + heat(h, s) * part * 44; })
          .Range("°C", 0, 120)
          .Every(1000, 4);
      make.Add(kind_t::input, "TT2", "Return",
               [heat, part](house_ref_t h, int s) { return 34 + heat(h, s) * part * 16; })
          .Range("°C", 0, 120)
          .Every(1000, 4);
      make.Add(kind_t::pressure, "FT1", "Flow", [heat, part](house_ref_t h, int s) { return heat(h, s) * part * 46; })
          .Range("m3/h", 0, 60)
          .Noise(0.1)
          .Every(500, 2)
          .Clamps();
      make.Add(kind_t::input, "PT1", "Pressure", [](house_ref_t h, int) { return 5.1 + h.GetHeatDemand() * 0.4; })
          .Range("bar", 0, 10)
          .Every(1000, 4);
      make.Add(kind_t::input, "PD1", "Pressure difference",
               [heat](house_ref_t h, int s) { return 0.4 + heat(h, s) * 0.5; })
          .Range("bar", 0, 3)
          .Every(1000, 4);
      make.Add(kind_t::input, "FV1", "Valve position",
               [heat, part](house_ref_t h, int s) { return heat(h, s) * part * 88; })
          .Range("%", 0, 100)
          .Every(500, 2);
      make.Add(kind_t::real, "JT1", "Heat", [heat, part](house_ref_t h, int s) { return heat(h, s) * part * 2.4; })
          .Unit("MW")
          .Noise(0.004)
          .Deadband(0.02)
          .Every(1000, 2);
      make.Add(
              kind_t::counter, "JQ1", "Heat meter",
              [i, heat](house_ref_t h, int s) { return 902113 + i * 5003 + static_cast<double>(s) * heat(h, s) * 0.4; })
          .Unit("kWh")
          .Every(2000, 5);
      make.Add(kind_t::input, "ST1", "Pump speed", [heat](house_ref_t h, int s) { return 40 + heat(h, s) * 50; })
          .Range("%", 0, 100)
          .Every(500, 2);
      make.Add(kind_t::truth, "XA1", "Alarm", [](house_ref_t, int) { return 0.0; }).Every(250, 5);
    }
  }
}

}  // namespace

house_t MakeHouse() {
  CMaker make;
  for (int b = 0; b < kBoilers; ++b) AddBoiler(make, b);
  AddWaterTreatment(make);
  AddNetwork(make);
  return make.Take();
}

}  // namespace boiler_house
