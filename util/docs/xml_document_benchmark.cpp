// Loading, saving and reading XML beside libxml2 alone, POCO's DOM, QDomDocument and pugixml. Load goes from bytes in
// memory to a tree that is freed again, save from a tree to bytes in memory; "file" rows go through the file system.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <span>
#include <sstream>
#include <string>

#include "platform/framework/mem_file.h"
#include "platform/framework/native_path.h"
#include "util/docs/xml_document.h"

#if ZORUTIL_BENCH_LIBXML2
#include <libxml/parser.h>
#include <libxml/tree.h>
#include <libxml/xmlsave.h>
#endif
#if ZORUTIL_BENCH_POCO_XML
#include <Poco/AutoPtr.h>
#include <Poco/DOM/DOMParser.h>
#include <Poco/DOM/DOMWriter.h>
#include <Poco/DOM/Document.h>
#include <Poco/XML/XMLWriter.h>
#endif
#if ZORUTIL_BENCH_QT_XML
#include <QByteArray>
#include <QDomDocument>
#endif
#if ZORUTIL_BENCH_PUGIXML
#include <pugixml.hpp>
#endif

namespace {

// What a saved project looks like: objects with some settings each.
const std::string& Project(std::size_t size) {
  static std::string texts[2];
  std::string& text = texts[size > 10'000'000];
  if (!text.empty()) return text;
  text = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<Project xmlns=\"urn:project\">\n";
  for (int i = 0; text.size() < size; ++i) {
    const std::string n = std::to_string(i);
    text += "  <Tag id=\"" + n + "\" enabled=\"true\">\n    <Name>Channel 1.Device " + n + "</Name>\n    <Address>4" +
            n + "</Address>\n    <ScanRate>1000</ScanRate>\n    <RawLow>0</RawLow>\n    <RawHigh>" + n +
            ".25</RawHigh>\n    <Units>l/min &amp; bar</Units>\n  </Tag>\n";
  }
  text += "</Project>\n";
  return text;
}

class CTemporaryFile {
 public:
  explicit CTemporaryFile(const std::string& content)
      : path_(std::filesystem::temp_directory_path() /
              ("xml_document_benchmark_" + std::to_string(getpid()) + ".xml")) {
    std::ofstream(path_, std::ios::binary) << content;
  }
  ~CTemporaryFile() { std::filesystem::remove(path_); }
  const std::filesystem::path& GetPath() const { return path_; }

 private:
  std::filesystem::path path_;
};

void Require(benchmark::State& state, bool claim) {
  if (!claim) state.SkipWithError("failed");
}

void SetBytes(benchmark::State& state, const std::string& text) {
  state.SetBytesProcessed(static_cast<std::int64_t>(text.size()) * static_cast<std::int64_t>(state.iterations()));
}

// ---- ours

void LoadOurs(benchmark::State& state, const std::string& text) {
  CMemFile file(std::as_bytes(std::span(text)));
  for (auto _ : state) {
    CXmlDocument document;
    file.SeekToBegin();
    Require(state, document.LoadFrom(file) == 1);
  }
  SetBytes(state, text);
}

void SaveOurs(benchmark::State& state, const std::string& text) {
  CMemFile source(std::as_bytes(std::span(text)));
  CXmlDocument document;
  document.LoadFrom(source);
  for (auto _ : state) {
    CMemFile file;
    Require(state, document.SaveTo(file) == 1 && file.GetLength() == text.size());
  }
  SetBytes(state, text);
}

void LoadFileOurs(benchmark::State& state, const std::string& text) {
  const CTemporaryFile file(text);
  const CString path = zorplatform::FromNativePath(file.GetPath());
  for (auto _ : state) {
    CXmlDocument document;
    Require(state, document.Load(path) == 1);
  }
  SetBytes(state, text);
}

void SaveFileOurs(benchmark::State& state, const std::string& text) {
  const CTemporaryFile file(text);
  const CString path = zorplatform::FromNativePath(file.GetPath());
  CXmlDocument document;
  document.Load(path);
  for (auto _ : state) Require(state, document.Save(path) == 1);
  SetBytes(state, text);
}

constexpr const char16_t* kNs = u"urn:project";

void ReadElementOurs(benchmark::State& state) {
  CXmlDocument document;
  document.SetXml(u"<t xmlns='urn:project'><a/><b/><Value>123456</Value></t>");
  void* const top = document.GetElementByName(nullptr, u"", u"", false);
  int value = 0;
  for (auto _ : state) {
    document.ReadElement(top, kNs, u"Value", true, value);
    benchmark::DoNotOptimize(value);
  }
}

void ReadAttributeOurs(benchmark::State& state) {
  CXmlDocument document;
  document.SetXml(u"<t a='' b='' value='123456'/>");
  void* const top = document.GetElementByName(nullptr, u"", u"", false);
  int value = 0;
  for (auto _ : state) {
    document.ReadAttribute(top, u"value", value);
    benchmark::DoNotOptimize(value);
  }
}

void BuildOurs(benchmark::State& state) {
  for (auto _ : state) {
    CXmlDocument document;
    void* const top = document.WriteElement(nullptr, kNs, u"Project", false, u"");
    for (int i = 0; i < 1000; ++i) document.WriteElement(top, kNs, u"Value", true, i);
    document.ReleaseElement(top);
  }
}

// ---- libxml2

#if ZORUTIL_BENCH_LIBXML2
using doc_t = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

doc_t ParseLibxml2(const std::string& text, int options = 0) {
  return doc_t(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, XML_PARSE_HUGE | options),
               &xmlFreeDoc);
}

