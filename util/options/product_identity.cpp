#include "util/options/product_identity.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "platform/framework/file.h"
#include "platform/text/surrogates_internal.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/file_search.h"
#include "platform/zorplatform/ini_file.h"
#include "platform/zorplatform/known_folders.h"
#include "platform/zorplatform/program_info.h"
#include "platform/zorplatform/text_parse.h"
#include "util/options/product_identity_internal.h"

namespace zorutil {

using identity::file_t;
using identity::found_t;
using zorplatform::known_folder_place_t;
using zorplatform::known_folder_t;

namespace {

constexpr int kMaxProductName = 259;
constexpr char kSetByProgram[] = "the program";
constexpr const char16_t* kBuiltInCompany = u"Velnora";
constexpr std::array<const char16_t*, 4> kFiles = {u"settings.ini", u"runtime.ini", u"ua_endpoints.json",
                                                   u"ua_gateway.json"};

// --- the texts that were given out: each is kept for ever, once ---------------------------------------------------

struct kept_t {
  CString text;
  const char* source;  // a literal; empty where it is worked out on demand
  kept_t* next;
};

constinit std::atomic<kept_t*> keptTexts{nullptr};

const kept_t* Find(const kept_t* first, const CString& text, std::string_view source) {
  while (first != nullptr && !(first->text == text && first->source == source)) first = first->next;
  return first;
}

const kept_t* Keep(const CString& text, const char* source) {
  kept_t* first = keptTexts.load(std::memory_order_acquire);
  if (const kept_t* const found = Find(first, text, source)) return found;
  auto* const added = new kept_t{text, source, first};
  while (!keptTexts.compare_exchange_weak(added->next, added, std::memory_order_acq_rel)) {
  }
  return added;
}

struct derived_t {
  CString text;
  const char* source;
};

// One text of the process; empty at first.
class CSlot {
 public:
  const char16_t* GetText() const noexcept { return TextOf(kept_.load(std::memory_order_acquire)); }
  found_t GetFound() const {
    const kept_t* const kept = kept_.load(std::memory_order_acquire);
    return kept == nullptr ? found_t() : found_t{kept->text, kept->source};
  }
  void Set(const CString& text, const char* source) { kept_.store(Keep(text, source), std::memory_order_release); }
  void Clear() noexcept { kept_.store(nullptr, std::memory_order_release); }

  // While it is empty, takes what `derive` gives, unless another thread was faster.
  template <class Function>
  const char16_t* GetOrTake(Function derive) {
    const kept_t* held = kept_.load(std::memory_order_acquire);
    if (*TextOf(held) != u'\0') return TextOf(held);
    const derived_t derived = derive();
    const kept_t* const kept = Keep(derived.text, derived.source);
    return TextOf(kept_.compare_exchange_strong(held, kept, std::memory_order_acq_rel) ? kept : held);
  }
  // What it holds; else what `find` works out. The source is told anew.
  template <class Function>
  found_t GetOr(Function find) const {
    found_t found = find();
    if (const CString held = GetText(); !held.IsEmpty()) found.text = held;
    return found;
  }

 private:
  static const char16_t* TextOf(const kept_t* kept) noexcept { return kept == nullptr ? u"" : kept->text.GetString(); }

  std::atomic<const kept_t*> kept_{nullptr};
};

struct state_t {
  CSlot productName, companyName, appVersion;
  CSlot appProfileDir, sharedAppProfileDir, userProfileDir, sharedProfileDir;
  CSlot productIniFile;
  std::array<CSlot, kFiles.size()> files;

