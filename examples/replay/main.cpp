// replay: raw readings in, reported tag values out. `replay --help` shows how.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <fstream>
#include <iostream>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

#include "examples/readings/file_source.h"
#include "examples/readings/progress_line.h"
#include "examples/replay/replay.h"
#include "util/i18n/language.h"

namespace {

using readings::CByteSource;

enum exit_t : int { EXIT_FINE = 0, EXIT_FINDINGS = 1, EXIT_USAGE = 2, EXIT_IO = 3 };

struct arguments_t {
  std::string tags;
  std::string input = "-";
  bool hasInput = false;
  std::string plot;
  std::string saveTags;
  std::string language = "en";
  bool strict = false;
  std::uint64_t messages = 20;
};

// Standard input. Gives what is there without waiting for a whole block, and flushes the output before it waits, so
// that a live stream passes through at once.
class CStandardInput : public CByteSource {
 public:
  explicit CStandardInput(readings::COutputBuffer& out) : out_(out) {
    std::ios::sync_with_stdio(false);
    std::cin.rdbuf()->pubsetbuf(block_.get(), kBlock);
  }
  std::size_t Read(char* buffer, std::size_t count) override {
    std::streambuf& in = *std::cin.rdbuf();
    if (in.in_avail() <= 0) {
      out_.Flush();
      if (in.sgetc() == std::streambuf::traits_type::eof()) return 0;
    }
    const auto ready = std::clamp<std::streamsize>(in.in_avail(), 1, static_cast<std::streamsize>(count));
    return static_cast<std::size_t>(in.sgetn(buffer, ready));
  }

