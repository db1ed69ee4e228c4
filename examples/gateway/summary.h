// What a run did, for people.
#pragma once

#include <ostream>
#include <vector>

#include "examples/gateway/gateway.h"
#include "examples/gateway/round_trip.h"

namespace gateway {

/// A line for each channel, the tags that failed most, speed and memory.
void PrintSummary(std::ostream& out, const result_t& result);
void PrintRoundTrips(std::ostream& out, const std::vector<round_trip_t>& trips);

}  // namespace gateway
