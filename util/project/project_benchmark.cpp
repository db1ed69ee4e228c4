// Whole projects: saved to a file and loaded again in each form, with the memory that a tag takes, and copies of a
// device. The text forms stand beside libraries that only read or write the same text, without making anything of it.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/framework/temp_folder_testing.h"
#include "util/objects/plant_types_testing.h"
#include "util/project/project_diff.h"
#include "util/project/project_file.h"
#include "util/project/project_patch.h"

#if ZORUTIL_BENCH_RAPIDJSON
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>
#endif
#if ZORUTIL_BENCH_PUGIXML
#include <pugixml.hpp>
#endif

namespace {

using zorutil::owned_obj_ptr;
using zorutil::project::form_t;
using zorutil::project::LoadProject;
using zorutil::project::SaveProject;

const plant_testing::CTypes& Types() {
  static const plant_testing::CTypes types;
  return types;
}

// Tags by the thousand in a device, ten devices in a channel.
owned_obj_ptr MakePlant(unsigned tags) {
  Types();
  return plant_testing::MakePlant(tags / 10'000, 10, 1'000);
}

CTempFolder& Folder() {
  static CTempFolder folder;
  return folder;
}
CString PathOf(unsigned tags, form_t form) {
  return Folder().PathOf(std::to_string(tags) + "." + CString(zorutil::project::FormName(form)).ToUtf8());
}
CString MakeFile(unsigned tags, form_t form) {
  const CString path = PathOf(tags, form);
  if (!std::filesystem::exists(zorplatform::ToNativePath(path))) SaveProject(*MakePlant(tags), path, form);
  return path;
}
std::string TextOf(unsigned tags, form_t form) { return FileText(zorplatform::ToNativePath(MakeFile(tags, form))); }

std::uint64_t MemoryInUse() { return mallinfo2().uordblks + mallinfo2().hblkhd; }

owned_obj_ptr Load(const CString& path) {
  zorutil::project::load_report_t report;
  owned_obj_ptr project = LoadProject(path, report);
  if (project == nullptr) throw std::runtime_error(report.ToString().ToUtf8());
  return project;
}

void LoadOurs(benchmark::State& state, unsigned tags, form_t form) {
  const CString path = MakeFile(tags, form);
  for (auto _ : state) {
    owned_obj_ptr project = Load(path);
    state.PauseTiming();
    project.reset();
    state.ResumeTiming();
  }
  malloc_trim(0);
  const std::uint64_t before = MemoryInUse();
  const owned_obj_ptr project = Load(path);
  state.counters["bytes/tag"] = static_cast<double>(MemoryInUse() - before) / tags;
}

void SaveOurs(benchmark::State& state, unsigned tags, form_t form) {
  const owned_obj_ptr project = Load(MakeFile(tags, form));
  const CString path = Folder().PathOf("saved");
  for (auto _ : state) SaveProject(*project, path, form);
  std::filesystem::remove(zorplatform::ToNativePath(path));
}

#if ZORUTIL_BENCH_RAPIDJSON
void LoadRapid(benchmark::State& state, unsigned tags) {
  const std::string text = TextOf(tags, form_t::JSON);
  for (auto _ : state) {
    rapidjson::Document document;
    document.Parse<rapidjson::kParseFullPrecisionFlag | rapidjson::kParseValidateEncodingFlag>(text.c_str(),
                                                                                               text.size());
    benchmark::DoNotOptimize(document.MemberCount());
  }
}
void SaveRapid(benchmark::State& state, unsigned tags) {
  const std::string text = TextOf(tags, form_t::JSON);
  rapidjson::Document document;
  document.Parse<rapidjson::kParseFullPrecisionFlag>(text.c_str(), text.size());
  for (auto _ : state) {
    rapidjson::StringBuffer out;
    rapidjson::Writer<rapidjson::StringBuffer> writer(out);
    document.Accept(writer);
    benchmark::DoNotOptimize(out.GetString());
  }
}
#endif

#if ZORUTIL_BENCH_PUGIXML
void LoadPugi(benchmark::State& state, unsigned tags) {
  const std::string text = TextOf(tags, form_t::XML);
  for (auto _ : state) {
    pugi::xml_document document;
    if (!document.load_buffer(text.data(), text.size())) state.SkipWithError("refused");
  }
}
void SavePugi(benchmark::State& state, unsigned tags) {
  const std::string text = TextOf(tags, form_t::XML);
  pugi::xml_document document;
  if (!document.load_buffer(text.data(), text.size())) return state.SkipWithError("refused");
  for (auto _ : state) {
    std::ostringstream out;
    document.save(out, "  ");
    benchmark::DoNotOptimize(out.str().data());
  }
}
#endif

void CopyDevice(benchmark::State& state) {
  Types();
  plant_testing::CDevice device;
  for (unsigned i = 0; i < 1000; ++i) {
    FillTag(plant_testing::Add<plant_testing::CTag>(device.tags, plant_testing::NumberedName("Tag", i)), i);
  }
  for (auto _ : state) {
    const owned_obj_ptr copy(CTableObj::CopyObject(device, CTableObj::kCopyHierarchy));
    benchmark::DoNotOptimize(copy.get());
  }
}

void DiffEqual(benchmark::State& state) {
  const owned_obj_ptr a = MakePlant(1'000'000), b = MakePlant(1'000'000);
  for (auto _ : state) {
    if (!zorutil::project::DiffTrees(*a, *b).IsEmpty()) state.SkipWithError("differ");
  }
}
// One setting of every hundredth tag.
void PatchMany(benchmark::State& state) {
  const owned_obj_ptr a = MakePlant(1'000'000), b = MakePlant(1'000'000);
  int number = 0;
  for (const auto& channel : b->GetChildObjects(plant_testing::kChannel, -1)) {
    for (const auto& device : channel->GetChildObjects(plant_testing::kDevice, -1)) {
      for (const auto& tag : device->GetChildObjects(plant_testing::kTag, -1)) {
        if (++number % 100 == 0) static_cast<plant_testing::CTag&>(*tag).scanRate = 7;
      }
    }
  }
  const auto there = zorutil::project::DiffTrees(*a, *b).ToPatch();
  const auto back = zorutil::project::DiffTrees(*b, *a).ToPatch();
  bool isThere = false;
  for (auto _ : state) {
    isThere = !isThere;
    if (!zorutil::project::ApplyPatch(isThere ? *there : *back, *a)) state.SkipWithError("refused");
  }
}
// Of a tree of any size.
void PatchOne(benchmark::State& state) {
  const owned_obj_ptr plant = MakePlant(1'000'000);
  constexpr std::string_view kPatch =
      R"([{"op":"replace","path":"/Channels/Channel0000050/Devices/Device0000005/Tags/Tag0000500/ScanRate","value":7}])";
  for (auto _ : state) {
    if (!zorutil::project::ApplyPatch(kPatch, *plant)) state.SkipWithError("refused");
  }
}

[[maybe_unused]] const bool registered = [] {
  const auto add = [](const std::string& name, std::function<void(benchmark::State&)> run) {
    return benchmark::RegisterBenchmark(name.c_str(), std::move(run))->Unit(benchmark::kMillisecond);
  };
  const auto both = [&](const std::string& what, unsigned tags, form_t form) {
    add("project " + what + " save/ours", [=](benchmark::State& state) { SaveOurs(state, tags, form); });
    add("project " + what + " load/ours", [=](benchmark::State& state) { LoadOurs(state, tags, form); });
  };
  both("of 1,000,000 tags, binary,", 1'000'000, form_t::BINARY);
  both("of 100,000 tags, XML,", 100'000, form_t::XML);
  both("of 100,000 tags, JSON,", 100'000, form_t::JSON);
#if ZORUTIL_BENCH_PUGIXML
  add("project of 100,000 tags, XML, load/pugixml, text only", [](auto& state) { LoadPugi(state, 100'000); });
  add("project of 100,000 tags, XML, save/pugixml, text only", [](auto& state) { SavePugi(state, 100'000); });
#endif
#if ZORUTIL_BENCH_RAPIDJSON
  add("project of 100,000 tags, JSON, load/RapidJSON, text only", [](auto& state) { LoadRapid(state, 100'000); });
  add("project of 100,000 tags, JSON, save/RapidJSON, text only", [](auto& state) { SaveRapid(state, 100'000); });
#endif
  add("copy a device of 1,000 tags/ours", CopyDevice);
  add("compare 1,000,000 tags with their copies/ours", DiffEqual);
  add("patch 10,000 settings of 1,000,000 tags/ours", PatchMany);
  add("patch one setting of 1,000,000 tags/ours", PatchOne)->Unit(benchmark::kMicrosecond);
  return true;
}();

}  // namespace