 private:
  static constexpr std::streamsize kBlock = 256 * 1024;
  readings::COutputBuffer& out_;
  std::unique_ptr<char[]> block_{new char[kBlock]};
};

void WriteToStandardOutput(std::string_view text) {
  errno = 0;
  if (std::fwrite(text.data(), 1, text.size(), stdout) == text.size() && std::fflush(stdout) == 0) return;
  throw std::runtime_error("standard output: cannot write: " + std::generic_category().message(errno));
}

bool IsXml(const std::string& path) { return CString(path).Right(4).CompareNoCase(u".xml") == 0; }

bool ReadTags(const arguments_t& arguments, replay::CTagList& tags, readings::CProblemLog& log) {
  if (IsXml(arguments.tags)) {
    if (!tags.ReadXml(arguments.tags, log)) return false;
  } else {
    readings::CFileSource source(arguments.tags);
    readings::CCsvReader reader(source);
    if (!tags.Read(reader, arguments.tags, log)) return false;
  }
  const bool any = std::any_of(tags.GetTags().begin(), tags.GetTags().end(),
                               [](const replay::tag_t& tag) { return !tag.isRefused; });
  if (!any) std::cerr << arguments.tags << ": no usable tag\n";
  return any;
}

std::string LanguageExpected(const std::string& tag) {
  std::string text = tag + ": expected a language, such as";
  for (const i18n::language_t& language : i18n::GetAvailableLanguages()) {
    text += " " + language.tag + " (" + language.name.ToUtf8() + ")";
  }
  return text;
}

void WritePlot(const readings::CPlot& plot, std::ofstream& file, const std::string& path) {
  plot.Write(file);
  file.close();
  if (!file) throw std::runtime_error(path + ": cannot write: " + std::generic_category().message(errno));
}

exit_t Run(const arguments_t& arguments) {
  readings::CProblemLog log(std::cerr, arguments.messages);
  replay::CTagList tags;
  if (!ReadTags(arguments, tags, log)) return EXIT_IO;
  if (arguments.strict && log.GetCount() != 0) {
    log.Finish();
    return EXIT_FINDINGS;
  }

  if (!arguments.saveTags.empty()) {
    tags.WriteXml(arguments.saveTags, log);
    if (!arguments.hasInput) {
      log.Finish();
      return log.GetCount() == 0 ? EXIT_FINE : EXIT_FINDINGS;
    }
  }

  // Opened before the work, so that a path that cannot be written costs no wait.
  std::ofstream plotFile;
  readings::CPlot plot(arguments.input == "-" ? "Readings"
                                              : arguments.input.substr(arguments.input.find_last_of('/') + 1));
  errno = 0;
  if (!arguments.plot.empty()) plotFile.open(arguments.plot, std::ios::binary);
  if (!plotFile) throw std::runtime_error(arguments.plot + ": cannot write: " + std::generic_category().message(errno));

  readings::COutputBuffer out(WriteToStandardOutput);
  std::unique_ptr<CByteSource> source;
  if (arguments.input == "-") {
    source = std::make_unique<CStandardInput>(out);
  } else {
    source = std::make_unique<readings::CFileSource>(arguments.input);
  }

  const auto start = std::chrono::steady_clock::now();
  readings::CProgressLine progress("readings");
  replay::replay_options_t options{.strict = arguments.strict, .plot = arguments.plot.empty() ? nullptr : &plot};
  options.onProgress = [&](std::uint64_t readings) { progress.Show(readings); };
  replay::CReplay run(tags, out, log, std::move(options));
  readings::CCsvReader reader(*source);
  const bool any = run.Run(reader, arguments.input);
  out.Flush();
  progress.Clear();
  log.Finish();
  if (!any) return EXIT_IO;
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  if (log.GetCount() != 0) {
    std::cerr << (arguments.strict ? "stopped at the first bad line (--strict)" : "bad lines were skipped") << '\n';
  }
  replay::PrintSummary(std::cerr, run.GetStatistics(), seconds.count());
  if (!arguments.plot.empty()) WritePlot(plot, plotFile, arguments.plot);
  return log.GetCount() == 0 ? EXIT_FINE : EXIT_FINDINGS;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // a reader that went away is a write error, with a message
#endif
  arguments_t arguments;
  CLI::App app{
      "Example: replay --tags plant_tags.csv --input plant_readings.csv --plot plant.svg > changes.csv\n\n"
      "Passes raw readings (CSV with the columns time, tag, value) through the scaling and the deadband of their tags, "
      "writes the reported changes as CSV to standard output and a summary per tag to standard error. A bad line is "
      "reported with file, line and column, and skipped.\n\n"
      "Exit codes: 0 fine; 1 bad lines were found; 2 wrong usage; 3 input or output failed.",
      "replay"};
  app.set_version_flag("--version", "replay " REPLAY_VERSION);
  app.add_option("--tags", arguments.tags,
                 "The tag list: an XML document (*.xml), or CSV whose header names the columns")
      ->required();
  app.add_option("--input", arguments.input, "The readings; - is standard input")->capture_default_str();
  app.add_option("--plot", arguments.plot, "Draw raw, scaled and reported values into this SVG file");
  app.add_option("--save-tags", arguments.saveTags,
                 "Write the tag list as an XML document into this file; without --input nothing else is done");
  app.add_option("--language", arguments.language, "The language of messages, such as de")
      ->capture_default_str()
      ->check([](const std::string& tag) { return i18n::LanguageIdFromTag(tag) != 0 ? "" : LanguageExpected(tag); });
  app.add_flag("--strict", arguments.strict, "Stop at the first bad line");
  app.add_option("--messages", arguments.messages, "How many bad lines are shown; the rest is counted")
      ->capture_default_str();
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (app.exit(error) != 0) return EXIT_USAGE;
    if (std::cout.flush()) return EXIT_FINE;
    std::cerr << "replay: standard output: cannot write\n";
    return EXIT_IO;
  }
  arguments.hasInput = app.count("--input") != 0;
  i18n::SetProductLanguageId(i18n::LanguageIdFromTag(arguments.language));
  try {
    return Run(arguments);
  } catch (const std::exception& error) {
    std::cerr << "replay: " << error.what() << '\n';
    return EXIT_IO;
  }
}
