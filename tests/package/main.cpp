// A user of the installed package: one value through each library.
#include <cstdio>

#include "platform/framework/cstring.h"
#include "util/tagproc/scaling.h"
#include "util/values/variant.h"

int main() {
  CScaling scaling;  // the raw value as it is, but as a double
  CVariant value = CVariant::FromInt32(42);
  const bool scaled = scaling.DoScaling(value);
  const CString text = value.ToString();
  std::printf("%s\n", text.ToUtf8().c_str());
  return scaled && value.vt == VT_R8 && text == u"42" ? 0 : 1;
}
