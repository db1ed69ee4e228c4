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

# bare_debian SUITES [option of mmdebstrap]... TARGET: a Debian of this machine's release in TARGET, from where this machine
# has its own packages; of its sources those whose suite matches the pattern SUITES. Works as root, and for others where the
# system lets them have user namespaces.
bare_debian() {
  local line mode=root options=() sources=()
  (( EUID == 0 )) || mode=unshare
  mapfile -t sources < <(apt-get indextargets --format 'deb $(REPO_URI) $(CODENAME) $(COMPONENT)' 'Created-By: Packages' |
    grep -E " ($1) [^ ]*$" | sort -u)
  while IFS= read -r line; do options+=("--aptopt=$line"); done < <(apt-config dump | grep -iE '^Acquire::.*proxy')
  (. /etc/os-release && exec mmdebstrap --mode=$mode "${options[@]}" "${@:2:$#-2}" "$VERSION_CODENAME" "${@: -1}" "${sources[@]}")
}
