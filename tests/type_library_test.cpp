// Plug-ins with object types, those of docs/plugin.md and odd ones, taken and refused.
#include "util/objects/type_library.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

#include "platform/framework/file.h"
#include "platform/framework/temp_folder_testing.h"
#include "platform/zorplatform/exception.h"
#include "util/objects/table_obj.h"
#include "util/objects/type_registry.h"

namespace {

using zorplatform::CException;
using zorutil::CTypeLibrary;
using zorutil::CTypeRegistry;

CString PathOf(const std::string& name) { return zorplatform::FromNativePath(PLUGIN_FOLDER "/" + name); }

std::string Refusal(const CString& path) {
  try {
    CTypeLibrary library(path);
    return "taken";
  } catch (const CException& error) {
    EXPECT_EQ(error.GetCode(), CException::kEndOfStream);
    return error.what();
  }
}

TEST(TypeLibrary, RefusesWhatIsNoPlugInAndSaysWhy) {
  CTempFolder folder;
  folder.Put("text.so", "this is no library");
  folder.Put("cut.so", FileText(PLUGIN_FOLDER "/odd_plugin_0.so").substr(0, 3000));
  const std::pair<CString, const char*> cases[] = {
#if defined(ZORUTIL_STATIC)
    {PathOf("odd_plugin_0.so"), "odd_plugin_0.so: this program is linked with the static library"},
#else
    {folder.PathOf("text.so"), "text.so: cannot load the library: "},
    {folder.PathOf("cut.so"), "cut.so: cannot load the library: the file is cut off"},
    {folder.PathOf("none.so"), "none.so: cannot load the library: No such file"},
    {folder.GetPath(), "cannot load the library: this is no file"},
    {NO_PLUGIN, ": this is no plug-in with object types"},
    {PathOf("odd_plugin_0.so"), "made for version 999 of the interface"},
    {PathOf("odd_plugin_1.so"), "offers no types"},
    {PathOf("odd_plugin_2.so"), "asked for its types: no licence for pumps"},
    {PathOf("odd_plugin_3.so"), "failed when it was asked for its types"},
    {PathOf("odd_plugin_4.so"), "another copy of the library"},
#endif
  };
  for (const auto& [path, cause] : cases) {
    const std::string text = Refusal(path);
    EXPECT_NE(text.find(cause), std::string::npos) << text;
    EXPECT_EQ(text.find('\\'), std::string::npos) << text;
  }
}

#if !defined(ZORUTIL_STATIC)

bool IsKnown(const char16_t* name) {
  std::int32_t type = 0;
  return CTypeRegistry::FindType(name, type);
}

TEST(SharedLibrary, FindsItsOwnNamesOnly) {
  const zorplatform::CSharedLibrary library(PLUGIN_GUIDE);
  EXPECT_NE(library.FindSymbol("ZorutilTypeLibrary"), nullptr);
  EXPECT_EQ(library.FindSymbol("malloc"), nullptr) << "of a library that this one needs";
  EXPECT_EQ(zorplatform::CSharedLibrary().FindSymbol("ZorutilTypeLibrary"), nullptr);
}

TEST(TypeLibrary, RegistersAllTypesOfAPlugInAndTakesAllBack) {
  for (int round = 0; round < 2; ++round) {
    CTypeLibrary first(PLUGIN_GUIDE);
    CTypeLibrary pumps(std::move(first));
    EXPECT_TRUE(first.GetTypes().empty());
    EXPECT_EQ(pumps.GetTypes().size(), 2u);
    EXPECT_EQ(zorutil::owned_obj_ptr(CTableObj::CreateObject(u"pump"))->GetObjectName(), u"Pump");
    EXPECT_NE(Refusal(PLUGIN_GUIDE).find("the type \"Pump\" cannot be registered"), std::string::npos);
    EXPECT_TRUE(IsKnown(u"Pump") && IsKnown(u"PumpStation")) << "those of the first stay";
  }
  EXPECT_FALSE(IsKnown(u"Pump") || IsKnown(u"PumpStation"));
  EXPECT_THROW(CTableObj::CreateObject(u"Pump"), CException);
  // Its second type is taken.
  CTypeRegistry::Register(77, u"pumpstation");
  EXPECT_NE(Refusal(PLUGIN_GUIDE).find("\"PumpStation\" cannot be registered"), std::string::npos);
  EXPECT_FALSE(IsKnown(u"Pump"));
  CTypeRegistry::Unregister(77);
}

#endif

}  // namespace
