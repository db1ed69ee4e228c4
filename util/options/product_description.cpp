#include "util/options/product_description.h"

#include <utility>

#include "platform/zorplatform/app_dir.h"
#include "util/options/product_identity_internal.h"

namespace zorutil {

using identity::file_t;
using identity::found_t;
using kind_t = product_item_t::kind_t;

std::vector<product_item_t> DescribeProduct() {
  std::vector<product_item_t> items;
  const auto add = [&](const char* name, kind_t kind, found_t found) {
    items.push_back({name, kind, std::move(found.text), std::move(found.source)});
  };
  add("product name", kind_t::name, identity::FindProductName());
  add("company name", kind_t::name, identity::FindCompanyName());
  add("version", kind_t::name, identity::FindAppVersion());

  // Those of one user are made with the company that is held, asked for or not.
  const auto personal = [](found_t found) {
    if (!identity::IsCompanyHeld()) found.source += "; no company was set yet";
    return found;
  };
  const CString shared = identity::FindSharedAppProfileDir().text;
  add("application directory", kind_t::directory, {zorplatform::GetAppDir(), zorplatform::GetAppDirSource()});
  add("application profile directory", kind_t::directory, personal(identity::FindAppProfileDir()));
  add("shared application profile directory", kind_t::directory, identity::FindSharedAppProfileDir());
  add("user profile directory", kind_t::directory, personal(identity::FindUserProfileDir()));
  add("shared profile directory", kind_t::directory, identity::FindSharedProfileDir());
  add("project backup directory", kind_t::directory,
      {identity::BackupDir(shared), "the shared application profile directory"});

  add("product file", kind_t::file, identity::FindProductIniFile());
  add("administration settings file", kind_t::file, identity::FindFile(file_t::adminSettings));
  add("runtime settings file", kind_t::file, identity::FindFile(file_t::runtimeIni));
  add("UA endpoints file", kind_t::file, identity::FindFile(file_t::uaEndpoints));
  add("UA gateway file", kind_t::file, identity::FindFile(file_t::uaGateway));
  return items;
}

}  // namespace zorutil
