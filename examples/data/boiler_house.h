// The boiler house of the gateway's example: what happens in it, and what its instruments show of that.
//
//   CBoilerHouse house;
//   for (int second = 0; second < kSeconds; ++second) { house.Advance(second); ... house.GetBoiler(0).steam ... }
//
// Four boilers on one steam main feed a heating network. The second one loses its flame and is lit again, the fourth
// is started from standby to take its load.
#pragma once

#include <array>
#include <cstdint>

#include "examples/data/simulation.h"

namespace boiler_house {

using simulation::CRandom;
using simulation::IsWithin;

constexpr int kSeconds = 40 * 60;
constexpr int kBoilers = 4;

constexpr int At(int minute, int second = 0) { return minute * 60 + second; }
// The story, in seconds since its beginning.
constexpr int kStandbyStarts = At(8);           // boiler 4
constexpr int kLevelStuck = At(10);             // boiler 3, drum level B, for 6 minutes
constexpr int kCalibration = At(14);            // boiler 4, its oxygen analyser, for 2 minutes: it answers "CAL"
constexpr int kTrip = At(18);                   // boiler 2 loses its flame
constexpr int kLinkLost = At(21);               // the serial line of the water treatment, for 100 seconds
constexpr int kThermocoupleFails = At(23, 30);  // boiler 1, one tube of the superheater, to the end
constexpr int kRelit = At(27);                  // boiler 2
constexpr int kMoreLoad = At(31);               // the network asks for more heat

struct boiler_t {
  bool isFiring = false;
  int firingFor = 0;    // seconds
  double demand = 0;    // 0 to 1, of the master controller
  double fuel = 0;      // 0 to 1
  double air = 0;       // 0 to 1.2
  double steam = 0;     // t/h
  double feed = 0;      // t/h
  double pressure = 0;  // bar
  double level = 0;     // mm about the middle
  double swell = 0;     // mm: boiling water takes more room
  double steamTemperature = 20;
  double flueTemperature = 20;
  double oxygen = 20.9;  // %
  double metal = 20;     // of the superheater's tubes
  double bearing = 35;   // of the fans and pumps
  double gas = 0;        // m3 since the beginning
};

class CBoilerHouse {
 public:
  CBoilerHouse();
  /// One second on.
  void Advance(int second);

  const boiler_t& GetBoiler(int number) const { return boilers_[static_cast<std::size_t>(number)]; }
  double GetMainPressure() const { return main_; }  // bar
  double GetHeatDemand() const { return demand_; }  // 0 to 1
  double GetSupplyTemperature() const { return supply_; }
  double GetReturnTemperature() const { return return_; }
  double GetOutside() const { return outside_; }
  double GetSoftWater() const { return softWater_; }  // m3/h
  double GetTank() const { return tank_; }            // mm

 private:
  void AdvanceBoiler(int number, int second);

  CRandom random_{20260312};
  std::array<boiler_t, kBoilers> boilers_;
  double main_ = 11.8;
  double demand_ = 0.55;
  double supply_ = 112;
  double return_ = 64;
  double outside_ = -3.5;
  double softWater_ = 9;
  double tank_ = 2400;
};

}  // namespace boiler_house
