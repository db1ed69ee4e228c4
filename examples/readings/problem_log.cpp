#include "examples/readings/problem_log.h"

namespace readings {

void CProblemLog::Add(std::string_view file, text_position_t at, std::string_view text) {
  if (IsPrinting()) out_ << file << ':' << at.line << ':' << at.column << ": " << text << '\n';
  ++count_;
}

void CProblemLog::Add(std::string_view text) {
  if (IsPrinting()) out_ << text << '\n';
  ++count_;
}

void CProblemLog::Finish() {
  if (count_ > limit_) out_ << "... and " << count_ - limit_ << " more\n";
}

std::string Quoted(std::string_view text) {
  constexpr std::size_t kMost = 40;
  const bool cut = text.size() > kMost;
  std::size_t size = cut ? kMost : text.size();
  while (cut && size > 0 && (static_cast<unsigned char>(text[size]) & 0xC0) == 0x80) --size;
  std::string quoted = "'";
  for (const char c : text.substr(0, size)) quoted += static_cast<unsigned char>(c) < 0x20 || c == 0x7F ? '?' : c;
  return quoted += cut ? "...'" : "'";
}

}  // namespace readings
