// The settings of a tag as elements of a document.
#include <gtest/gtest.h>

#include "util/docs/xml_document.h"
#include "util/i18n/language.h"
#include "util/i18n/localized_message.h"
#include "util/i18n/message_ids.h"
#include "util/tagproc/deadband.h"
#include "util/tagproc/resolution_rate.h"
#include "util/tagproc/scaling.h"

namespace {

// The names of this process are German. Documents of an English system are read all the same.
const int kNamesAreGerman = [] {
  i18n::SetProductLanguageId(i18n::kLanguageGerman);
  CScaling::TextFromType(CScaling::NONE);
  i18n::SetProductLanguageId(0);
  return 0;
}();

constexpr const char16_t* kNamespace = u"urn:plant";

// The setting read from a document with these elements, and what Load returned.
template <class Setting>
int Load(Setting& setting, const CString& elements, CXmlDocument& document) {
  EXPECT_NE(document.SetXml(CString(u"<t xmlns=\"urn:plant\">") + elements + u"</t>"), 0)
      << document.GetLastErrorText();
  return setting.Load(&document, nullptr, kNamespace);
}
template <class Setting>
int Load(Setting& setting, const CString& elements) {
  CXmlDocument document;
  return Load(setting, elements, document);
}

// The elements that Save writes, as name=text; where Load takes them, they give the setting again.
template <class Setting>
CString Saved(const Setting& setting, int taken = 1) {
  CXmlDocument document;
  document.ReleaseElement(document.WriteElement(nullptr, kNamespace, u"t", false, u""));
  EXPECT_EQ(setting.Save(&document, nullptr, kNamespace), 1);
  CString all, part;
  for (void* child = document.FindFirstChild(nullptr, false); child != nullptr;
       child = document.FindNext(child, true)) {
    document.GetName(child, part);
    all += (all.IsEmpty() ? u"" : u" ") + part;
    document.GetText(child, part);
    all += u"=" + part;
  }
  Setting back;
  EXPECT_EQ(back.Load(&document, nullptr, kNamespace), taken);
  EXPECT_EQ(back == setting, taken == 1);
  return all;
}

CScaling Scaling() {
  CScaling scaling;
  scaling.SetScalingType(CScaling::SQUARE_ROOT);
  scaling.SetRawLow(-1.5);
  scaling.SetRawHigh(27648);
  scaling.SetScaledDataType(DT_FLOAT);
  scaling.SetScaledLow(4);
  scaling.SetScaledHigh(1e300);
  scaling.SetClampHigh(true);
  scaling.SetUnits(u" m\u00b3 ");
  scaling.SetNegateValue(true);
  return scaling;
}

TEST(ScalingDocument, WritesTenElementsAndReadsThemBack) {
  EXPECT_EQ(Saved(Scaling()),
            u"Type=Quadratwurzel RawLow=-1.5 RawHigh=27648 ScaledDataType=Float ScaledLow=4 "
            u"ScaledHigh=1E+300 ClampLow=false ClampHigh=true Units= m\u00b3  NegateValue=true");
  CScaling none = Scaling();
  none.SetScalingType(CScaling::NONE);
  Saved(none, 0);
}

TEST(ScalingDocument, FillsInDefaultsUnlessTheTypeIsNone) {
  CScaling scaling = Scaling(), root;
  root.SetScalingType(CScaling::SQUARE_ROOT);
  EXPECT_EQ(Load(scaling, u"<Type>SQUARE ROOT</Type><ScaledDataType>no type</ScaledDataType><RawHigh> </RawHigh>"), 1);
  EXPECT_EQ(scaling, root);
  scaling = Scaling();
  EXPECT_EQ(Load(scaling, u"<Type xmlns=\"urn:other\">Linear</Type>"), 1) << "absent here";
  EXPECT_EQ(scaling, CScaling());
  for (const char16_t* none : {u"None", u"cubic", u""}) {
    CScaling before = Scaling();
    scaling = before;
    EXPECT_EQ(Load(scaling, CString(u"<Type>") + none + u"</Type><RawLow>7</RawLow>"), 0) << CString(none);
    before.SetScalingType(CScaling::NONE);
    EXPECT_EQ(scaling, before) << CString(none);
  }
}

TEST(DeadbandDocument, KeepsWhatIsAbsentAndRefusesACrossedRange) {
  CDeadband deadband;
  deadband.SetDeadbandType(CDeadband::PERCENT);
  deadband.SetDeadband(2.5);
  deadband.SetHighRange(120);
  EXPECT_EQ(Saved(deadband), u"DeadbandType=Percent Deadband=2.5 HighRange=120 LowRange=0");
  EXPECT_EQ(Load(deadband, u"<Deadband>5</Deadband>"), 1);
  EXPECT_EQ(deadband.GetDeadbandType(), CDeadband::PERCENT);
  EXPECT_EQ(deadband.GetThreshold(), 6);
  EXPECT_EQ(Load(deadband, u"<LowRange>120</LowRange>"), 1);

  CXmlDocument document;
  EXPECT_EQ(
      Load(deadband, u"<DeadbandType>odd</DeadbandType><LowRange>10</LowRange><HighRange>5</HighRange>", document), 0);
  EXPECT_EQ(deadband.GetLowRange(), 10);
  EXPECT_EQ(deadband.GetDeadbandType(), CDeadband::NONE);
  const auto message = document.RemoveLastError();
  ASSERT_NE(message, nullptr);
  EXPECT_EQ(message->GetMessageId(), i18n::IDS_LOW_RANGE_ABOVE_HIGH);
  EXPECT_NE(message->GetMessageText(i18n::kLanguageGerman), message->GetMessageText(i18n::kLanguageEnglish));
}

TEST(ResolutionRateDocument, TakesBothFormsAndRefusesWhatDoesNotFit) {
  CResolutionRate five;
  five.SetResolutionRate(5, CResolutionRate::MINUTES);
  EXPECT_EQ(Saved(five), u"minutes=5");
  // Milliseconds of what is read, or -1 where it is refused and the rate stays.
  const struct {
    const char16_t* elements;
    std::int64_t milliseconds;
  } cases[] = {{u"<Rate>10</Rate><Resolution>MINUTES</Resolution>", 600'000},
               {u"<minutes>2</minutes><seconds>5</seconds>", 5000},
               {u"<Rate>9</Rate><hours>1</hours>", 3'600'000},
               {u"<days>49</days>", 4'233'600'000},
               {u"<days>0</days>", 0},
               {u"<seconds/>", 1000},
               {u"<days>50</days>", -1},
               {u"<Rate>1</Rate><Resolution>weeks</Resolution><days>1</days>", -1},
               {u"<Resolution>seconds</Resolution>", -1},
               {u"<milliseconds>99999999999</milliseconds>", 0xFFFFFFFF}};
  for (const auto& c : cases) {
    CResolutionRate rate = five;
    EXPECT_EQ(Load(rate, c.elements), c.milliseconds >= 0) << CString(c.elements);
    EXPECT_EQ(rate.GetRateInMilliseconds(), c.milliseconds >= 0 ? c.milliseconds : 300'000) << CString(c.elements);
  }
}

}  // namespace
