// A tag list of any bytes: every refused row was reported, and every tag that is taken has settings that scale.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <string_view>

#include "examples/readings/source_testing.h"
#include "examples/replay/tag_list.h"
#include "util/values/variant.h"

namespace {

void Require(bool claim) {
  if (!claim) std::abort();
}

// What was validated must hold: the ends of the raw range scale into the scaled type.
void CheckEnds(const replay::tag_t& tag) {
  if (tag.scaling.GetScalingType() == CScaling::NONE || tag.scaling.GetNegateValue()) return;
  for (const double end : {tag.scaling.GetRawLow(), tag.scaling.GetRawHigh()}) {
    CVariant value = CVariant::FromDouble(end);
    const bool scaled = tag.scaling.DoScaling(value);
    // A span beyond the largest double overflows on the way.
    const double span = tag.scaling.GetRawHigh() - tag.scaling.GetRawLow();
    const double scaledSpan = tag.scaling.GetScaledHigh() - tag.scaling.GetScaledLow();
    const bool tame = span < 1e100 && span > 1e-100 && scaledSpan < 1e30 && scaledSpan > 1e-3;
    Require(scaled || !tame);
    Require(!scaled || value.vt == CVariant::ConvertDataType(tag.scaling.GetScaledDataType()));
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view text(reinterpret_cast<const char*>(data), size);
  readings::CTextSource source{std::string(text)};
  readings::CCsvReader reader(source);
  std::ostringstream messages;
  readings::CProblemLog log(messages, ~std::uint64_t{0});
  replay::CTagList tags;
  const bool read = tags.Read(reader, "fuzz", log);
  Require(read || log.GetCount() != 0);

  std::uint64_t refused = 0;
  for (const replay::tag_t& tag : tags.GetTags()) {
    Require(!tag.name.empty() && tags.Find(tag.name) == &tag - tags.GetTags().data());
    if (tag.isRefused) {
      ++refused;
      continue;
    }
    Require(!CDataType::IsArrayType(tag.rawType) && tag.rawType != DT_DEFAULT);
    Require(tag.scaling.IsValid(tag.rawType, nullptr));
    Require(tag.deadband.GetDeadband() >= 0 && tag.deadband.GetLowRange() <= tag.deadband.GetHighRange());
    CheckEnds(tag);
  }
  Require(refused <= log.GetCount());
  const std::string lines = messages.str();
  Require(static_cast<std::uint64_t>(std::count(lines.begin(), lines.end(), '\n')) == log.GetCount());
  return 0;
}
