// Libraries that a program must refuse to take types from; KIND says what is wrong with this one.
#include <stdexcept>

#include "util/objects/type_library.h"

enum kind_t { VERSION, NO_LIST, FAILS, FAILS_ODDLY, COPY };

ZORUTIL_PLUGIN_API const zorutil::type_library_t* ZorutilTypeLibrary() {
  // Of another version only the first member may be looked at. The copy of the library is another one, too.
  static const zorutil::type_library_t content{KIND == VERSION ? 999U : zorutil::kTypeInterfaceVersion, 1, &content,
                                               nullptr};
  if (KIND == FAILS) throw std::runtime_error("no licence for pumps");
  if (KIND == FAILS_ODDLY) throw 42;
  return KIND == NO_LIST ? nullptr : &content;
}
