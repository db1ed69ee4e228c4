#include "util/json/object.h"

#include <gtest/gtest.h>

#include "platform/zorplatform/exception.h"
#include "util/json/root.h"
#include "util/json/value_conversions.h"

using namespace zorutil::json;

namespace {

member_t Member(const char16_t* name, int number) {
  return {name, std::make_shared<scalar_t>(CVariant::FromInt32(number)), 0};
}

}  // namespace

TEST(JsonObject, FindsTheFirstMemberWhateverTheCaseAndAddsAMissingOne) {
  object_t object(3, {Member(u"Name", 1), Member(u"NAME", 2)}, 4, 5, 6);
  EXPECT_TRUE(object.isKind1Or3 && object_t(1).isKind1Or3 && !object_t(2).isKind1Or3);
  EXPECT_EQ(ValueAsVariant(object.FindMember(u"nAmE").value).lVal, 1);
  EXPECT_EQ(std::as_const(object).FindMember(u"rate"), nullptr);
  member_t& added = object.FindMember(u"Rate");
  EXPECT_EQ(&added, &object.members.back());
  EXPECT_EQ(added.name, u"Rate");
  EXPECT_EQ(added.value, nullptr);
  EXPECT_EQ(object.members.size(), 3U);

  added = object_t();
  EXPECT_TRUE(added.AsObject().members.empty());
  object.EraseMember(u"name");
  object.EraseMember(u"missing");
  EXPECT_EQ(object.members.size(), 2U);
  EXPECT_EQ(ValueAsVariant(object.members.front().value).lVal, 2);
}

TEST(JsonObject, DocumentsGiveTheirObjectsAway) {
  root_t root;
  EXPECT_TRUE(root.DetachObject().members.empty());
  root.objects.emplace_back(1, member_list_t{Member(u"a", 1)});
  root.objects.emplace_back(2, member_list_t{Member(u"b", 2)});
  EXPECT_TRUE(root.DetachObject().members.empty());
  EXPECT_EQ(root.objects.size(), 2U);
  const array_t array = root.DetachObjArray();
  EXPECT_TRUE(root.objects.empty());
  ASSERT_EQ(array.elements.size(), 2U);
  EXPECT_EQ(ValueAsString(array.elements[1]), u"{\"b\":2}");
  root.objects.emplace_back(1, member_list_t{Member(u"a", 1)});
  EXPECT_EQ(root.DetachObject().members.size(), 1U);
  EXPECT_TRUE(root.objects.empty());
}

TEST(JsonObject, ArraysAreMadeFromVariants) {
  const double levels[] = {0.5, -1};
  const array_t array(CVariant(2, VT_R8, levels));
  ASSERT_EQ(array.elements.size(), 2U);
  EXPECT_EQ(ValueAsVariant(array.elements[1]), CVariant::FromDouble(-1));
  EXPECT_TRUE(array_t(CVariant::FromInt32(1)).elements.empty());
}

TEST(JsonObject, ConversionsTakeMissingAndOtherNodes) {
  const std::shared_ptr<IValue> missing;
  const std::shared_ptr<IValue> object = std::make_shared<object_t>();
  const std::shared_ptr<IValue> text = std::make_shared<scalar_t>(CVariant(u"1"));
  EXPECT_FALSE(ValueAsBool(missing));
  EXPECT_FALSE(ValueAsBool(object));
  EXPECT_TRUE(ValueAsBool(text));
  EXPECT_EQ(ValueAsString(missing), u"");
  EXPECT_EQ(ValueAsString(std::make_shared<scalar_t>()), u"");
  ValueAsVariant(object) = CVariant::FromInt32(7);
  EXPECT_TRUE(ValueAsVariant(missing).IsEmpty());
  EXPECT_EQ(&ValueAsScalar(text), text.get());
  EXPECT_THROW(ValueAsObject(missing), zorplatform::CException);
  EXPECT_THROW(ValueAsArray(object), zorplatform::CException);
  EXPECT_THROW(ValueAsScalar(object), zorplatform::CException);
}
