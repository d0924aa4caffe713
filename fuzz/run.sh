#!/usr/bin/env bash
# Builds the libFuzzer targets with clang in build-fuzz and runs each one for
# a number of seconds (default 60) from a scratch copy of its seed corpus in
# fuzz/corpus/<target>. Fails on any crash, leak, timeout or failed check;
# the input that caused it is kept under build-fuzz/artifacts/<target>/.
#   fuzz/run.sh [seconds]
set -euo pipefail
cd "$(dirname "$0")/.."
root=$PWD
seconds=${1:-60}

CC=clang CXX=clang++ cmake -S . -B build-fuzz -G Ninja -DCMAKE_BUILD_TYPE=RelWithDebInfo -DORVEK_BUILD_FUZZ=ON \
  -DORVEK_BUILD_TESTS=OFF -DORVEK_BUILD_BENCH=OFF -DORVEK_BUILD_EXAMPLES=OFF >/dev/null
targets=()
for src in fuzz/*.cpp; do
  targets+=("$(basename "$src" .cpp)")
done
cmake --build build-fuzz -j "${JOBS:-2}" --target "${targets[@]}"

# Files live in memory where it can: every whole-file write is flushed to
# disk, and a busy disk would otherwise turn into libFuzzer timeouts.
scratch=${TMPDIR:-/tmp}
[ -z "${TMPDIR:-}" ] && [ -d /dev/shm ] && [ -w /dev/shm ] && scratch=/dev/shm
work=$(mktemp -d "$scratch/orvek-fuzz-run-XXXXXX")
trap 'rm -rf "$work"' EXIT
export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1
[ -f .ci/lsan.supp ] && export LSAN_OPTIONS=suppressions=$root/.ci/lsan.supp

status=0
for t in "${targets[@]}"; do
  dir=$work/$t
  mkdir -p "$dir/corpus" "$dir/tmp" "$dir/artifacts"
  [ -d "fuzz/corpus/$t" ] && cp -R "fuzz/corpus/$t/." "$dir/corpus/"
  echo "== $t: ${seconds}s"
  if ! (cd "$dir" && TMPDIR="$dir/tmp" "$root/build-fuzz/fuzz/$t" -max_total_time="$seconds" -timeout=10 \
        -rss_limit_mb=2048 -max_len=4096 -artifact_prefix="$dir/artifacts/" -print_final_stats=1 corpus \
        >"$dir/log" 2>&1); then
    tail -n 60 "$dir/log"
    mkdir -p "build-fuzz/artifacts/$t"
    cp -R "$dir/artifacts/." "build-fuzz/artifacts/$t/"
    echo "== $t FAILED; inputs kept in build-fuzz/artifacts/$t/"
    status=1
  else
    grep -E "^stat::(number_of_executed_units|peak_rss_mb)|^Done" "$dir/log" || true
  fi
done
exit $status
