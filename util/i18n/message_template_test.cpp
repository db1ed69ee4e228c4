#include "util/i18n/message_template.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <sstream>
#include <string>
#include <vector>

#include "platform/text/classic_locale_testing.h"
#include "platform/zorplatform/exception.h"
#include "util/values/value_testing.h"

namespace i18n {
namespace {

using value_testing::Value;

std::string Expand(const std::string& text, const std::vector<CVariant>& arguments) {
  return ExpandTemplate(CString(text), arguments).ToUtf8();
}

// "template|argument,...|text;" with texts that hold none of these separators.
void ExpectTexts(const char* table) {
  for (const auto& row : value_testing::Rows(table)) {
    std::vector<CVariant> arguments;
    std::istringstream words(row[1]);
    for (std::string word; std::getline(words, word, ',');) arguments.push_back(Value(word));
    EXPECT_EQ(Expand(row[0], arguments), row[2]) << row[0] << " of " << row[1];
  }
}

TEST(MessageTemplate, TakesItsArgumentsInOrderOrByPosition) {
  ExpectTexts(R"(
      ||;plain||plain;%s|s:a|a;%s%s|s:a,s:b|ab;%2$s %1$s|s:a,s:b|b a;%1$s%1$s|s:a|aa;
      %2$s %s %s|s:a,s:b|b a b;%s|s:a,s:unused|a;%%||%;100%%|s:a|100%;%%s|s:a|%s;%%%s|s:a|%a;
      %||%;100%||100%;%q||%q;%n|i4:1|%n;%*d|i4:1|%*d;%0$s|s:a|%0$s;%1$|s:a|%1$;%5|s:a|%5;%-|s:a|%-;%l||%l;%.||%.)");
  const std::vector<CVariant> one = {u"a"};
  for (const char* text : {"%s%s", "%2$s", "%1$s %s %s", "%99999999999$s"}) {
    try {
      ADD_FAILURE() << text << Expand(text, one);
    } catch (const zorplatform::CException& error) {
      EXPECT_EQ(error.GetCode(), -1);
    }
  }
}

TEST(MessageTemplate, ShowsEveryTypeByEveryKindOfConversion) {
  ExpectTexts(R"(
      %d|i1:-5|-5;%d|ui8:18446744073709551615|18446744073709551615;%d|bool:1|1;%d|r8:2.5|2;%d|r8:-3.5|-4;%d|r8:1e30|1E+30;
      %d|r8:nan|NAN;%d|s:42|42;%d|s:-7.6|-8;%d|s:pump|pump;%d|cy:25000|2;%d|null|;%d|[i4]|;
      %u|i1:-1|255;%u|i2:-1|65535;%u|i4:-1|4294967295;%x|i8:-1|ffffffffffffffff;%X|i4:-1|FFFFFFFF;%o|i1:-1|377;
      %x|bool:1|1;%x|r8:-1|ffffffffffffffff;%x|err:-2147467259|80004005;%#x|ui2:0|0;%#x|ui2:31|0x1f;%#X|i:31|0X1F;
      %#o|i4:8|010;%p|i4:31|0000001F;%p|ui8:255|00000000000000FF;%p|s:text|text;
      %f|i4:-3|-3.000000;%.1f|ui8:18446744073709551615|18446744073709551616.0;%.2f|r4:0.1|0.10;%f|bool:1|1.000000;
      %.2f|s:1.005e2|100.50;%f|s:no|no;%.1f|cy:-15000|-1.5;%f|r8:-inf|-inf;%F|r8:nan|NAN;%e|date:0.5|1899-12-30 12:00:00.000;
      %c|i4:65|A;%c|i4:128512|😀;%c|i4:55296|�;%c|i4:-1|�;%c|i4:0|;%c|s:äb|ä;%c|s:😀b|😀;%c|s:|;%C|ui2:228|ä;
      %s|i4:-5|-5;%s|bool:1|1;%s|r8:0.1|0.1;%S|s:wide|wide;%s|s:~|)");
}

TEST(MessageTemplate, ReadsNothingThatAnArgumentPointsTo) {
  CVariant reference;
  reference.llVal = 8;
  reference.vt = VT_I4 | VT_ARRAY | VT_BYREF;
  EXPECT_EQ(ExpandTemplate(u"[%1$s%1$d%1$x%1$f%1$c%1$p]", {&reference, 1}), u"[]");
  reference.vt = VT_EMPTY;
}

TEST(MessageTemplate, PadsAndCuts) {
  ExpectTexts(R"(
      [%5s]|s:ab|[   ab];[%-5s]|s:ab|[ab   ];[%.1s]|s:ab|[a];[%.0s]|s:ab|[];[%.1s]|s:😀b|[];[%.2s]|s:😀b|[😀];
      [%05s]|s:ab|[   ab];[%5d]|s:ab|[   ab];[%.1d]|s:ab|[ab];[%3c]|i4:65|[  A];[%-12p]|i2:1|[0001        ];
      [%lld]|i4:1|[1];[%I64d]|i4:1|[1];[%hs]|s:a|[a];[%wc]|i4:65|[A];[%zu]|i4:1|[1];[%Lf]|i4:1|[1.000000];[%ld]|i8:5000000000|[5000000000])");
  const std::vector<CVariant> seven = {CVariant::FromInt32(7)};
  for (const char* text : {"%5000d", "%.5000d", "%2147483648d", "%099999999999999999999d"}) {
    EXPECT_EQ(Expand(text, seven).size(), kMaxTemplateWidth) << text;
  }
  const std::vector<CVariant> huge = {CVariant::FromDouble(-std::numeric_limits<double>::max())};
  EXPECT_EQ(Expand("%#.5000f", huge).size(), 1 + 309 + 1 + kMaxTemplateWidth);
}

// What the C library prints, for every flag, width and precision.
TEST(MessageTemplate, PrintsNumbersAsPrintf) {
  const double reals[] = {0.0,    -0.0,    1,        -2.5,  9.5,    0.0001,  0.00001234,
                          123456, 1234567, 99999.95, 1e100, 5e-324, HUGE_VAL};
  const std::int64_t integers[] = {0, 1, -1, 8, -255, INT64_MIN, INT64_MAX};
  for (unsigned flags = 0; flags < 32; ++flags) {
    std::string begin = "%";
    for (unsigned i = 0; i < 5; ++i) begin += (flags >> i & 1) != 0 ? std::string(1, "-+ #0"[i]) : "";
    for (const char* size : {"", "1", "12", ".0", ".1", ".3", "12.", "12.4", "30.20", ".40"}) {
      for (const char letter : std::string("diuoxXfFeEgGaA")) {
        const std::string form = begin + size, wide = form + "ll" + letter, plain = form + letter;
        if (std::string("diuoxX").find(letter) != std::string::npos) {
          for (const std::int64_t value : integers) {
            const std::string expected = classic_testing::Print(wide.c_str(), value);
            EXPECT_EQ(Expand(wide, {CVariant::FromInt64(value)}), expected) << wide << ' ' << value;
          }
          continue;
        }
        for (const double value : reals) {
          // Denormal numbers have no one hexadecimal form.
          if ((letter | 0x20) == 'a' && value == 5e-324) continue;
          const std::string expected = classic_testing::Print(plain.c_str(), value);
          EXPECT_EQ(Expand(plain, {CVariant::FromDouble(value)}), expected) << plain << ' ' << value;
        }
      }
    }
  }
}

TEST(MessageTemplate, TellsWhatItAsksFor) {
  using list_t = std::vector<template_argument_t>;
  EXPECT_EQ(GetTemplateArguments(u"%2$s %x %% %q %-5.2f %c %p"),
            (list_t{{1, 'd'}, {2, 'f'}, {2, 's'}, {3, 'c'}, {4, 'p'}}));
  EXPECT_EQ(GetTemplateArguments(u"%1$s %1$d"), (list_t{{1, 'd'}, {1, 's'}}));
}

}  // namespace
}  // namespace i18n
