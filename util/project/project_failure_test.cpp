// Projects when memory or the disk gives out: the old file stands, no half of a tree is left, and nothing leaks (which
// the address sanitizer watches).
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstddef>
#include <filesystem>
#include <iterator>
#include <new>
#include <string>

#include "platform/framework/allocation_testing.h"
#include "platform/framework/file.h"
#include "platform/framework/temp_folder_testing.h"
#include "util/objects/plant_types_testing.h"
#include "util/project/project_file.h"

namespace {

using plant_testing::MakePlant;
using zorutil::owned_obj_ptr;
using namespace zorutil::project;

constexpr form_t kForms[] = {form_t::BINARY, form_t::XML, form_t::JSON};

class ProjectFailure : public testing::Test {
 protected:
  const plant_testing::CTypes types_;
};

TEST_F(ProjectFailure, FailedAllocationWhileSavingLeavesTheOldFileAndTheTree) {
  const CTempFolder folder;
  const owned_obj_ptr plant = MakePlant(1, 2, 2);
  for (const form_t form : kForms) {
    folder.Put("plant", "old");
    const CString path = folder.PathOf("plant");
    bool isSaved = false;
    for (int left = 0; !isSaved; ++left) {
      plant->SetModified(true);
      allocation_testing::allocationsLeft = left;
      try {
        SaveProject(*plant, path, form);
        isSaved = true;
      } catch (const std::bad_alloc&) {
      }
      allocation_testing::allocationsLeft = -1;
      if (isSaved) break;
      EXPECT_EQ(folder.Get("plant"), "old") << left;
      EXPECT_TRUE(plant->IsModified()) << left;
    }
    load_report_t report;
    const owned_obj_ptr loaded = LoadProject(path, report);
    ASSERT_NE(loaded, nullptr);
    EXPECT_TRUE(AreTreesEqual(*plant, *loaded));
  }
}

TEST_F(ProjectFailure, FailedAllocationWhileLoadingGivesNoTree) {
  const owned_obj_ptr plant = MakePlant(1, 2, 2);
  for (const form_t form : kForms) {
    const auto content = WriteProject(*plant, form);
    load_report_t report;
    owned_obj_ptr loaded;
    for (int left = 0; loaded == nullptr; ++left) {
      allocation_testing::allocationsLeft = left;
      try {
        loaded = LoadProject(content, report);
        EXPECT_NE(loaded, nullptr) << left << report.ToString();
      } catch (const std::bad_alloc&) {
      }
      allocation_testing::allocationsLeft = -1;
      ASSERT_LT(left, 20'000);
    }
    EXPECT_TRUE(AreTreesEqual(*plant, *loaded)) << CString(FormName(form));
  }
}

// The disk is full at every buffer that the file gives to the system.
TEST_F(ProjectFailure, FullDiskLeavesTheOldFile) {
  const CTempFolder folder;
  const owned_obj_ptr plant = MakePlant(1, 2, 500);
  ::rlimit earlier{};
  ASSERT_EQ(::getrlimit(RLIMIT_FSIZE, &earlier), 0);
  const auto handler = std::signal(SIGXFSZ, SIG_IGN);
  for (const form_t form : kForms) {
    folder.Put("plant", "old");
    const std::size_t size = WriteProject(*plant, form).size();
    for (std::size_t limit = 0; limit < size; limit += 60'000) {
      ::rlimit full = earlier;
      full.rlim_cur = limit;
      ::setrlimit(RLIMIT_FSIZE, &full);
      EXPECT_THROW(SaveProject(*plant, folder.PathOf("plant"), form), CFileException) << limit;
      ::setrlimit(RLIMIT_FSIZE, &earlier);
      EXPECT_EQ(folder.Get("plant"), "old");
    }
  }
  std::signal(SIGXFSZ, handler);
  EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.Native()), {}), 1);
}

}  // namespace
