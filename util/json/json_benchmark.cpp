// JSON text of configuration-like objects, read into the model and written again, beside Boost.JSON, QJsonDocument and
// RapidJSON. Each row reads the whole text into a new document, which is freed within the measured time.
#include "util/json/json_text.h"

#include <benchmark/benchmark.h>
#include <malloc.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <functional>
#include <random>
#include <string>

#include "util/json/json_serializer.h"

#if ZORUTIL_BENCH_BOOST_JSON
#include <boost/json.hpp>
#endif
#if ZORUTIL_BENCH_QT
#include <QByteArray>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#endif
#if ZORUTIL_BENCH_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif

namespace {

namespace json = zorutil::json;

// A project: channels with devices with tags, as the servers of this family store them. About `size` bytes, with the
// indentation of our own writer or without any blanks.
std::string MakeProject(std::size_t size, bool pretty) {
  std::mt19937 random(7);
  const auto number = [&](unsigned below) { return std::to_string(random() % below); };
  const std::string newline = pretty ? "\n" : "";
  const std::string colon = pretty ? ": " : ":";
  std::string text;
  const auto line = [&](int depth, const std::string& content) {
    if (pretty) text.append(static_cast<std::size_t>(depth) * 2, ' ');
    text += content + newline;
  };
  const auto member = [&](int depth, const std::string& name, const std::string& value, bool last = false) {
    line(depth, '"' + name + '"' + colon + value + (last ? "" : ","));
  };
  line(0, "{");
  member(1, "project.TITLE", "\"Filling line 4\"");
  line(1, "\"tags\"" + colon + "[");
  for (unsigned tag = 0; text.size() + 700 < size; ++tag) {
    line(2, tag == 0 ? "{" : ",{");
    member(3, "common.ALLTYPES_NAME", "\"Tag" + std::to_string(tag) + "\"");
    member(3, "common.ALLTYPES_DESCRIPTION", tag % 4 == 0 ? "\"Outlet pressure of pump " + number(64) + "\"" : "\"\"");
    member(3, "servermain.TAG_ADDRESS", "\"D" + number(10000) + "\"");
    member(3, "servermain.TAG_DATA_TYPE", number(15));
    member(3, "servermain.TAG_READ_WRITE_ACCESS", number(2));
    member(3, "servermain.TAG_SCAN_RATE_MILLISECONDS", std::to_string(100 * (1 + random() % 50)));
    member(3, "servermain.TAG_SCALING_TYPE", number(3));
    member(3, "servermain.TAG_SCALING_RAW_LOW", "0");
    member(3, "servermain.TAG_SCALING_RAW_HIGH", number(65536));
    member(3, "servermain.TAG_SCALING_FACTOR", number(100) + "." + number(1000));
    member(3, "servermain.TAG_SCALING_CLAMP_LOW", random() % 2 != 0 ? "true" : "false");
    member(3, "servermain.TAG_SCALING_UNITS", tag % 3 == 0 ? "\"\\u00b0C\"" : "\"bar\"", true);
    line(2, "}");
  }
  line(1, "]");
  line(0, "}");
  return text;
}

// What the process occupies, of whatever allocator.
std::uint64_t MemoryInUse() {
  malloc_trim(0);
  std::uint64_t pages = 0;
  std::ifstream statm("/proc/self/statm");
  statm >> pages >> pages;
  return pages * static_cast<std::uint64_t>(sysconf(_SC_PAGESIZE));
}

// Reads again and again. The last column is the memory that a document holds, in bytes a byte of text.
template <class Document>
void Read(benchmark::State& state, const std::string& text, Document (*read)(const std::string&)) {
  for (auto _ : state) {
    auto document = read(text);
    benchmark::DoNotOptimize(&document);
  }
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(text.size()));
  const std::uint64_t before = MemoryInUse();
  const auto document = read(text);
  const auto held = static_cast<double>(MemoryInUse() - before);
  state.counters["memory/text"] = held / static_cast<double>(text.size());
}

template <class Write>
void WriteAgain(benchmark::State& state, Write write) {
  std::size_t size = 0;
  for (auto _ : state) size = write();
  state.SetBytesProcessed(state.iterations() * static_cast<std::int64_t>(size));
}

json::root_t ReadOurs(const std::string& text) {
  json::root_t document;
  if (json::ReadText(text, document)) std::abort();
  return document;
}
void WriteOurs(benchmark::State& state, const std::string& text) {
  const json::root_t document = ReadOurs(text);
  json::json_serializer_t out({.indent = 0});
  WriteAgain(state, [&] {
    out.Clear();
    document.Serialize(out);
    return out.GetUtf8().size();
  });
}

#if ZORUTIL_BENCH_BOOST_JSON
boost::json::value ReadBoost(const std::string& text) { return boost::json::parse(text); }
void WriteBoost(benchmark::State& state, const std::string& text) {
  const boost::json::value document = ReadBoost(text);
  WriteAgain(state, [&] {
    const std::string written = boost::json::serialize(document);
    benchmark::DoNotOptimize(written.data());
    return written.size();
  });
}
#endif

#if ZORUTIL_BENCH_QT
QJsonDocument ReadQt(const std::string& text) {
  return QJsonDocument::fromJson(QByteArray::fromRawData(text.data(), static_cast<qsizetype>(text.size())));
}
void WriteQt(benchmark::State& state, const std::string& text) {
  const QJsonDocument document = ReadQt(text);
  WriteAgain(state, [&] { return static_cast<std::size_t>(document.toJson(QJsonDocument::Compact).size()); });
}
#endif

#if ZORUTIL_BENCH_RAPIDJSON
rapidjson::Document ReadRapid(const std::string& text) {
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag>(text.c_str(), text.size());
  return document;
}
void WriteRapid(benchmark::State& state, const std::string& text) {
  const rapidjson::Document document = ReadRapid(text);
  rapidjson::StringBuffer out;
  WriteAgain(state, [&] {
    out.Clear();
    rapidjson::Writer<rapidjson::StringBuffer> writer(out);
    document.Accept(writer);
    return out.GetSize();
  });
}
#endif

[[maybe_unused]] const bool registered = [] {
  for (const std::size_t megabytes : {1, 50}) {
    for (const bool pretty : {true, false}) {
      const std::string text = MakeProject(megabytes * 1'000'000, pretty);
      const std::string what = std::to_string(megabytes) + (pretty ? " MB" : " MB compact");
      const auto add = [&](const std::string& row, const char* who, std::function<void(benchmark::State&)> run) {
        benchmark::RegisterBenchmark((row + what + "/" + who).c_str(), std::move(run))->Unit(benchmark::kMillisecond);
      };
      const auto read = [&](const char* who, auto* how) {
        add("JSON read ", who, [text, how](benchmark::State& state) { Read(state, text, how); });
      };
      const auto write = [&](const char* who, void (*how)(benchmark::State&, const std::string&)) {
        if (!pretty) add("JSON write ", who, [text, how](benchmark::State& state) { how(state, text); });
      };
      read("ours", ReadOurs);
      write("ours", WriteOurs);
#if ZORUTIL_BENCH_BOOST_JSON
      read("Boost.JSON", ReadBoost);
      write("Boost.JSON", WriteBoost);
#endif
#if ZORUTIL_BENCH_QT
      read("QJsonDocument", ReadQt);
      write("QJsonDocument", WriteQt);
#endif
#if ZORUTIL_BENCH_RAPIDJSON
      read("RapidJSON", ReadRapid);
      write("RapidJSON", WriteRapid);
#endif
    }
  }
  return true;
}();

}  // namespace
