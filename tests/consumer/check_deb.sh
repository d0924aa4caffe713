#!/usr/bin/env bash
# Builds the Debian package from a configured and built tree, unpacks it into
# a scratch root and builds and runs the consumer host against it, through
# find_package(Orvek) and through pkg-config, and one installed example. The
# host finds the library through LD_LIBRARY_PATH alone: no rpath.
#   tests/consumer/check_deb.sh [BUILD_DIR]   (default: build)
set -euo pipefail
cd "$(dirname "$0")/../.."
src=$PWD
build=$(cd "${1:-build}" && pwd)
work=$(mktemp -d "${TMPDIR:-/tmp}/orvek-deb-XXXXXX")
trap 'rm -rf "$work"' EXIT

quiet() {  # quiet <command...>: prints the command's output only when it fails
  local log
  log=$("$@" 2>&1) || { echo "$log" >&2; echo "check_deb: failed: $*" >&2; return 1; }
}

quiet cpack --config "$build/CPackConfig.cmake" -G DEB -B "$work/pkg"
debs=("$work"/pkg/*.deb)
deb=${debs[0]}
echo "package: $(basename "$deb")"
dpkg-deb -f "$deb" Depends
dpkg-deb -x "$deb" "$work/root"
root=$work/root

so=$(find "$root/usr/lib" -name 'liborvek.so.*' -type f | head -n1)
libdir=$(dirname "$so")
case "${libdir#"$root"}" in
  /usr/lib | /usr/lib/x86_64-linux-gnu) ;;
  *) echo "check_deb: library in ${libdir#"$root"}, not a standard folder" >&2; exit 1 ;;
esac
if readelf -d "$so" | grep -qE 'RPATH|RUNPATH'; then
  echo "check_deb: the packaged library carries an rpath" >&2
  exit 1
fi

expect_ok() {  # expect_ok <program>
  local out
  out=$(LD_LIBRARY_PATH=$libdir "$1") || { echo "check_deb: $1 failed: $out" >&2; exit 1; }
  [[ $out == *"orvek host ok"* ]] || { echo "check_deb: $1 printed: $out" >&2; exit 1; }
}

echo "== host through find_package(Orvek)"
quiet cmake -S "$src/tests/consumer/host" -B "$work/host" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" -DCMAKE_SKIP_RPATH=ON
quiet cmake --build "$work/host"
expect_ok "$work/host/orvek_host"

echo "== host through pkg-config"
flags=$(PKG_CONFIG_PATH='' PKG_CONFIG_LIBDIR="$libdir/pkgconfig" PKG_CONFIG_SYSROOT_DIR="$root" pkg-config --cflags --libs orvek)
# shellcheck disable=SC2086
quiet c++ -std=c++17 "$src/tests/consumer/host/main.cpp" $flags -o "$work/host_pc"
expect_ok "$work/host_pc"

echo "== installed example against the package"
quiet cmake -S "$root/usr/share/doc/orvek/examples" -B "$work/examples" -G Ninja -DCMAKE_PREFIX_PATH="$root/usr" \
  -DCMAKE_SKIP_RPATH=ON
quiet cmake --build "$work/examples" --target frame_tour
LD_LIBRARY_PATH=$libdir QT_QPA_PLATFORM=offscreen quiet "$work/examples/frame_tour"
echo "check_deb: ok"
