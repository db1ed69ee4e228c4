#include "examples/readings/plot.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <sstream>
#include <string>

#include "examples/readings/plot_axis.h"

namespace readings {
namespace {

// A value for a time, without a pattern that slices could hide.
double ValueAt(std::int64_t i) { return static_cast<double>((i * 2654435761) % 100'003); }

TEST(TimeBins, KeepFirstLowHighAndLastOfEverySlice) {
  const struct {
    const char* what;
    std::int64_t begin, step, count;
  } cases[] = {{"one", 5, 1, 1},
               {"as many as slices", 0, 1, 2048},
               {"one more", 0, 1, 2049},
               {"around zero", -50'000, 7, 20'000},
               {"running backwards", 1'773'291'600'000, -250, 30'000},
               {"far apart", -59'011'459'200'000, 31'241'000'000'000, 11}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    CTimeBins bins;
    for (std::int64_t i = 0; i < c.count; ++i) bins.At(c.begin + i * c.step).raw.Add(ValueAt(i));
    std::map<std::int64_t, value_range_t> plain;
    std::size_t slices = 0;
    std::int64_t width = 0;
    bins.ForEach([&](std::int64_t, std::int64_t binWidth, const time_bin_t&) { width = binWidth; });
    for (std::int64_t i = 0; i < c.count; ++i) {
      const std::int64_t at = c.begin + i * c.step;
      const std::int64_t slice = (at < 0 ? at - width + 1 : at) / width * width;
      plain[slice].Add(ValueAt(i));
    }
    bins.ForEach([&](std::int64_t begin, std::int64_t, const time_bin_t& bin) {
      ++slices;
      const auto found = plain.find(begin);
      ASSERT_NE(found, plain.end());
      EXPECT_EQ(bin.raw.count, found->second.count);
      EXPECT_EQ(bin.raw.low, found->second.low);
      EXPECT_EQ(bin.raw.high, found->second.high);
      if (c.step > 0) {  // of times that run backwards, slices merge in the order of time
        EXPECT_EQ(bin.raw.first, found->second.first);
        EXPECT_EQ(bin.raw.last, found->second.last);
      }
    });
    EXPECT_EQ(slices, plain.size());
    EXPECT_LE(slices, CTimeBins::kMost);
    if (c.count > 2048) {  // half as many slices would not have been enough
      EXPECT_GE(slices, std::min<std::size_t>(1024, plain.size()));
    }
  }
}

std::string Texts(const std::vector<tick_t>& ticks) {
  std::string texts;
  for (const tick_t& tick : ticks) texts += (texts.empty() ? "" : " ") + tick.text;
  return texts;
}

TEST(PlotAxis, PutsTicksAtRoundValues) {
  const struct {
    double low, high;
    const char* texts;
  } cases[] = {{0, 100, "0 20 40 60 80 100"},
               {-4, 31, "0 10 20 30"},
               {0.012, 0.019, "0.012 0.014 0.016 0.018"},
               {0, 65535,
                "0 20\xE2\x80\xAF"
                "000 40\xE2\x80\xAF"
                "000 60\xE2\x80\xAF"
                "000"},
               {999, 1001, "999.0 999.5 1000.0 1000.5 1001.0"},
               {-1e308, 1e308, "-1.00e+308 -5.00e+307 0 5.00e+307 1.00e+308"}};
  for (const auto& c : cases) EXPECT_EQ(Texts(ValueTicks(c.low, c.high, 5)), c.texts);
}

TEST(PlotAxis, PutsTicksAtRoundTimes) {
  constexpr std::int64_t kFive = 1'773'291'600'000;  // 2026-03-12 05:00
  const struct {
    std::int64_t first, last;
    const char* texts;
  } cases[] = {{kFive, kFive, "05:00:00.000"},
               {kFive + 1, kFive + 4, "05:00:00.001 05:00:00.002 05:00:00.003 05:00:00.004"},
               {kFive + 4, kFive + 3 * 3'600'000, "06:00 07:00 08:00"},
               {-1500, 2100, "23:59:59 00:00:00 00:00:01 00:00:02"},
               {kFive, kFive + 2 * 86'400'000, "12:00 00:00 12:00 00:00"}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.texts);
    const std::string texts = Texts(TimeTicks(c.first, c.last, 5));
    EXPECT_EQ(texts, c.texts);
  }
}

std::string Drawn(const CPlot& plot) {
  std::ostringstream out;
  plot.Write(out);
  return out.str();
}

std::size_t CountOf(const std::string& text, const std::string& part) {
  std::size_t count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) ++count;
  return count;
}

TEST(Plot, MarksEveryReportedValueAndBreaksTheLineAtADropout) {
  CPlot plot("a < b");
  const int panel = plot.AddPanel({"T&1",
                                   "\xC2\xB0"
                                   "C",
                                   "Short"});
  for (int i = 0; i < 10; ++i) {
    if (i == 5) {
      plot.AddDropout(panel, i * 1000);
    } else {
      plot.AddValue(panel, i * 1000, i * 10, i);
    }
    if (i % 3 == 0) plot.AddReported(panel, i * 1000, i);
  }
  plot.AddFailure(panel, 10'000, 400);
  plot.AddValue(-1, 0, 1, 1);
  const std::string svg = Drawn(plot);
  EXPECT_NE(svg.find("a &lt; b"), std::string::npos);
  EXPECT_NE(svg.find("T&amp;1, \xC2\xB0"
                     "C"),
            std::string::npos);
  EXPECT_NE(svg.find("Short: 10 values, 4 reported, 1 dropouts, 1 failures"), std::string::npos);
  const auto path = [&](const std::string& style) {
    const std::size_t at = svg.rfind("<path class=\"" + style + "\"");
    return at == std::string::npos ? std::string() : svg.substr(at, svg.find("/>", at) - at);
  };
  EXPECT_EQ(CountOf(path("mark"), "h0"), 4u);
  EXPECT_EQ(CountOf(path("scaled"), "M"), 2u);
  EXPECT_EQ(CountOf(path("raw"), "M"), 2u);
  EXPECT_EQ(CountOf(path("fail"), "M"), 1u);
  EXPECT_EQ(CountOf(svg, "<rect class=\"gap\""), 1u);
}

TEST(Plot, StaysSmallAndDrawsAnyNumbers) {
  CPlot plot("many");
  for (int i = 0; i < CPlot::kMostPanels; ++i) EXPECT_EQ(plot.AddPanel({"x", "", "Double"}), i);
  EXPECT_EQ(plot.AddPanel({"one more", "", "Double"}), -1);
  for (int i = 0; i < 300'000; ++i) {
    plot.AddValue(0, i * 100, ValueAt(i), -ValueAt(i));
    plot.AddReported(0, i * 100, -ValueAt(i));
  }
  for (const double value : {-1.7e308, 1.7e308, 5e-324, std::numeric_limits<double>::infinity()}) {
    plot.AddValue(1, 0, value, value);
    plot.AddValue(2, 0, 3, 3);
  }
  const std::string svg = Drawn(plot);
  EXPECT_LT(svg.size(), 600'000u);
  EXPECT_EQ(svg.find("nan"), std::string::npos);
  EXPECT_EQ(svg.find("inf"), std::string::npos);
  EXPECT_EQ(CountOf(svg, "no values to draw"), static_cast<std::size_t>(CPlot::kMostPanels) - 3);
}

TEST(Plot, DrawsNothingAtAll) { EXPECT_NE(Drawn(CPlot("empty")).find("no readings"), std::string::npos); }

}  // namespace
}  // namespace readings
