// Any template with arguments of every type: it fails exactly when it asks for more arguments than there are, its text
// stays within what its conversions may take, and a text whose % are doubled comes out as it went in.
#include <algorithm>

#include "fuzz/value_fuzz_internal.h"
#include "util/i18n/message_template.h"

using namespace value_fuzz;

namespace {

std::vector<CVariant> MakeArguments() {
  const std::vector<double> reals = {1.5, -1e300};
  return {u"text \U0001F600",
          u"-12.5",
          CVariant::FromInt8(-1),
          CVariant::FromUInt64(~std::uint64_t{0}),
          CVariant::FromInt64(INT64_MIN),
          CVariant::FromDouble(-1.7976931348623157e308),
          CVariant::FromFloat(1e-45F),
          CVariant::FromBool(true),
          CVariant::FromDate(45000.75),
          CVariant::FromCurrency(CY{.int64 = -12345}),
          CVariant::FromError(-2147467259),
          CVariant::FromArray(reals),
          CVariant::Null(),
          CVariant()};
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const std::vector<CVariant> all = MakeArguments();
  constexpr std::size_t kLongestArgument = 512;
  if (size == 0 || size > 2048) return 0;
  // The first byte says how many arguments there are, and which comes first.
  std::vector<CVariant> arguments(all);
  std::rotate(arguments.begin(), arguments.begin() + data[0] % 16 % static_cast<int>(all.size()), arguments.end());
  arguments.resize(std::min<std::size_t>(data[0] / 16, arguments.size()));
  const CString text(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));

  const auto asked = i18n::GetTemplateArguments(text);
  const bool mayFail = !asked.empty() && asked.back().position > arguments.size();
  try {
    const CString shown = i18n::ExpandTemplate(text, arguments);
    Require(!mayFail);
    const std::size_t most = text.View().size() + asked.size() * (i18n::kMaxTemplateWidth + kLongestArgument);
    Require(shown.View().size() <= most);
    Require(!asked.empty() || shown.Find(u'%') >= 0 || shown == text);
  } catch (const zorplatform::CException& error) {
    Require(mayFail && error.GetCode() == -1);
  }

  CString doubled = text;
  doubled.Replace(u"%", u"%%");
  Require(i18n::GetTemplateArguments(doubled).empty() && i18n::ExpandTemplate(doubled, {}) == text);
  return 0;
}
