// gateway: a project of channels, devices and tags at work. `gateway --help` shows how.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <memory>
#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "examples/gateway/gateway.h"
#include "examples/gateway/live_settings.h"
#include "examples/gateway/summary.h"
#include "examples/readings/file_source.h"
#include "examples/readings/progress_line.h"
#include "examples/readings/text_table.h"
#include "platform/framework/file.h"
#include "platform/framework/native_path.h"
#include "util/i18n/language.h"
#include "util/i18n/message_exception.h"
#include "util/objects/described_object.h"
#include "util/objects/type_library.h"
#include "util/options/product_identity.h"
#include "util/project/tree_validation.h"
#include "util/properties/definition_loader.h"
#include "util/properties/definition_store.h"
#include "util/properties/functor.h"

namespace {

using gateway::settings_t;
namespace project = zorutil::project;
namespace properties = zorutil::properties;

enum exit_t : int { EXIT_FINE = 0, EXIT_FINDINGS = 1, EXIT_USAGE = 2, EXIT_IO = 3 };

[[noreturn]] void ThrowCannot(const char* what, const std::string& path) {
  throw std::runtime_error(path + ": cannot " + what + ": " + std::generic_category().message(errno));
}

std::ofstream OpenForWriting(const std::string& path) {
  errno = 0;
  std::ofstream file(path, std::ios::binary);
  if (!file) ThrowCannot("write", path);
  return file;
}

void Close(std::ofstream& file, const std::string& path) {
  file.close();
  if (!file) ThrowCannot("write", path);
}

std::string ReadText(const std::string& path) {
  constexpr std::size_t kMost = std::size_t{64} << 20;  // a device can be without end
  CFile file(zorplatform::FromNativePath(path), CFile::modeRead);
  std::string text;
  for (std::size_t got = 1; got != 0;) {
    const std::size_t before = text.size();
    text.resize(before + (1 << 16));
    got = file.Read(text.data() + before, 1 << 16);
    text.resize(before + got);
    if (text.size() > kMost) throw std::runtime_error(path + ": longer than 64 MiB");
  }
  return text;
}

// A report names its file by the path text; whoever called gave the system's path.
std::string TextOf(const project::load_report_t& report, const std::string& path, unsigned short languageId) {
  std::string text = report.ToString(languageId).ToUtf8();
  const std::string pathText = zorplatform::FromNativePath(path).ToUtf8();
  for (std::size_t at = text.find(pathText); !pathText.empty() && at != std::string::npos;) {
    text.replace(at, pathText.size(), path);
    at = text.find(pathText, at + path.size());
  }
  return text;
}

// Prints what is wrong with the settings of the objects. False when anything is.
bool Validate(const CTableObj& root, const settings_t& settings, properties::CDefinitionStore& definitions) {
  constexpr std::size_t kMost = 1000;
  std::size_t namespaces = 0;
  using namespace_t = const std::pair<int, properties::metadata_t>&;
  auto count = properties::MakeFunctor<namespace_t>([&namespaces](namespace_t) { return ++namespaces, false; });
  definitions.IterateNamespaces(count);
  if (namespaces == 0)
    std::cerr << "no definitions were found (--definitions): settings are not checked against them\n";
  const auto failures = project::ValidateTree(root, kMost, &definitions);
  for (const auto& [path, failure] : failures) {
    std::cerr << path.ToUtf8() << ": " << failure.name.ToUtf8() << ": "
              << failure.message->GetMessageText(settings.languageId).ToUtf8() << '\n';
  }
  if (failures.size() == kMost) std::cerr << "... and perhaps more\n";
  return failures.empty();
}

void WritePictures(const settings_t& settings, const readings::CPlot& plot, const gateway::CActivityPicture& picture,
                   std::int64_t startMs, std::ofstream& plotFile, std::ofstream& overviewFile) {
  if (!settings.plot.empty()) {
    plot.Write(plotFile);
    Close(plotFile, settings.plot);
  }
  if (!settings.overview.empty()) {
    picture.Write(overviewFile, startMs);
    Close(overviewFile, settings.overview);
  }
}

// Runs the project over the readings. False when there was anything to complain about.
bool RunProject(CTableObj& root, const settings_t& settings, gateway::CLiveSettings& live,
                gateway::CChangeScript& changes, properties::CDefinitionStore& definitions) {
  readings::CProblemLog problems(std::cerr, 20);
  gateway::CReadingFeed feed(
      settings.readings, [&settings] { return std::make_unique<readings::CFileSource>(settings.readings); }, problems);
  if (!feed.Open()) throw std::runtime_error(settings.readings + ": no readings");
  feed.SetPasses(settings.updates != 0 ? 0 : settings.passes);
  const std::int64_t startMs = feed.GetTime();

  // Opened before the work, so that a path that cannot be written costs no wait.
  std::ofstream logFile, reportedFile, plotFile, overviewFile;
  if (!settings.log.empty()) logFile = OpenForWriting(settings.log);
  if (!settings.reported.empty()) reportedFile = OpenForWriting(settings.reported);
  if (!settings.plot.empty()) plotFile = OpenForWriting(settings.plot);
  if (!settings.overview.empty()) overviewFile = OpenForWriting(settings.overview);

  const std::string name = root.GetDisplayName().ToUtf8();
  readings::CPlot plot(name);
  gateway::CActivityPicture picture(name);
  gateway::CGateway running(root, settings, feed, changes, settings.log.empty() ? std::cerr : logFile,
                            settings.reported.empty() ? nullptr : &reportedFile, plot,
                            settings.overview.empty() ? nullptr : &picture, definitions);
  readings::CProgressLine progress("updates");
  running.SetAfterSlice([&](std::uint64_t updates) {
    progress.Show(updates);
    for (const std::string& line : live.Look()) running.Log(line);
  });
  running.Run();
  progress.Clear();
  problems.Finish();
  if (!settings.log.empty()) Close(logFile, settings.log);
  if (!settings.reported.empty()) Close(reportedFile, settings.reported);

  const gateway::result_t result = running.GetResult();
  std::uint64_t entries = 0;
  for (const gateway::channel_summary_t& channel : result.channels) entries += channel.logEntries;
  gateway::PrintSummary(std::cout, result);
  if (entries != 0) {
    std::cout << readings::Grouped(entries) << " entries of the log, limited to one of a kind in "
              << settings.logIntervalMs / 1000 << " s for each channel\n";
  }
  if (changes.GetCount() != 0) {
    std::cout << changes.GetDone() << " changes made while it ran, " << changes.GetFailed() << " not done\n";
  }
  WritePictures(settings, plot, picture, startMs, plotFile, overviewFile);
  return problems.GetCount() == 0 && changes.GetFailed() == 0;
}

exit_t Run(const std::string& path, const settings_t& settings, gateway::CLiveSettings& live) {
  gateway::RegisterTypes();
  std::vector<zorutil::CTypeLibrary> plugins;  // outlive the project
  for (const std::string& file : settings.types) plugins.emplace_back(zorplatform::FromNativePath(file));
  project::load_report_t report;
  const auto started = std::chrono::steady_clock::now();
  const zorutil::owned_obj_ptr root = project::LoadProject(zorplatform::FromNativePath(path), report);
  if (root == nullptr) {
    std::cerr << TextOf(report, path, settings.languageId) << '\n';
    return EXIT_IO;
  }
  if (root->GetType() != gateway::kProject) {
    const zorutil::CDescribedObj* const other = zorutil::AsDescribed(root.get());
    throw std::runtime_error(
        path + ": expected a Project at the top, not " +
        (other == nullptr ? "another object" : CString(other->GetTypeDescription().name).ToUtf8()));
  }
  const double ms = std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - started).count();
  std::cout << root->GetDisplayName().ToUtf8() << ": loaded in " << readings::Value(std::max(ms, 0.1)) << " ms\n";