void LoadLibxml2(benchmark::State& state, const std::string& text) {
  for (auto _ : state) Require(state, ParseLibxml2(text) != nullptr);
  SetBytes(state, text);
}

void SaveLibxml2(benchmark::State& state, const std::string& text) {
  const doc_t doc = ParseLibxml2(text, XML_PARSE_NOBLANKS);
  for (auto _ : state) {
    xmlChar* out = nullptr;
    int size = 0;
    xmlDocDumpFormatMemoryEnc(doc.get(), &out, &size, "UTF-8", 1);
    Require(state, static_cast<std::size_t>(size) == text.size());
    xmlFree(out);
  }
  SetBytes(state, text);
}

void LoadFileLibxml2(benchmark::State& state, const std::string& text) {
  const CTemporaryFile file(text);
  for (auto _ : state) {
    const doc_t doc(xmlReadFile(file.GetPath().c_str(), nullptr, XML_PARSE_HUGE), &xmlFreeDoc);
    Require(state, doc != nullptr);
  }
  SetBytes(state, text);
}

// Not atomic, and not flushed to the device.
void SaveFileLibxml2(benchmark::State& state, const std::string& text) {
  const CTemporaryFile file(text);
  const doc_t doc = ParseLibxml2(text, XML_PARSE_NOBLANKS);
  for (auto _ : state) Require(state, xmlSaveFormatFileEnc(file.GetPath().c_str(), doc.get(), "UTF-8", 1) > 0);
  SetBytes(state, text);
}

void BuildLibxml2(benchmark::State& state) {
  for (auto _ : state) {
    const doc_t doc(xmlNewDoc(BAD_CAST "1.0"), &xmlFreeDoc);
    xmlNode* const top = xmlNewDocNode(doc.get(), nullptr, BAD_CAST "Project", nullptr);
    xmlDocSetRootElement(doc.get(), top);
    xmlNs* const ns = xmlNewNs(top, BAD_CAST "urn:project", nullptr);
    xmlSetNs(top, ns);
    for (int i = 0; i < 1000; ++i) xmlNewTextChild(top, ns, BAD_CAST "Value", BAD_CAST std::to_string(i).c_str());
  }
}
#endif

// ---- POCO

#if ZORUTIL_BENCH_POCO_XML
void LoadPoco(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    Poco::XML::DOMParser parser;
    const Poco::AutoPtr<Poco::XML::Document> document = parser.parseMemory(text.data(), text.size());
    Require(state, document->documentElement() != nullptr);
  }
  SetBytes(state, text);
}

