// A patch of a small plant and of a recipe whose steps have an order of their own: it is carried out whole or changes
// nothing, the tables hold together afterwards, and the difference that it made can be told and taken back.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <string_view>

#include "util/json/json_text.h"
#include "util/objects/tree_invariants_testing.h"
#include "util/project/patch_types_testing.h"
#include "util/project/project_diff.h"
#include "util/project/project_file.h"
#include "util/project/project_patch.h"

namespace {

using namespace zorutil::project;

void Require(bool claim) {
  if (!claim) std::abort();
}

void Patch(const zorutil::json::IValue& patch, const zorutil::owned_obj_ptr& root) {
  const auto before = WriteProject(*root, form_t::BINARY);
  load_report_t report;
  const zorutil::owned_obj_ptr earlier = LoadProject(before, report);
  Require(earlier != nullptr);

  const patch_result_t check = ApplyPatch(patch, *root, {.isCheck = true, .maxObjects = 200});
  Require(WriteProject(*root, form_t::BINARY) == before);
  const patch_result_t result = ApplyPatch(patch, *root, {.maxObjects = 200});
  Require(check.failures.size() == result.failures.size() && check.ToString() == result.ToString());
  Require(tree_testing::FindBroken(*root).empty());
  project_diff_t diff = DiffTrees(*earlier, *root);
  Require(diff.IsEmpty() == AreTreesEqual(*earlier, *root) && diff.IsEmpty() == diff.ToString().IsEmpty());
  if (!result) {
    Require(WriteProject(*root, form_t::BINARY) == before);
    return;
  }
  // There and back, on the one and on the other.
  const auto after = WriteProject(*root, form_t::BINARY);
  const auto there = diff.ToPatch();
  diff = {};  // its references
  Require(static_cast<bool>(ApplyPatch(*there, *earlier)) && AreTreesEqual(*earlier, *root));
  const zorutil::owned_obj_ptr again = LoadProject(before, report);
  Require(static_cast<bool>(ApplyPatch(*DiffTrees(*root, *again).ToPatch(), *root)) && AreTreesEqual(*again, *root));
  Require(tree_testing::FindBroken(*root).empty() && tree_testing::FindBroken(*earlier).empty());
  Require(WriteProject(*earlier, form_t::BINARY) == after);
}

// Bytes that are no JSON are operations of three bytes each: what, where, and where from or which value.
std::string OperationsOf(const std::uint8_t* data, std::size_t size) {
  static constexpr const char* kOperations[] = {"add", "remove", "replace", "move", "move", "copy", "test", "move"};
  static constexpr const char* kPlaces[] = {"/Steps/1",
                                            "/Steps/2",
                                            "/Steps/3",
                                            "/Steps/x",
                                            "/Steps/A",
                                            "/Steps/a",
                                            "/Parts/A",
                                            "/Parts/a",
                                            "/Parts/B",
                                            "/Parts/1",
                                            "/Steps",
                                            "/Parts",
                                            "/Parts/B/Low",
                                            "/Steps/x/Low",
                                            "/Steps/2/Description",
                                            "/Parts/B/Name",
                                            "/Name",
                                            "/Tags/T",
                                            "/Tags/t",
                                            "/Tags",
                                            "/Channels",
                                            "/Channels/Channel0000000",
                                            "/Channels/N",
                                            "/Channels/n",
                                            "/Channels/N/Devices/Device0000000",
                                            "/Channels/Channel0000000/Devices/Device0000000",
                                            "/Channels/Channel0000000/Devices/Device0000000/Tags",
                                            "/Channels/N/Devices/Device0000000/Tags/Tag0000000",
                                            "/Channels/Channel0000000/Devices/Device0000000/Tags/Tag0000000",
                                            "/Channels/Channel0000001/Devices/Device0000000/Devices",
                                            "/Channels/Channel0000001/Devices/Device0000000/Devices/D",
                                            "/Channels/Channel0000001/Devices/Device0000000/Devices/D/Tags/Tag0000001"};
  static constexpr const char* kValues[] = {"{'Type':'Step','Low':5}",
                                            "{'Type':'Step'}",
                                            "{'Type':'Tag'}",
                                            "{'Type':'Device','Tags':{'T':{'Type':'Tag'}}}",
                                            "{'Type':'Channel'}",
                                            "{}",
                                            "7",
                                            "'N'",
                                            "{'T':{'Type':'Tag'},'U':{'Type':'Tag'}}",
                                            "{'x':{'Type':'Step'}}"};
  std::string patch;
  for (std::size_t i = 0; i + 2 < size && i < 90; i += 3) {
    const std::string op = kOperations[data[i] % std::size(kOperations)];
    const bool isMove = op == "move" || op == "copy";
    patch += (i == 0 ? "" : "; ") + op + " " + kPlaces[data[i + 1] % std::size(kPlaces)];
    if (op != "remove")
      patch += std::string(" ") +
               (isMove ? kPlaces[data[i + 2] % std::size(kPlaces)] : kValues[data[i + 2] % std::size(kValues)]);
  }
  return patch_testing::Patch(patch);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const patch_testing::CTypes types;
  std::shared_ptr<zorutil::json::IValue> patch;
  if (zorutil::json::ReadText({reinterpret_cast<const char*>(data), size}, patch) &&
      zorutil::json::ReadText(OperationsOf(data, size), patch)) {
    std::abort();
  }
  const zorutil::owned_obj_ptr plant = plant_testing::MakePlant(2, 1, 2);
  plant_testing::Add<plant_testing::CTag>(static_cast<plant_testing::CPlant&>(*plant).tags, u"T");
  Patch(*patch, plant);
  Patch(*patch, patch_testing::MakeRecipe({u"1", u"2", u"3"}));
  return 0;
}
