// utilctl product: who a product is, and where it keeps its files.
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

#include "platform/zorplatform/app_dir.h"
#include "tools/utilctl/command_functions.h"
#include "tools/utilctl/files.h"
#include "util/options/product_description.h"

namespace utilctl {

namespace json = zorutil::json;
using zorutil::product_item_t;

exit_t ShowProduct(CCall& call) {
  if (call.Has("--app-dir")) {
    std::error_code error;
    const std::filesystem::path folder = std::filesystem::absolute(call.Get("--app-dir"), error);
    if (!std::filesystem::is_directory(folder, error)) throw usage_error_t("--app-dir: there is no such folder");
    zorplatform::SetAppDir(FolderText(folder.lexically_normal().string()));
  }
  json::array_t list;
  for (const product_item_t& item : zorutil::DescribeProduct()) {
    const std::string value = item.kind == product_item_t::kind_t::name ? item.value.ToUtf8() : NativePath(item.value);
    std::string name = item.name;
    call.report.text += name + ": " + value + "\n    from " + item.source + "\n";
    json::object_t object;
    AddMember(object, u"name", CVariant(name));
    AddMember(object, u"value", CVariant(value));
    AddMember(object, u"source", CVariant(item.source));
    list.AddObject(std::move(object));
  }
  AddMember(call.report.result, u"product", std::move(list));
  return EXIT_FINE;
}

}  // namespace utilctl