void SavePoco(benchmark::State& state, const std::string& text) {
  Poco::XML::DOMParser parser;
  const Poco::AutoPtr<Poco::XML::Document> document = parser.parseMemory(text.data(), text.size());
  Poco::XML::DOMWriter writer;
  for (auto _ : state) {
    std::ostringstream out;
    writer.writeNode(out, document);
    Require(state, !out.view().empty());
  }
  SetBytes(state, text);
}
#endif

// ---- Qt

#if ZORUTIL_BENCH_QT_XML
void LoadQt(benchmark::State& state, const std::string& text) {
  const QByteArray bytes(text.data(), static_cast<qsizetype>(text.size()));
  for (auto _ : state) {
    QDomDocument document;
    Require(state, document.setContent(bytes, true));
  }
  SetBytes(state, text);
}

void SaveQt(benchmark::State& state, const std::string& text) {
  QDomDocument document;
  document.setContent(QByteArray(text.data(), static_cast<qsizetype>(text.size())), true);
  for (auto _ : state) Require(state, !document.toByteArray(2).isEmpty());
  SetBytes(state, text);
}
#endif

// ---- pugixml

#if ZORUTIL_BENCH_PUGIXML
void LoadPugi(benchmark::State& state, const std::string& text) {
  for (auto _ : state) {
    pugi::xml_document document;
    Require(state, document.load_buffer(text.data(), text.size()));
  }
  SetBytes(state, text);
}

struct string_writer_t : pugi::xml_writer {
  std::string text;
  void write(const void* data, std::size_t size) override { text.append(static_cast<const char*>(data), size); }
};

void SavePugi(benchmark::State& state, const std::string& text) {
  pugi::xml_document document;
  document.load_buffer(text.data(), text.size());
  for (auto _ : state) {
    string_writer_t writer;
    document.save(writer, "  ");
    Require(state, !writer.text.empty());
  }
  SetBytes(state, text);
}
#endif

[[maybe_unused]] const bool registered = [] {
  using run_t = void (*)(benchmark::State&, const std::string&);
  for (const std::size_t size : {1'000'000, 50'000'000}) {
    const auto add = [&](const char* work, const char* who, run_t run) {
      const std::string name = std::string(work) + " " + std::to_string(size / 1'000'000) + " MB/" + who;
      benchmark::RegisterBenchmark(name.c_str(), [=](benchmark::State& state) { run(state, Project(size)); })
          ->Unit(benchmark::kMillisecond)
          ->UseRealTime();
    };
    add("load XML", "ours", LoadOurs);
    add("save XML", "ours", SaveOurs);
    add("load XML file", "ours", LoadFileOurs);
    add("save XML file", "ours", SaveFileOurs);
#if ZORUTIL_BENCH_LIBXML2
    add("load XML", "libxml2", LoadLibxml2);
    add("save XML", "libxml2", SaveLibxml2);
    add("load XML file", "libxml2", LoadFileLibxml2);
    add("save XML file", "libxml2", SaveFileLibxml2);
#endif
#if ZORUTIL_BENCH_POCO_XML
    add("load XML", "POCO", LoadPoco);
    add("save XML", "POCO", SavePoco);
#endif
#if ZORUTIL_BENCH_QT_XML
    add("load XML", "QDomDocument", LoadQt);
    add("save XML", "QDomDocument", SaveQt);
#endif
#if ZORUTIL_BENCH_PUGIXML
    add("load XML", "pugixml", LoadPugi);
    add("save XML", "pugixml", SavePugi);
#endif
  }
  benchmark::RegisterBenchmark("read an element as int/ours", ReadElementOurs);
  benchmark::RegisterBenchmark("read an attribute as int/ours", ReadAttributeOurs);
  benchmark::RegisterBenchmark("build 1000 elements/ours", BuildOurs);
#if ZORUTIL_BENCH_LIBXML2
  benchmark::RegisterBenchmark("build 1000 elements/libxml2", BuildLibxml2);
#endif
  return true;
}();

}  // namespace