  gateway::CChangeScript changes;
  if (!settings.changes.empty()) {
    readings::CProblemLog problems(std::cerr, 20);
    if (!changes.Read(ReadText(settings.changes), settings.changes, problems)) return EXIT_IO;
  }
  std::unique_ptr<properties::CDefinitionStore> own;
  if (!settings.definitions.empty()) {
    own = std::make_unique<properties::CDefinitionStore>(zorplatform::FromNativePath(settings.definitions) + u"\\");
  }
  properties::CDefinitionStore& definitions = own != nullptr ? *own : properties::GetDefinitionStore();
  bool isFine = Validate(*root, settings, definitions);
  if (!settings.readings.empty()) isFine = RunProject(*root, settings, live, changes, definitions) && isFine;
  const auto trips = gateway::SaveAndReload(*root, settings.save, settings.languageId);
  std::cout << '\n';
  gateway::PrintRoundTrips(std::cout, trips);
  isFine = isFine && std::all_of(trips.begin(), trips.end(), [](const auto& trip) { return trip.isEqual; });
  std::cout.flush();
  if (!std::cout) throw std::runtime_error("standard output: cannot write");
  return isFine ? EXIT_FINE : EXIT_FINDINGS;
}

}  // namespace

int main(int argc, char** argv) {
#ifdef SIGPIPE
  std::signal(SIGPIPE, SIG_IGN);  // a reader that went away is a write error, with a message
#endif
#ifdef SIGXFSZ
  std::signal(SIGXFSZ, SIG_IGN);  // and so is a file that may not grow
#endif
  std::string path, file;
  gateway::given_t given;
  settings_t settings;
  CLI::App app{
      "Example: gateway boiler_house.json --readings boiler_house.csv --plot boilers.svg\n\n"
      "Loads a project (binary, XML or JSON), validates every object, runs its channels over recorded readings, each "
      "on "
      "a thread of its own, and takes changes meanwhile; then saves the project in all three forms, loads each again "
      "and compares. Without --readings nothing is run.\n\n"
      "Exit codes: 0 fine; 1 something was found: settings that are not valid, bad readings, changes that could not be "
      "made, a form that lost something; 2 wrong usage; 3 input or output failed.",
      "gateway"};
  app.set_version_flag("--version", "gateway " GATEWAY_VERSION);
  app.add_option("project", path, "The project")->required();
  app.add_option("--settings", file,
                 "The settings file; without it settings.ini in the product's folder, if it is there");
  app.add_option("--readings", settings.readings, "CSV with the columns time, station, address, value");
  app.add_option("--definitions", given.definitions,
                 "The folder of the compiled definitions; without it the folder Properties beside the program");
  app.add_option("--types", settings.types, "A plug-in with further types of objects");
  app.add_option("--changes", settings.changes,
                 "Changes to make while it runs: a JSON array, as docs/formats.md tells");
  app.add_option("--language", given.language, "The language of failures, such as de")
      ->check(
          [](const std::string& tag) { return i18n::LanguageIdFromTag(tag) != 0 ? "" : tag + ": no such language"; });
  app.add_option("--reported", settings.reported, "Write the reported values into this CSV file");
  app.add_option("--log", given.log, "Write the log into this file instead of standard error");
  app.add_option("--log-interval", given.logIntervalMs, "Entries of one kind of a channel are this far apart, in ms")
      ->check(CLI::NonNegativeNumber);
  app.add_option("--plot", settings.plot, "Draw the watched tags into this SVG file");
  app.add_option("--watch", settings.watched, "The path of a tag to draw, below the project; up to 24")
      ->expected(1, readings::CPlot::kMostPanels);
  app.add_option("--overview", settings.overview, "Draw all devices over time into this SVG file");
  app.add_option("--save", settings.save, "Write the project as PATH.bin, PATH.xml and PATH.json");
  app.add_flag("--realtime", given.isRealTime, "Let simulated time pass as fast as real time");
  auto* const repeat = app.add_option("--repeat", settings.passes, "Go through the readings so many times")
                           ->check(CLI::Range(1u, 1'000'000'000u))
                           ->capture_default_str();
  app.add_option("--updates", settings.updates, "Go through the readings until so many updates are made")
      ->check(CLI::PositiveNumber)
      ->excludes(repeat);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    if (app.exit(error) != 0) return EXIT_USAGE;
    if (std::cout.flush()) return EXIT_FINE;
    std::cerr << "gateway: standard output: cannot write\n";
    return EXIT_IO;
  }
  try {
    zorutil::SetProductName(u"Gateway");
    zorutil::SetAppVersion(std::atoi(GATEWAY_VERSION));
    gateway::CLiveSettings live(settings, given, file.empty() ? gateway::CLiveSettings::FindProductFile() : file);
    return Run(path, settings, live);
  } catch (const i18n::message_exception_t& error) {
    std::cerr << "gateway: " << error.GetMessageText(settings.languageId).ToUtf8() << '\n';
    return EXIT_IO;
  } catch (const std::bad_alloc&) {
    std::cerr << "gateway: out of memory\n";
    return EXIT_IO;
  } catch (const std::exception& error) {
    std::cerr << "gateway: " << error.what() << '\n';
    return EXIT_IO;
  }
}
