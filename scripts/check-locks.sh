#!/usr/bin/env bash
# Checks the library's lock contracts with clang's thread-safety analysis:
# every source under orvek/ is compiled (syntax only) with -Wthread-safety
# as an error. Needs clang and Qt's headers (scripts/setup.sh deps).
set -euo pipefail
cd "$(dirname "$0")/.."
qt=$(pkg-config --cflags Qt6Widgets)
failed=0
for src in $(git ls-files 'orvek/*.cpp'); do
  # shellcheck disable=SC2086
  clang++ -std=c++17 -fsyntax-only -fPIC -Wthread-safety -Werror=thread-safety -DORVEK_BUILDING_LIBRARY \
    -DORVEK_VERSION_MAJOR=0 -DORVEK_VERSION_MINOR=0 -DORVEK_VERSION_PATCH=0 -I. $qt "$src" || failed=1
done
[ "$failed" -eq 0 ] && echo "lock contracts hold in $(git ls-files 'orvek/*.cpp' | wc -l) sources"
exit "$failed"
