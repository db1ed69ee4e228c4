#include "util/properties/property_list.h"

#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "util/serialization/stream_testing.h"
#include "util/values/value_testing.h"

using namespace zorutil::properties;
using value_testing::Value;

namespace {

std::shared_ptr<IProperty> Property(int id, const std::string& value) { return CProperty::Create(id, Value(value)); }

std::string Print(const property_list_t& list) {
  std::ostringstream out;
  for (const auto& property : list) out << property->GetId() << '=' << property->GetValue() << ' ';
  return out.str();
}

template <class T>
std::string Written(const T& list) {
  zorutil::memory_serializer_t out;
  list.Serialize(out);
  return stream_testing::Hex(out.GetContent());
}

template <class T>
int ReadInto(T& list, std::string_view hex) {
  return stream_testing::CodeOf(stream_testing::Bytes(hex), [&](zorutil::ISerializer& in) { list.Deserialize(in); });
}

TEST(Property, EqualsAnotherOfItsIdWithAnEqualValue) {
  for (const auto& row : value_testing::Rows("i4:5|s:5|yes; s:5|ui1:5|yes; i4:5|i4:6|no; i4:5|r8:5.5|no; s:a|s:A|no;"
                                             "r8:0|r8:-0.0|no; r8:nan|r8:nan|yes; [i4:1 2]|[i4:1 2]|yes;"
                                             "[i4:1]|i4:1|no; null|null|no; |i4:0|no")) {
    SCOPED_TRACE(row[0] + " and " + row[1]);
    const auto left = Property(7, row[0]), right = Property(7, row[1]);
    EXPECT_EQ(left == right, row[2] == "yes");
    EXPECT_TRUE(left == std::shared_ptr<IProperty>(left));
    EXPECT_FALSE(left == Property(8, row[0]));
  }
  const std::shared_ptr<IProperty> none;
  EXPECT_TRUE(none == std::shared_ptr<IProperty>());
  EXPECT_FALSE(none == Property(0, "") || Property(0, "") == none);
  EXPECT_TRUE((property_list_t{Property(1, "i4:5")} == property_list_t{Property(1, "s:5")}));
}

constexpr char kList[] = "02000000 010A2000 0300 05000000  FEFFFFFF 0800 03000080 61C3A4";

TEST(PropertyList, HasTheBytesOfFiles) {
  property_list_t list{Property(0x200A01, "i4:5"), nullptr, Property(-2, "s:a\xC3\xA4")};
  const std::string bytes = stream_testing::Hex(stream_testing::Bytes(kList));
  EXPECT_EQ(Written(list), bytes);
  EXPECT_EQ(Written(object_list_t{list, {}}), "02000000" + bytes + "00000000");
  object_list_t objects;
  EXPECT_EQ(ReadInto(objects, "02000000" + bytes + "00000000"), 0);
  EXPECT_EQ(objects.size(), 2U);
  EXPECT_EQ(Print(objects.front()), "2099713=5 -2=a\xC3\xA4 ");

  stream_testing::ExpectRefusesDamage(kList, [](zorutil::ISerializer& in) { property_list_t().Deserialize(in); });
}

TEST(PropertyList, ReadingAppendsAndKeepsWhatCameBeforeAnError) {
  struct {
    const char* hex;
    int code;
    const char* printed;
  } const rows[] = {
      {"00000000", 0, "1=1 "},
      {"FDFFFFFF", 0, "1=1 "},
      {"01000000 02000000 0300 05000000", 0, "1=1 2=5 "},
      {"FFFFFF7F 02000000 0300 05000000", -3, "1=1 2=5 0= "},
      {"02000000 02000000 0300 05000000 03000000 0300 05", -3, "1=1 2=5 3= "},
      {"02000000 02000000 0040 05000000", -1, "1=1 2= "},
  };
  for (const auto& row : rows) {
    SCOPED_TRACE(row.hex);
    property_list_t list{Property(1, "i4:1")};
    EXPECT_EQ(ReadInto(list, row.hex), row.code);
    EXPECT_EQ(Print(list), row.printed);
  }
  object_list_t objects(1);
  EXPECT_EQ(ReadInto(objects, "FFFFFF7F 00000000 01000000 0500"), -3);
  EXPECT_EQ(objects.size(), 3U);
  EXPECT_EQ(Print(objects.back()), "0= ");
}

TEST(PropertyList, LookupsTakeTheFirstAndPassEmptyPointers) {
  property_list_t list{nullptr, Property(4, "i4:1"), Property(5, "i4:2"), Property(4, "i4:3")};
  EXPECT_EQ(FindProperty(4, list).get(), std::next(list.begin())->get());
  EXPECT_EQ(RemoveProperty(4, list)->GetValue().lVal, 1);
  EXPECT_EQ(RemoveProperty(6, list).get(), nullptr);
  EXPECT_EQ(FindProperty(6, list).get(), nullptr);
  list.pop_front();
  EXPECT_EQ(Print(list), "5=2 4=3 ");
}

TEST(PropertyList, CopiesShareAndDeepCopiesDoNot) {
  property_list_t list{Property(4, "s:a"), nullptr}, shared(list), deep{Property(9, "i4:9")};
  CopyPropertyList(list, deep);
  CopyPropertyList(shared, shared);
  list.front()->SetValue(CVariant(u"b"));
  EXPECT_EQ(Print(deep) + Print(shared), "4=a 4=a ");
  shared = list;
  list.front()->SetValue(static_cast<const tagVARIANT&>(Value("i4:7")));
  shared.pop_back();
  EXPECT_EQ(Print(shared), "4=7 ");
}

}  // namespace
