#include "examples/gateway/live_settings.h"

#include <chrono>
#include <cstddef>
#include <stdexcept>
#include <system_error>

#include "platform/framework/file.h"
#include "platform/framework/mem_file.h"
#include "platform/framework/native_path.h"
#include "platform/zorplatform/file_search.h"
#include "util/i18n/language.h"
#include "util/options/options_container.h"
#include "util/options/product_identity.h"

namespace gateway {

namespace {

constexpr int kLookMs = 1000;
constexpr unsigned kMostBytes = 1 << 20;

zorplatform::CTimeStamp SteadyTime() {
  const auto now = std::chrono::steady_clock::now().time_since_epoch();
  return zorplatform::CTimeStamp::FromMilliseconds(std::chrono::duration_cast<std::chrono::milliseconds>(now).count());
}

std::vector<std::byte> ReadBytes(const std::string& path) {
  const CString text = zorplatform::FromNativePath(path);
  if (!zorplatform::CheckFileExists(text)) throw std::runtime_error(path + ": there is no such file, or it is none");
  CFile file(text, CFile::modeRead);
  std::vector<std::byte> bytes(kMostBytes + 1);
  bytes.resize(file.Read(bytes.data(), kMostBytes + 1));
  if (bytes.size() > kMostBytes) throw std::runtime_error(path + ": too long for settings");
  return bytes;
}

}  // namespace

CLiveSettings::CLiveSettings(settings_t& settings, given_t given, std::string file)
    : settings_(settings),
      given_(std::move(given)),
      file_(std::move(file)),
      seen_(GetStamp()),
      throttle_(kLookMs, SteadyTime) {
  std::string problems;
  if (!file_.empty()) {
    for (const std::string& problem : Load()) problems += (problems.empty() ? "" : "\n") + problem;
  }
  if (!problems.empty()) throw std::runtime_error(problems);
  TakeFixed(settings_);
  OnOptionsChanged(options_);
  options_.RegisterChangeHandler(this);
}

CLiveSettings::~CLiveSettings() { options_.UnregisterChangeHandler(this); }

std::vector<std::string> CLiveSettings::Look() {
  if (file_.empty() || (settings_.isRealTime && !throttle_.Try())) return {};
  const stamp_t stamp = GetStamp();
  if (stamp == seen_) return {};
  seen_ = stamp;
  std::vector<std::string> lines = Load();
  if (!lines.empty()) {
    lines.push_back(file_ + ": not loaded, the settings stay as they were");
    return lines;
  }
  settings_t atStart = settings_;
  TakeFixed(atStart);
  return {file_ + (atStart == settings_ ? ": loaded again" : ": loaded again, in part for the next start")};
}

std::string CLiveSettings::FindProductFile() {
  std::error_code error;
  // Asking for the file makes its folder: only where that is there anyway.
  if (!std::filesystem::is_directory(zorplatform::ToNativePath(zorutil::GetSharedAppProfileDir(false)), error))
    return {};
  const CString file = zorutil::GetAdminSettingsFile();
  return zorplatform::FileExists(file) ? zorplatform::ToNativePath(file).string() : std::string();
}

CLiveSettings::stamp_t CLiveSettings::GetStamp() const {
  std::error_code error;
  const auto time = std::filesystem::last_write_time(file_, error);
  return {time, std::filesystem::file_size(file_, error)};
}

// Returns what is wrong, and then nothing was taken. The bytes that are taken are the ones that were checked, also when
// somebody writes the file meanwhile.
std::vector<std::string> CLiveSettings::Load() try {
  CMemFile bytes(ReadBytes(file_));
  CIniFile document;
  document.Load(&bytes);
  std::vector<std::string> problems = options_.Check(document, file_);
  if (problems.empty()) {
    bytes.SeekToBegin();
    COptionsContainer::GetInstance().LoadSettings(COptions::LEVEL_1, &bytes, COptionsContainer::FORMAT_INI);
  }
  return problems;
} catch (const std::exception& error) {
  return {error.what()};
}

void CLiveSettings::OnOptionsChanged(COptions&) {
  const std::string language = given_.language.value_or(options_.GetLanguage());
  settings_.logIntervalMs = given_.logIntervalMs.value_or(static_cast<int>(options_.GetLogIntervalMs()));
  settings_.languageId = i18n::LanguageIdFromTag(language.empty() ? "en" : language);
  i18n::SetProductLanguageId(settings_.languageId);
  settings_.sliceMs = options_.GetSliceMs();
  if (settings_.sliceMs == 0) settings_.sliceMs = settings_.isRealTime ? 100 : 2000;
}

void CLiveSettings::TakeFixed(settings_t& settings) const {
  settings.isRealTime = given_.isRealTime.value_or(options_.IsRealTime());
  settings.definitions = given_.definitions.value_or(options_.GetDefinitions());
  settings.log = given_.log.value_or(options_.GetLog());
}

}  // namespace gateway
