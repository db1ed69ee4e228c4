// What was wrong with a project that was loaded: each error with its place.
//
//   zorutil::project::load_report_t report;
//   auto plant = zorutil::project::LoadProject(u"\\srv\\plant.json", report);
//   if (plant == nullptr) std::cerr << report.ToString().ToUtf8() << '\n';
//   // plant.json, line 12, column 9: Boiler.PLC1.FT101: The setting "ScanRate" takes values from 0 to 4294967295.
//
// Moves, is not copied. One thread at a time uses a report.
#pragma once

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "platform/export.h"
#include "platform/framework/cstring.h"
#include "util/objects/load_errors.h"

namespace zorutil::project {

/// One thing that was wrong.
struct load_error_t {
  int line = 0;    ///< from 1; 0 when it is not known, as in binary projects
  int column = 0;  ///< from 1; 0 when it is not known
  CString path;    ///< of the object, as CTableObj::GetPath gives it; empty for the file as a whole
  std::unique_ptr<i18n::ILocalizedMessage> message;  ///< never null
};

class ZORUTIL_API load_report_t : public ILoadErrors {
 public:
  /// Errors that are kept; further ones are only counted.
  static constexpr std::size_t kMaxErrors = 1000;

  load_report_t();
  load_report_t(load_report_t&&) noexcept;
  load_report_t& operator=(load_report_t&&) noexcept;
  ~load_report_t() override;

  /// The file as the caller named it; empty for what was not read from a file.
  const CString& GetFile() const noexcept { return file_; }
  /// The first kMaxErrors, in the order in which they were found.
  const std::vector<load_error_t>& GetErrors() const noexcept { return errors_; }
  /// All of them, those included that are not kept.
  std::size_t GetCount() const noexcept { return count_; }
  /// Whether anything was wrong.
  bool HasErrors() const noexcept { return count_ != 0; }
  /// A line for each error, in the language (0: the product's): file, line, column, path and message, as far as they
  /// are known. Of paths and messages of more than 2,000 characters the middle is left out.
  CString ToString(unsigned short languageId = 0) const;
  CString ToString(const load_error_t& error, unsigned short languageId = 0) const;

  // --- for those who load ------------------------------------------------------------------------------------------

  /// Forgets everything.
  void Start(CString file);
  /// At the object that is entered.
  void AddAt(int line, int column, std::unique_ptr<i18n::ILocalizedMessage> message);
  void Add(void* element, std::unique_ptr<i18n::ILocalizedMessage> message) override;
  void EnterObject(const CString& name) override;
  void LeaveObject() noexcept override;
  void OnFailedObject(const CString& name) noexcept override;
  /// Gives the errors that have no path yet that of the objects that failed, and returns it.
  CString EndFailedObject();
  /// Hands the errors over; GetCount stays.
  std::vector<load_error_t> TakeErrors() noexcept { return std::move(errors_); }
  /// The path of the objects that are entered.
  const CString& GetPath() const noexcept { return path_; }
  /// The line of an element of the document that is being read; by default there is none.
  void SetLineOf(int (*lineOf)(const void* document, void* element), const void* document) noexcept {
    lineOf_ = lineOf;
    document_ = document;
  }

 private:
  CString file_;
  std::vector<load_error_t> errors_;
  std::size_t count_ = 0;
  CString path_;
  CString failed_;
  std::vector<int> lengths_;  // of the path before each object that is entered
  int (*lineOf_)(const void*, void*) = nullptr;
  const void* document_ = nullptr;
};

}  // namespace zorutil::project
