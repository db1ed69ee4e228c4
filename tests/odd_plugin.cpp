// Libraries that a program must refuse to take types from; KIND says what is wrong with this one.
#include <cstdint>
#include <stdexcept>

#define VERSION 1
#define NOTHING 2
#define THROW 3
#define THROW_ODD 4
#define COPY 5

struct content_t {
  std::uint32_t interfaceVersion;
  std::uint32_t typeCount;
  const void* runtime;
  const void* types;
};

#if KIND == 0
extern "C" __attribute__((visibility("default"))) int SomethingElse() { return 1; }
#else
extern "C" __attribute__((visibility("default"))) const content_t* ZorutilTypeLibrary() {
  // Of another version only the first member may be looked at.
  static const content_t content{KIND == VERSION ? 999U : 1U, 1, &content, nullptr};
  if (KIND == THROW) throw std::runtime_error("no licence for pumps");
  if (KIND == THROW_ODD) throw 42;
  return KIND == NOTHING ? nullptr : &content;
}
#endif
