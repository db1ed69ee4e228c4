#include "examples/gateway/activity_picture.h"

#include <algorithm>
#include <cmath>

#include "examples/readings/plot_axis.h"

namespace gateway {
namespace {

// Pixels.
constexpr int kLeft = 250;
constexpr int kTop = 84;
constexpr int kRow = 15;
constexpr int kCellsWidth = 920;

std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '&' || c == '<' || c == '>') {
      escaped += c == '&' ? "&amp;" : c == '<' ? "&lt;" : "&gt;";
    } else {
      escaped += static_cast<unsigned char>(c) < 0x20 ? '?' : c;
    }
  }
  return escaped;
}

std::string Text(int x, double y, std::string_view style, std::string_view text) {
  return "<text x=\"" + std::to_string(x) + "\" y=\"" + std::to_string(std::lround(y)) + "\" class=\"" +
         std::string(style) + "\">" + Escaped(text) + "</text>\n";
}

// From paper to dark blue by the activity, then towards red by the faults.
std::string Colour(double activity, double faulty) {
  constexpr double kPaper[] = {243, 246, 250}, kBusy[] = {23, 78, 140}, kFault[] = {214, 40, 57};
  // A few faulty tags of a device show as well.
  const double red = faulty > 0 ? 0.35 + 0.65 * std::min(faulty, 1.0) : 0;
  std::string colour = "#";
  for (int i = 0; i < 3; ++i) {
    const double blue = kPaper[i] + (kBusy[i] - kPaper[i]) * activity;
    const auto value = static_cast<int>(std::lround(blue + (kFault[i] - blue) * red));
    colour += "0123456789abcdef"[value / 16];
    colour += "0123456789abcdef"[value % 16];
  }
  return colour;
}

}  // namespace

void CActivityPicture::Add(const std::string& row, std::int64_t elapsedMs, std::uint64_t reported, double faulty) {
  while (elapsedMs / cellMs_ >= static_cast<std::int64_t>(kMostCells)) {
    cellMs_ *= 2;
    for (row_t& old : rows_) {
      for (std::size_t i = 0; i < old.cells.size(); ++i) {
        if (i % 2 == 0) {
          old.cells[i / 2] = old.cells[i];
        } else {
          cell_t& cell = old.cells[i / 2];
          cell.reported += old.cells[i].reported;
          cell.faulty += old.cells[i].faulty;
          cell.pieces += old.cells[i].pieces;
        }
      }
      old.cells.resize((old.cells.size() + 1) / 2);
    }
  }
  const auto [place, isNew] = numbers_.try_emplace(row, rows_.size());
  if (isNew) rows_.push_back({row, {}});
  std::vector<cell_t>& cells = rows_[place->second].cells;
  const auto index = static_cast<std::size_t>(elapsedMs / cellMs_);
  if (cells.size() <= index) cells.resize(index + 1);
  cells[index].reported += static_cast<double>(reported);
  cells[index].faulty += faulty;
  cells[index].pieces += 1;
}

void CActivityPicture::Write(std::ostream& out, std::int64_t startMs) const {
  std::size_t columns = 1;
  for (const row_t& row : rows_) columns = std::max(columns, row.cells.size());
  const double width = static_cast<double>(kCellsWidth) / static_cast<double>(columns);
  const double bottom = kTop + static_cast<double>(rows_.size()) * kRow;
  const int height = static_cast<int>(bottom) + 44;

  out << "<svg xmlns=\"http://www.w3.org/2000/svg\" viewBox=\"0 0 1200 " << height << "\" width=\"1200\" height=\""
      << height << "\">\n"
      << "<style>text { font: 11px system-ui, 'Segoe UI', Roboto, Arial, sans-serif; fill: #4b5563 }"
      << " .h { font-size: 20px; font-weight: 600; fill: #111827 } .e { text-anchor: end } .m { text-anchor: middle }"
      << "</style>\n<rect width=\"100%\" height=\"100%\" fill=\"#fff\"/>\n"
      << Text(24, 36, "h", title_)
      << Text(24, 58, "l",
              "Reported values of each device over time: the darker, the more. Red: tags without a good value.");
  double y = kTop;
  for (const row_t& row : rows_) {
    // Each device by its own busiest time, so that quiet ones show too.
    double most = 0;
    for (const cell_t& cell : row.cells) most = std::max(most, cell.reported);
    out << Text(kLeft - 8, y + 11, "e", row.name);
    for (std::size_t i = 0; i < row.cells.size();) {
      const auto colourOf = [&](const cell_t& cell) {
        return Colour(most == 0 ? 0 : std::sqrt(cell.reported / most),
                      cell.pieces == 0 ? 0 : cell.faulty / cell.pieces);
      };
      const std::string colour = colourOf(row.cells[i]);
      std::size_t end = i + 1;
      while (end < row.cells.size() && colourOf(row.cells[end]) == colour) ++end;
      out << "<rect x=\"" << kLeft + static_cast<double>(i) * width << "\" y=\"" << y << "\" width=\""
          << static_cast<double>(end - i) * width + 0.3 << "\" height=\"" << kRow - 1 << "\" fill=\"" << colour
          << "\"/>\n";
      i = end;
    }
    y += kRow;
  }
  const std::int64_t lastMs = startMs + static_cast<std::int64_t>(columns) * cellMs_;
  for (const readings::tick_t& tick : readings::TimeTicks(startMs, lastMs, 12)) {
    const double share = (tick.at - static_cast<double>(startMs)) / static_cast<double>(lastMs - startMs);
    out << Text(kLeft + static_cast<int>(share * kCellsWidth), bottom + 18, "m", tick.text);
  }
  out << "</svg>\n";
}

}  // namespace gateway
