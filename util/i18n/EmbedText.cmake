# cmake -DTEXT=file -DSOURCE=file.cpp -DNAME=namespace::Function -DHEADER=header -P EmbedText.cmake
# Writes a C++ source that defines the function NAME, which HEADER declares to return a std::string_view: the bytes of
# TEXT.
file(READ "${TEXT}" hex HEX)
string(LENGTH "${hex}" digits)
math(EXPR size "${digits} / 2")
string(REGEX REPLACE "(..)" "0x\\1," bytes "${hex}")
# Sixteen bytes a line.
string(REGEX REPLACE "(................................................................................)" "\\1\n"
  bytes "${bytes}")
cmake_path(GET TEXT FILENAME name)
file(WRITE "${SOURCE}" "// Written by the build from ${name}.
#include \"${HEADER}\"

namespace {
constexpr unsigned char kBytes[] = {
${bytes}0};
}  // namespace

std::string_view ${NAME}() { return {reinterpret_cast<const char*>(kBytes), ${size}}; }
")
