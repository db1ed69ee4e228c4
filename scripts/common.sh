# Sourced by the scripts beside it: goes to the root of the checkout, and sees that the tools are there.
cd "$(dirname "$(readlink -f "${BASH_SOURCE[0]}")")/.."
scripts/install-deps
if command -v ccache >/dev/null; then export CMAKE_CXX_COMPILER_LAUNCHER=ccache; fi

# build PRESET [option of cmake --build]...: configures and builds on all cores.
build() {
  cmake --preset "$1"
  cmake --build --preset "$1" -j "$(nproc)" "${@:2}"
}

# sanitized COMMAND...: the sanitizers of clang 14 want an address space that is randomised little; where the system
# lets us, it is not randomised at all.
sanitized() {
  if setarch "$(uname -m)" -R true 2>/dev/null; then set -- setarch "$(uname -m)" -R "$@"; fi
  "$@"
}
