#!/usr/bin/env bash
# Regenerates the figures of the README's "Figures at a glance" in one run:
# builds the benchmarks (RelWithDebInfo unless BUILD_TYPE says otherwise),
# runs every program with repetitions and prints each program's ratios, all
# taken against competitors measured in the same program run. The plotting
# programs print min / median / max over the repetitions.
#   scripts/figures.sh [repetitions]          (default 5)
#   BUILD_TYPE=Release BUILD_DIR=build-rel scripts/figures.sh 3
set -euo pipefail
cd "$(dirname "$0")/.."
reps=${1:-5}
type=${BUILD_TYPE:-RelWithDebInfo}
dir=${BUILD_DIR:-build-figures}
export QT_QPA_PLATFORM=${QT_QPA_PLATFORM:-offscreen}

cmake -S . -B "$dir" -G Ninja -DCMAKE_BUILD_TYPE="$type" -DORVEK_BUILD_BENCH=ON -DORVEK_BUILD_EXAMPLES=OFF >/dev/null
ninja -C "$dir" $(cmake --build "$dir" --target help | sed -n 's/^\(plotting_[a-z_]*\|signal_[a-z_]*\|persistence_[a-z_]*\|threads_[a-z_]*\|tables_[a-z_]*\): .*/\1/p')

echo "Build type: $type; $(nproc) cores; load before: $(cut -d' ' -f1-3 /proc/loadavg); repetitions: $reps"
echo "Git: $(git describe --always --dirty 2>/dev/null || echo unknown); $(date -u '+%Y-%m-%d %H:%M UTC')"
for prog in "$dir"/bench/*; do
  [ -x "$prog" ] && [ -f "$prog" ] || continue
  name=$(basename "$prog")
  echo
  echo "== $name"
  case $name in
    plotting_demo_load) "$prog" ;;  # paced for 10 s each way: its own repetitions would take minutes
    *) "$prog" --benchmark_repetitions="$reps" ;;
  esac 2>&1 | sed 's/\x1b\[[0-9;]*m//g'
done
echo
echo "Load after: $(cut -d' ' -f1-3 /proc/loadavg)"
