// For tests: a product whose folders all lie in a folder of the test, and a process that begins anew.
//
//   CTestProduct product;
//   product.Start("[Product]\nName=P\nVersion=2\n");
//   product.Rest(zorutil::GetRuntimeIniFile());          // "machine\Velnora\P\V2\runtime.ini!"
#pragma once

#include <filesystem>
#include <string>
#include <system_error>

#include "platform/framework/temp_folder_testing.h"
#include "platform/registry/registry.h"
#include "platform/zorplatform/app_dir.h"
#include "platform/zorplatform/known_folders.h"
#include "util/options/product_identity_internal.h"

/// One at a time.
class CTestProduct {
 public:
  CTestProduct() {
    Redirect(temp.PathOf("bin"), temp.PathOf("user"), temp.PathOf("documents"), temp.PathOf("machine"));
    registry::SetRegistryFile(temp.PathOf("registry.db"));
    std::filesystem::create_directory(temp.Native("bin"));
  }
  CTestProduct(const CTestProduct&) = delete;
  CTestProduct& operator=(const CTestProduct&) = delete;
  ~CTestProduct() {
    Redirect({}, {}, {}, {});
    registry::SetRegistryFile({});
  }

  /// From now on it is as in a process that finds this product file.
  void Start(const std::string& productFile) const {
    temp.Put("bin/product.ini", productFile);
    zorutil::identity::Forget();
  }
  /// A path text without the folder of the test; with "!" behind it when there is no such folder.
  std::string Rest(const char16_t* path) const {
    std::error_code error;
    const std::string text = CString(path).ToUtf8(), folder = temp.GetPath().ToUtf8();
    const bool isThere = std::filesystem::is_directory(zorplatform::ToNativePath(path), error);
    return (text.starts_with(folder) ? text.substr(folder.size()) : text) + (isThere ? "" : "!");
  }

  const CTempFolder temp;

 private:
  static void Redirect(const CString& application, const CString& user, const CString& documents,
                       const CString& machine) {
    zorplatform::SetAppDir(application);
    zorplatform::SetKnownFolder(zorplatform::known_folder_t::userData, user);
    zorplatform::SetKnownFolder(zorplatform::known_folder_t::documents, documents);
    zorplatform::SetKnownFolder(zorplatform::known_folder_t::machineData, machine);
    zorutil::identity::Forget();
  }
};
