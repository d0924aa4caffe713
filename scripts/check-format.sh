#!/usr/bin/env bash
# Checks every tracked C++ file against .clang-format without changing it.
# Prints the files that would change and fails if there are any.
#   scripts/check-format.sh
set -euo pipefail
cd "$(dirname "$0")/.."
format=${CLANG_FORMAT:-clang-format}
bad=()
while IFS= read -r -d '' f; do
  "$format" --dry-run --Werror "$f" >/dev/null 2>&1 || bad+=("$f")
done < <(git ls-files -z '*.cpp' '*.h')
if [ ${#bad[@]} -gt 0 ]; then
  printf '%s\n' "${bad[@]}"
  echo "check-format: ${#bad[@]} file(s) differ from .clang-format (fix with: clang-format -i FILE)" >&2
  exit 1
fi
echo "check-format: every file follows .clang-format"
