// A project in its binary form: what loads is a sound tree, and every form gives back an equal one.
#include "fuzz/project_fuzz_internal.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  return project_fuzz::Test(data, size, zorutil::project::form_t::BINARY);
}
