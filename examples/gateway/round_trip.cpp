#include "examples/gateway/round_trip.h"

#include <chrono>
#include <filesystem>
#include <optional>

#include "util/project/load_report.h"

namespace gateway {
namespace {

namespace project = zorutil::project;

class CStopwatch {
 public:
  double GetMs() const {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start_).count();
  }

 private:
  std::chrono::steady_clock::time_point start_ = std::chrono::steady_clock::now();
};

}  // namespace

std::vector<round_trip_t> SaveAndReload(const CTableObj& root, const std::string& path, unsigned short languageId) {
  std::vector<round_trip_t> trips;
  for (const project::form_t form : {project::form_t::BINARY, project::form_t::XML, project::form_t::JSON}) {
    round_trip_t& trip = trips.emplace_back();
    trip.form = form;
    project::load_report_t report;
    zorutil::owned_obj_ptr loaded;
    const CStopwatch save;
    if (path.empty()) {
      const std::vector<std::byte> content = project::WriteProject(root, form);
      trip.saveMs = save.GetMs();
      trip.bytes = content.size();
      const CStopwatch load;
      loaded = project::LoadProject(content, report);
      trip.loadMs = load.GetMs();
    } else {
      trip.file = path + "." + CString(project::FormName(form)).ToUtf8();
      project::SaveProject(root, CString(trip.file), form);
      trip.saveMs = save.GetMs();
      trip.bytes = std::filesystem::file_size(trip.file);
      const CStopwatch load;
      loaded = project::LoadProject(CString(trip.file), report);
      trip.loadMs = load.GetMs();
    }
    if (loaded == nullptr) {
      trip.fault = report.ToString(languageId).ToUtf8();
    } else {
      trip.isEqual = project::AreTreesEqual(root, *loaded);
    }
  }
  return trips;
}

}  // namespace gateway