  void ForgetDirectories() noexcept {
    appProfileDir.Clear();
    sharedAppProfileDir.Clear();
    userProfileDir.Clear();
  }
};

constinit state_t state;

// A text that the process holds from now on, if it is another one, letter case aside.
void Hold(CSlot& slot, const CString& text) {
  if (text.CompareNoCase(slot.GetText()) == 0) return;
  slot.Set(text, kSetByProgram);
  state.ForgetDirectories();
}

// --- the product file ----------------------------------------------------------------------------------------------

// Empty when there is no such file or value.
CString ReadProductFile(const char16_t* section, const char16_t* key) {
  const CString path = identity::FindProductIniFile().text;
  CString value;
  if (!zorplatform::FileExists(path)) return value;
  try {
    CIniFile file;
    file.Load(path);
    file.ReadValue(section, key, value);
  } catch (const CFileException&) {
  } catch (const std::length_error&) {
  }
  return value;
}

CString WithoutExtension(const CString& name) {
  const int stop = name.ReverseFind(u'.');
  return stop > 0 ? name.Left(stop) : name;
}

CString CutProductName(const CString& name) {
  const std::u16string_view text = zorplatform::TextOrEmpty(name.GetString());  // up to a NUL inside
  return utf::CutBetweenCharacters(text, kMaxProductName);
}

derived_t DeriveProductName() {
  if (const CString name = CutProductName(ReadProductFile(u"Product", u"Name")); !name.IsEmpty()) {
    return {name, "product.ini, [Product] Name"};
  }
  if (const CString name = CutProductName(zorplatform::GetApplicationName()); !name.IsEmpty()) {
    return {name, "the application's name"};
  }
  return {CutProductName(WithoutExtension(zorplatform::GetExeName())), "the name of the program's file"};
}

derived_t DeriveCompanyName() {
  CString name = ReadProductFile(u"Product", u"Company");
  if (!name.IsEmpty()) return {std::move(name), "product.ini, [Product] Company"};
  return {kBuiltInCompany, "built in"};
}

CString VersionText(std::uint32_t version) { return u"V" + CString().AssignInteger(version); }

derived_t DeriveAppVersion() {
  const std::uint32_t number = zorplatform::_ttoui(ReadProductFile(u"Product", u"Version"));
  if (number != 0) return {VersionText(number), "product.ini, [Product] Version"};
  return {VersionText(zorplatform::CVersionInfo::GetProgramVersion().GetMajor()), "the program's version"};
}

// --- folders from names --------------------------------------------------------------------------------------------

CString Sanitize(CString path) {
  for (const char16_t forbidden : std::u16string_view(u"/,?<>\"|*")) path.Replace(forbidden, u'_');
  return path;
}

// Folders of dots lead up.
CString Confine(std::u16string_view names) {
  CString confined;
  for (;;) {
    const std::size_t end = std::min(names.find(u'\\'), names.size());
    CString name = names.substr(0, end);
    if (name.View().find_first_not_of(u". ") == std::u16string_view::npos) name.Replace(u'.', u'_');
    confined += name;
    if (end == names.size()) return confined;
    confined += u'\\';
    names.remove_prefix(end + 1);
  }
}

CString ProductDir(const CString& base, const CString& company, const CString& product, const CString& version) {
  return Sanitize(base + u'\\' + Confine(company) + u'\\' + Confine(product) + u'\\') + version + u'\\';
}

CString WithoutSeparator(CString path) {
  if (path.View().ends_with(u'\\')) path.Delete(path.GetLength() - 1);
  return path;
}

// Ends without a separator, since one follows.
found_t SharedBase() {
  CString asked = ReadProductFile(u"Paths", u"AppData");
  constexpr char kSource[] = "product.ini, [Paths] AppData";
  if (asked.CompareNoCase(u"INSTALLDIR") == 0) return {WithoutSeparator(zorplatform::GetAppDir()), kSource};
  if (!asked.IsEmpty()) {
    if (asked[0] == u'/') asked.Replace(u'/', u'\\');
    return {WithoutSeparator(std::move(asked)), kSource};
  }
  const known_folder_place_t place = zorplatform::FindKnownFolder(known_folder_t::machineData);
  if (!place.path.IsEmpty()) return {WithoutSeparator(place.path), place.source};
  return {WithoutSeparator(zorplatform::GetAppDir()), "the application directory"};
}

// The company is the one that is held, whoever it is: it is not asked for.
found_t PersonalDir(known_folder_t folder) {
  const known_folder_place_t place = zorplatform::FindKnownFolder(folder);
  if (place.path.IsEmpty()) return {zorplatform::GetAppDir(), "the application directory"};
  return {ProductDir(place.path, state.companyName.GetText(), identity::FindProductName().text,
                     identity::FindAppVersion().text),
          place.source};
}

// Gives a kept path, or works it out, keeps it and makes its folder.
template <class Function>
const char16_t* GetDirectory(CSlot& slot, Function find) {
  return slot.GetOrTake([&] {
    derived_t derived{find().text, ""};
    zorplatform::CreatePath(derived.text);
    return derived;
  });
}

const char16_t* GetFile(file_t file) {
  const auto index = static_cast<std::size_t>(file);
  return state.files[index].GetOrTake([&] {
    return derived_t{CString(GetSharedAppProfileDir(true)) + kFiles[index], ""};
  });
}

}  // namespace

// --- identity --------------------------------------------------------------------------------------------------------

void SetProductName(const CString& name) { Hold(state.productName, CutProductName(name)); }
const char16_t* GetProductName() { return state.productName.GetOrTake(DeriveProductName); }

void SetCompanyName(const CString& name) { state.companyName.Set(name.GetString(), kSetByProgram); }
const char16_t* GetCompanyName() { return state.companyName.GetOrTake(DeriveCompanyName); }

void SetAppVersion(int version) { Hold(state.appVersion, VersionText(static_cast<std::uint32_t>(version))); }
const char16_t* GetAppVersion() { return state.appVersion.GetOrTake(DeriveAppVersion); }

// --- directories -----------------------------------------------------------------------------------------------------

const char16_t* GetAppProfileDir() {
  GetProductName();
  GetAppVersion();
  return GetDirectory(state.appProfileDir, [] { return PersonalDir(known_folder_t::userData); });
}

const char16_t* GetSharedAppProfileDir(bool create) {
  const char16_t* const path = state.sharedAppProfileDir.GetOrTake([] {
    GetCompanyName();
    GetProductName();
    GetAppVersion();
    return derived_t{identity::FindSharedAppProfileDir().text, ""};
  });
  if (create) zorplatform::CreatePath(path);
  return path;
}

const char16_t* GetUserProfileDir() {
  GetProductName();
  GetAppVersion();
  return GetDirectory(state.userProfileDir, [] { return PersonalDir(known_folder_t::documents); });
}

const char16_t* GetSharedProfileDir() {
  GetCompanyName();
  return GetDirectory(state.sharedProfileDir, identity::FindSharedProfileDir);
}

const char16_t* GetProjectSaveDataDir() { return GetSharedAppProfileDir(true); }
const char16_t* GetUserDataDir() { return GetSharedAppProfileDir(true); }
const char16_t* GetBrimvaleDataDir() { return GetSharedAppProfileDir(true); }
const char16_t* GetProjectLoadDataDir() { return u""; }

// It follows the directory that it lies in, so nothing is worked out once.
const char16_t* GetProjectBackupDataDir() {
  const char16_t* const path = Keep(identity::BackupDir(GetSharedAppProfileDir(true)), "")->text.GetString();
  zorplatform::CreatePath(path);
  return path;
}

// --- files -----------------------------------------------------------------------------------------------------------

const char16_t* GetProductIniFile() {
  return state.productIniFile.GetOrTake([] { return derived_t{zorplatform::GetAppDir() + u"product.ini", ""}; });
}

const char16_t* GetAdminSettingsFile() { return GetFile(file_t::adminSettings); }
const char16_t* GetRuntimeIniFile() { return GetFile(file_t::runtimeIni); }
const char16_t* GetUAEndpointsFile() { return GetFile(file_t::uaEndpoints); }
const char16_t* GetUAGatewayFile() { return GetFile(file_t::uaGateway); }

// --- worked out, not kept --------------------------------------------------------------------------------------------

namespace identity {
namespace {

found_t HeldOr(const CSlot& slot, derived_t (*derive)()) {
  if (found_t found = slot.GetFound(); !found.text.IsEmpty()) return found;
  derived_t derived = derive();
  return {std::move(derived.text), derived.source};
}

}  // namespace

found_t FindProductName() { return HeldOr(state.productName, DeriveProductName); }
found_t FindCompanyName() { return HeldOr(state.companyName, DeriveCompanyName); }
bool IsCompanyHeld() { return *state.companyName.GetText() != u'\0'; }
found_t FindAppVersion() { return HeldOr(state.appVersion, DeriveAppVersion); }

found_t FindProductIniFile() {
  return state.productIniFile.GetOr([] {
    return found_t{zorplatform::GetAppDir() + u"product.ini", "the application directory"};
  });
}

found_t FindAppProfileDir() {
  return state.appProfileDir.GetOr([] { return PersonalDir(known_folder_t::userData); });
}

found_t FindUserProfileDir() {
  return state.userProfileDir.GetOr([] { return PersonalDir(known_folder_t::documents); });
}

found_t FindSharedAppProfileDir() {
  return state.sharedAppProfileDir.GetOr([] {
    const found_t base = SharedBase();
    return found_t{ProductDir(base.text, FindCompanyName().text, FindProductName().text, FindAppVersion().text),
                   base.source};
  });
}

found_t FindSharedProfileDir() {
  return state.sharedProfileDir.GetOr([] {
    const found_t base = SharedBase();
    return found_t{Sanitize(base.text + u'\\' + Confine(FindCompanyName().text) + u'\\') + u"common\\", base.source};
  });
}

found_t FindFile(file_t file) {
  const auto index = static_cast<std::size_t>(file);
  return state.files[index].GetOr([&] {
    return found_t{FindSharedAppProfileDir().text + kFiles[index], "the shared application profile directory"};
  });
}

CString BackupDir(const CString& sharedAppProfileDir) { return sharedAppProfileDir + u"Project Backups\\"; }

void Forget() {
  for (CSlot* const slot :
       {&state.productName, &state.companyName, &state.appVersion, &state.appProfileDir, &state.sharedAppProfileDir,
        &state.userProfileDir, &state.sharedProfileDir, &state.productIniFile}) {
    slot->Clear();
  }
  for (CSlot& slot : state.files) slot.Clear();
}

}  // namespace identity
}  // namespace zorutil
