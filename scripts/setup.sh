#!/usr/bin/env bash
# Sets up a Debian 12 machine for Orvek and builds it.
#   scripts/setup.sh deps   install what is missing (apt-get), nothing else
#   scripts/setup.sh test   install, build and run every test
#   scripts/setup.sh demo   install, build and run the demo (windows on a
#                           display, PNG frames under out/ without one)
# Extra arguments after "demo" go to the demo program.
set -euo pipefail
cd "$(dirname "$0")/.."
mode=${1:-test}
shift || true

PACKAGES=(
  build-essential cmake ninja-build pkg-config git
  qt6-base-dev qt6-base-dev-tools libgl-dev libx11-dev fonts-dejavu-core fonts-liberation2
  libgtest-dev libgmock-dev libbenchmark-dev
  libboost-dev libsimpleini-dev libinih-dev
  libqcustomplot-dev libqcustomplot2.1-qt6  # the plotting benchmark's peer
  clang libclang-rt-14-dev libomp-dev
  clang-format  # the formatting check of CI (.clang-format)
  xvfb xauth qt6-qpa-plugins libxcb-cursor0
  doxygen   # the API reference (target doc)
  dpkg-dev  # dpkg-shlibdeps, which fills in the .deb's run-time dependencies
)

install_missing() {
  local missing=()
  for p in "${PACKAGES[@]}"; do
    dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
  done
  if [ ${#missing[@]} -gt 0 ]; then
    echo "installing: ${missing[*]}"
    local sudo=""
    [ "$(id -u)" -eq 0 ] || sudo=sudo
    $sudo apt-get update -q
    DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -q --no-install-recommends "${missing[@]}"
  fi
}

JOBS=${JOBS:-2}

build() {  # build <dir> [cmake args...]
  local dir=$1
  shift
  cmake -S . -B "$dir" -G Ninja "$@" >/dev/null
  cmake --build "$dir" -j "$JOBS"
}

case "$mode" in
  deps)
    install_missing
    ;;
  test)
    install_missing
    build build -DCMAKE_BUILD_TYPE=RelWithDebInfo
    ctest --test-dir build -j "$JOBS" --output-on-failure --timeout 600
    ;;
  demo)
    install_missing
    build build -DCMAKE_BUILD_TYPE=RelWithDebInfo
    mkdir -p out
    demo=build/examples/orvek_demo
    [ -x "$demo" ] || demo=build/examples/frame_tour
    exec "$demo" "$@"
    ;;
  *)
    echo "usage: $0 deps|test|demo" >&2
    exit 2
    ;;
esac
