#include "examples/readings/plot.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <optional>
#include <string_view>
#include <utility>

#include "examples/readings/plot_axis.h"
#include "examples/readings/reading.h"

namespace readings {
namespace {

// Pixels.
constexpr double kWidth = 1200;
constexpr double kLeft = 92;
constexpr double kPlotWidth = kWidth - kLeft - 28;
constexpr double kHeadHeight = 84;
constexpr double kTitleHeight = 30;
constexpr double kScaledHeight = 172;
constexpr double kBandGap = 12;
constexpr double kRawHeight = 64;
constexpr double kPanelHeight = kTitleHeight + kScaledHeight + kBandGap + kRawHeight + 52;
constexpr std::uint64_t kManyMarks = 500;  // from here on marks are drawn smaller

constexpr std::string_view kStyle = R"(<style>
text { font: 12px system-ui, 'Segoe UI', Roboto, 'Helvetica Neue', Arial, sans-serif; fill: #4b5563 }
.h { font-size: 20px; font-weight: 600; fill: #111827 }
.n { font-size: 15px; font-weight: 600; fill: #111827 }
.e { text-anchor: end } .m { text-anchor: middle }
path { fill: none; stroke-linejoin: round }
.f { stroke: #d1d5db } .g { stroke: #eef0f3 }
.raw { stroke: #6b7280; stroke-width: 1 }
.scaled { stroke: #8fbbe8; stroke-width: 1.6 }
.held { stroke: #e07b39; stroke-width: .9; stroke-opacity: .75 }
.mark { stroke: #c2410c; stroke-width: 4; stroke-linecap: round }
.many { stroke-width: 2.2 }
.out { stroke: #9333ea; stroke-width: 1.4 }
.fail { stroke: #be123c; stroke-width: 1.4 }
.gap { fill: #f3e8ff }
</style>
)";

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    switch (c) {
      case '&': escaped += "&amp;"; break;
      case '<': escaped += "&lt;"; break;
      case '>': escaped += "&gt;"; break;
      case '"': escaped += "&quot;"; break;
      default: escaped += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    }
  }
  return escaped;
}

// A coordinate, to a tenth of a pixel.
void AppendPixels(std::string& out, double value) {
  const auto tenths = static_cast<long>(std::lround(value * 10));
  if (tenths < 0) out += '-';
  out += std::to_string(std::abs(tenths) / 10);
  if (tenths % 10 != 0) {
    out += '.';
    out += static_cast<char>('0' + std::abs(tenths) % 10);
  }
}

void AppendAttribute(std::string& out, std::string_view name, double value) {
  out.append(" ").append(name).append("=\"");
  AppendPixels(out, value);
  out += '"';
}

void AppendText(std::string& out, double x, double y, std::string_view style, std::string_view text) {
  out += "<text";
  AppendAttribute(out, "x", x);
  AppendAttribute(out, "y", y);
  out.append(" class=\"").append(style).append("\">").append(Escaped(text)).append("</text>\n");
}

void AppendSidewaysText(std::string& out, double x, double y, std::string_view text) {
  out += "<text class=\"m\" transform=\"translate(";
  AppendPixels(out, x);
  out += ' ';
  AppendPixels(out, y);
  out.append(") rotate(-90)\">").append(Escaped(text)).append("</text>\n");
}

// The d of a path under construction.
class CPath {
 public:
  void MoveTo(double x, double y) { Command('M', {x, y}); }
  void LineTo(double x, double y) { Command('L', {x, y}); }
  void HorizontalTo(double x) { Command('H', {x}); }
  void VerticalTo(double y) { Command('V', {y}); }
  void Tick(double x, double y, double height) {
    MoveTo(x, y);
    VerticalTo(y + height);
  }
  /// A point, drawn by the round cap of its stroke.
  void Mark(double x, double y) {
    MoveTo(x, y);
    text_ += "h0";
  }
  void AppendTo(std::string& out, std::string_view style) const {
    if (!text_.empty()) out.append("<path class=\"").append(style).append("\" d=\"").append(text_).append("\"/>\n");
  }

 private:
  void Command(char command, std::initializer_list<double> numbers) {
    text_ += command;
    bool first = true;
    for (const double number : numbers) {
      if (!first) text_ += ' ';
      AppendPixels(text_, number);
      first = false;
    }
  }
  std::string text_;
};

// A stretch of values or of time onto a stretch of pixels.
class CScale {
 public:
  CScale(double low, double high, double lowPixel, double highPixel)
      : low_(low), high_(high), lowPixel_(lowPixel), highPixel_(highPixel) {}
  double operator()(double value) const {
    // Halves, as the difference of two doubles may be more than a double holds.
    return lowPixel_ + (value / 2 - low_ / 2) / (high_ / 2 - low_ / 2) * (highPixel_ - lowPixel_);
  }
  double Low() const { return low_; }
  double High() const { return high_; }

 private:
  double low_, high_, lowPixel_, highPixel_;
};

// A scale for the values with a little air around; values that are all the same lie in its middle.
CScale ValueScale(const value_range_t& range, double top, double height) {
  const double half = range.high / 2 - range.low / 2;
  double air = half * 0.1;
  if (half <= std::abs(range.high) * 1e-12) air = std::max(std::abs(range.high) * 0.05, 0.5);
  constexpr double kLargest = 1e308;
  return {std::max(range.low - air, -kLargest), std::min(range.high + air, kLargest), top + height, top};
}

// The extremes of a slice in the order that keeps the line short.
template <class Use>
void ForEachPoint(const value_range_t& range, Use use) {
  const bool lowFirst = range.first - range.low <= range.high - range.first;
  const double points[] = {range.first, lowFirst ? range.low : range.high, lowFirst ? range.high : range.low,
                           range.last};
  double previous = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    if (i == 0 || points[i] != previous) use(points[i]);
    previous = points[i];
  }
}

struct time_span_t {
  std::int64_t first;
  std::int64_t last;
};

// One panel, from the top of its title on.
class CPanelDrawing {
 public:
  CPanelDrawing(const plot_panel_t& panel, const CTimeBins& bins, time_span_t span, double top)
      : panel_(panel),
        bins_(bins),
        span_(span),
        top_(top),
        time_(static_cast<double>(span.first), static_cast<double>(span.last), kLeft, kLeft + kPlotWidth) {
    bins.ForEach([&](std::int64_t, std::int64_t, const time_bin_t& bin) { total_.Merge(bin); });
  }

  std::string Draw() {
    out_ = "<g>\n";
    DrawTitle();
    DrawGaps();
    DrawTimeAxis();
    if (total_.scaled.count != 0) {
      const CScale scale = ValueScale(total_.scaled, ScaledTop(), kScaledHeight);
      DrawValueAxis(scale, ScaledTop(), kScaledHeight, 5, panel_.unit.empty() ? "scaled" : panel_.unit);
      DrawLine(scale, &time_bin_t::scaled, "scaled");
      DrawReported(scale);
    } else {
      DrawNothing(ScaledTop() + kScaledHeight / 2, "no values to draw");
    }
    if (total_.raw.count != 0) {
      const CScale scale = ValueScale(total_.raw, RawTop(), kRawHeight);
      DrawValueAxis(scale, RawTop(), kRawHeight, 3, "raw");
      DrawLine(scale, &time_bin_t::raw, "raw");
    }
    DrawFrame(ScaledTop(), kScaledHeight);
    DrawFrame(RawTop(), kRawHeight);
    return std::move(out_ += "</g>\n");
  }

 private:
  double ScaledTop() const { return top_ + kTitleHeight; }
  double RawTop() const { return ScaledTop() + kScaledHeight + kBandGap; }
  double Bottom() const { return RawTop() + kRawHeight; }
  // The middle of a slice, as far as it lies inside the axis.
  double X(std::int64_t begin, std::int64_t width) const {
    const double middle = static_cast<double>(begin) + static_cast<double>(width - 1) / 2;
    return std::clamp(time_(middle), kLeft, kLeft + kPlotWidth);
  }

  void DrawTitle() {
    const std::string unit = panel_.unit.empty() ? "" : ", " + panel_.unit;
    AppendText(out_, kLeft, top_ + 20, "n", panel_.name + unit);
    std::string counts = panel_.rawType + (panel_.rawType.empty() ? "" : ": ") + std::to_string(total_.raw.count) +
                         " values, " + std::to_string(total_.reported.count) + " reported";
    if (total_.dropouts != 0) counts += ", " + std::to_string(total_.dropouts) + " dropouts";
    if (total_.failures != 0) counts += ", " + std::to_string(total_.failures) + " failures";
    AppendText(out_, kLeft + kPlotWidth, top_ + 20, "e", counts);
  }

  // Dropouts: shaded where they prevail, ticks at the foot elsewhere. Failures: ticks at the top.
  void DrawGaps() {
    CPath dropouts, failures;
    std::optional<double> shadeBegin;
    double shadeEnd = 0;
    const auto endShade = [&] {
      if (!shadeBegin) return;
      out_ += "<rect class=\"gap\"";
      AppendAttribute(out_, "x", *shadeBegin);
      AppendAttribute(out_, "y", ScaledTop());
      AppendAttribute(out_, "width", shadeEnd - *shadeBegin);
      AppendAttribute(out_, "height", Bottom() - ScaledTop());
      out_ += "/>\n";
      shadeBegin.reset();
    };
    bins_.ForEach([&](std::int64_t begin, std::int64_t width, const time_bin_t& bin) {
      const double x = X(begin, width);
      if (bin.failures != 0) failures.Tick(x, ScaledTop(), 8);
      if (bin.dropouts <= bin.raw.count) {
        endShade();
        if (bin.dropouts != 0) dropouts.Tick(x, ScaledTop() + kScaledHeight - 6, 6);
        return;
      }
      const double left = std::max(time_(static_cast<double>(begin)), kLeft);
      if (!shadeBegin) shadeBegin = left;
      shadeEnd =
          std::clamp(time_(static_cast<double>(begin + width)), left + 1, std::max(left + 1, kLeft + kPlotWidth));
    });
    endShade();
    dropouts.AppendTo(out_, "out");
    failures.AppendTo(out_, "fail");
  }

  void DrawTimeAxis() {
    CPath grid;
    for (const tick_t& tick : TimeTicks(span_.first, span_.last, 12)) {
      const double x = time_(tick.at);
      grid.Tick(x, ScaledTop(), kScaledHeight);
      grid.Tick(x, RawTop(), kRawHeight);
      AppendText(out_, x, Bottom() + 17, "m", tick.text);
    }
    grid.AppendTo(out_, "g");
  }

  void DrawValueAxis(const CScale& scale, double top, double height, int ticks, std::string_view label) {
    CPath grid;
    for (const tick_t& tick : ValueTicks(scale.Low(), scale.High(), ticks)) {
      grid.MoveTo(kLeft, scale(tick.at));
      grid.HorizontalTo(kLeft + kPlotWidth);
      AppendText(out_, kLeft - 8, scale(tick.at) + 4, "e", tick.text);
    }
    grid.AppendTo(out_, "g");
    AppendSidewaysText(out_, 22, top + height / 2, label);
  }

  // A line through all values; broken where readings without a value lie between two of them.
  void DrawLine(const CScale& scale, value_range_t time_bin_t::*series, std::string_view style) {
    CPath path;
    bool broken = true;
    bins_.ForEach([&](std::int64_t begin, std::int64_t width, const time_bin_t& bin) {
      const value_range_t& range = bin.*series;
      if (range.count == 0) {
        broken = true;
        return;
      }
      const double x = X(begin, width);
      ForEachPoint(range, [&](double value) {
        if (std::exchange(broken, false)) path.MoveTo(x, scale(value));
        path.LineTo(x, scale(value));
      });
    });
    path.AppendTo(out_, style);
  }

  // What a client sees: each reported value holds until the next.
  void DrawReported(const CScale& scale) {
    CPath held, marks;
    bool any = false;
    bins_.ForEach([&](std::int64_t begin, std::int64_t width, const time_bin_t& bin) {
      const double x = X(begin, width);
      if (bin.reported.count == 0) return;
      if (std::exchange(any, true)) {
        held.HorizontalTo(x);
      } else {
        held.MoveTo(x, scale(bin.reported.first));
      }
      ForEachPoint(bin.reported, [&](double value) { held.VerticalTo(scale(value)); });
      marks.Mark(x, scale(bin.reported.low));
      if (bin.reported.high != bin.reported.low) marks.Mark(x, scale(bin.reported.high));
    });
    if (any) held.HorizontalTo(kLeft + kPlotWidth);
    held.AppendTo(out_, "held");
    marks.AppendTo(out_, total_.reported.count < kManyMarks ? "mark" : "mark many");
  }

  void DrawFrame(double top, double height) {
    CPath frame;
    frame.MoveTo(kLeft, top);
    frame.VerticalTo(top + height);
    frame.HorizontalTo(kLeft + kPlotWidth);
    frame.AppendTo(out_, "f");
  }

  void DrawNothing(double y, std::string_view text) { AppendText(out_, kLeft + kPlotWidth / 2, y, "m", text); }

  const plot_panel_t& panel_;
  const CTimeBins& bins_;
  time_span_t span_;
  double top_;
  CScale time_;
  time_bin_t total_;
  std::string out_;
};

void AppendLegend(std::string& out) {
  const struct {
    const char* style;
    const char* text;
    double width;
  } entries[] = {{"raw", "raw", 68},
                 {"scaled", "scaled", 86},
                 {"held", "reported, held until the next", 214},
                 {"out", "dropout", 92},
                 {"fail", "not scaled", 92}};
  double x = kLeft + kPlotWidth;
  for (const auto& entry : entries) x -= entry.width;
  for (const auto& entry : entries) {
    CPath line;
    const std::string_view style = entry.style;
    if (style == "out" || style == "fail") {
      line.Tick(x + 12, 36, 9);
    } else {
      line.MoveTo(x, 41);
      line.HorizontalTo(x + 24);
    }
    line.AppendTo(out, style);
    if (style == "held") {
      CPath mark;
      mark.Mark(x + 12, 41);
      mark.AppendTo(out, "mark");
    }
    AppendText(out, x + 30, 45, "l", entry.text);
    x += entry.width;
  }
}

}  // namespace

int CPlot::AddPanel(plot_panel_t panel) {
  if (series_.size() == kMostPanels) return -1;
  series_.push_back({std::move(panel), {}});
  return static_cast<int>(series_.size()) - 1;
}

time_bin_t& CPlot::BinAt(int panel, std::int64_t ms) {
  first_ = std::min(first_, ms);
  last_ = std::max(last_, ms);
  return series_[static_cast<std::size_t>(panel)].bins.At(ms);
}

void CPlot::AddValue(int panel, std::int64_t ms, double raw, double scaled) {
  if (panel < 0 || !std::isfinite(raw) || !std::isfinite(scaled)) return;
  time_bin_t& bin = BinAt(panel, ms);
  bin.raw.Add(raw);
  bin.scaled.Add(scaled);
}

void CPlot::AddReported(int panel, std::int64_t ms, double scaled) {
  if (panel >= 0 && std::isfinite(scaled)) BinAt(panel, ms).reported.Add(scaled);
}

void CPlot::AddDropout(int panel, std::int64_t ms) {
  if (panel >= 0) BinAt(panel, ms).dropouts += 1;
}

void CPlot::AddFailure(int panel, std::int64_t ms, double raw) {
  if (panel < 0) return;
  time_bin_t& bin = BinAt(panel, ms);
  bin.failures += 1;
  if (std::isfinite(raw)) bin.raw.Add(raw);
}

void CPlot::Write(std::ostream& out) const {
  const bool any = first_ <= last_;
  const time_span_t span = any ? time_span_t{first_, std::max(last_, first_ + 1)} : time_span_t{0, 1};
  const std::string times = any ? TimeText(first_) + " to " + TimeText(last_) + " UTC" : "no readings";

  const auto height = static_cast<int>(kHeadHeight + kPanelHeight * static_cast<double>(series_.size()));
  const std::string size = std::to_string(static_cast<int>(kWidth)) + " " + std::to_string(height);
  std::string head = "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 " + size + "\" width=\"1200\" height=\"" +
                     std::to_string(height) + "\">\n";
  head.append(kStyle).append("<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n");
  AppendText(head, kLeft, 36, "h", title_);
  AppendText(head, kLeft, 58, "l", times);
  AppendLegend(head);
  out << head;
  double top = kHeadHeight;
  for (const series_t& series : series_) {
    out << CPanelDrawing(series.panel, series.bins, span, top).Draw();
    top += kPanelHeight;
  }
  out << "</svg>\n";
}

}  // namespace readings
