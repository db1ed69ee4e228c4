#include "examples/data/boiler_house.h"

namespace boiler_house {
namespace {

void Approach(double& value, double target, double seconds) { value += (target - value) / seconds; }
double Limited(double value, double low, double high) { return value < low ? low : value > high ? high : value; }

}  // namespace

CBoilerHouse::CBoilerHouse() {
  for (int i = 0; i < 3; ++i) {
    boiler_t& boiler = boilers_[static_cast<std::size_t>(i)];
    boiler.isFiring = true;
    boiler.firingFor = 7200;
    boiler.demand = boiler.fuel = 0.6;
    boiler.air = 0.66;
    boiler.steam = boiler.feed = 15;
    boiler.pressure = 12.2;
    boiler.steamTemperature = 248;
    boiler.flueTemperature = 158;
    boiler.oxygen = 3.4;
    boiler.metal = 305;
    boiler.bearing = 58 + i * 3;
  }
  boiler_t& standby = boilers_[3];  // kept warm
  standby.pressure = 4.1;
  standby.steamTemperature = 150;
  standby.flueTemperature = 74;
  standby.metal = 140;
}

void CBoilerHouse::Advance(int second) {
  const double wave = static_cast<double>(second % 600) / 600;  // consumers come and go
  const double ripple = 0.04 * (wave < 0.5 ? 4 * wave - 1 : 3 - 4 * wave);
  Approach(demand_, (second >= kMoreLoad ? 0.78 : 0.55) + ripple + random_.Noise() * 0.01, 90);
  Approach(outside_, -3.5 - (second >= kMoreLoad ? 2.0 : 0.0), 900);

  double steam = 0;
  for (int i = 0; i < kBoilers; ++i) {
    AdvanceBoiler(i, second);
    steam += boilers_[static_cast<std::size_t>(i)].steam;
  }
  const double drawn = demand_ * 82 * main_ / 11.8;
  main_ = Limited(main_ + (steam - drawn) * 0.0016, 0, 16);
  Approach(supply_, 78 + main_ * 2.9, 180);
  Approach(return_, supply_ - 20 - demand_ * 50, 240);
  Approach(softWater_, steam * 0.22 + (2400 - tank_) * 0.02, 120);
  tank_ += (softWater_ - steam * 0.22) * 0.3 + random_.Noise() * 0.2;
}

void CBoilerHouse::AdvanceBoiler(int number, int second) {
  boiler_t& boiler = boilers_[static_cast<std::size_t>(number)];
  const bool isTripped = number == 1 && second >= kTrip && second < kRelit;
  const bool isStandby = number == 3 && second < kStandbyStarts;
  boiler.isFiring = !isTripped && !isStandby;
  boiler.firingFor = boiler.isFiring ? boiler.firingFor + 1 : 0;

  // The master controller holds the main's pressure; a cold boiler is warmed at low fire first.
  const double wanted = Limited(demand_ * 1.08 + (11.8 - main_) * 0.5, 0.2, 1.0);
  Approach(boiler.demand, !boiler.isFiring ? 0 : boiler.firingFor < 150 ? 0.22 : wanted, boiler.isFiring ? 45 : 3);
  Approach(boiler.fuel, boiler.demand, boiler.isFiring ? 8 : 1.5);
  Approach(boiler.air, boiler.isFiring ? boiler.fuel * 1.05 + 0.04 : second < kTrip + 300 && isTripped ? 0.5 : 0, 12);
  boiler.gas += boiler.fuel * 1450 / 3600;

  const double flow = (boiler.pressure - main_ + 0.12) * 40;  // a check valve lets none back
  Approach(boiler.steam, flow < 0 ? 0 : Limited(flow, 0, 30), 10);
  boiler.pressure = Limited(boiler.pressure + (boiler.fuel * 25.5 - boiler.steam) * 0.004 - 0.0006, 0.2, 13.4);
  Approach(boiler.swell, boiler.steam * 2.6 + (boiler.fuel - boiler.demand) * 40, 14);
  Approach(boiler.feed, Limited(boiler.steam - boiler.level * 0.11 - boiler.swell * 0.01, 0, 34), 18);
  boiler.level = Limited(boiler.level + (boiler.feed - boiler.steam) * 0.045 + random_.Noise() * 0.25, -240, 240);

  Approach(boiler.steamTemperature, boiler.isFiring ? 205 + boiler.fuel * 74 : 150, 240);
  Approach(boiler.flueTemperature, boiler.isFiring ? 104 + boiler.fuel * 88 : 72, 150);
  Approach(boiler.metal, boiler.isFiring ? 215 + boiler.fuel * 150 : 140, 110);
  Approach(boiler.oxygen, boiler.isFiring ? Limited(2.2 + (boiler.air - boiler.fuel) * 22, 0.4, 20.9) : 20.9, 15);
  // The bearing of a fan of boiler 1 lacks grease.
  Approach(boiler.bearing, 30 + boiler.air * 42 + (number == 0 ? static_cast<double>(second) * 0.012 : 0), 200);
}

}  // namespace boiler_house
