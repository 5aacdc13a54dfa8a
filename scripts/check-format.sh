#!/usr/bin/env bash
# Fails when a C++ file of the project is not formatted by .clang-format.
# With --fix, formats them in place instead.
set -euo pipefail
cd "$(dirname "$0")/.."
mapfile -t files < <(git ls-files -co --exclude-standard -- '*.h' '*.cpp' | grep -v '^build/')
[ ${#files[@]} -gt 0 ] || exit 0
if [ "${1:-}" = "--fix" ]; then
  clang-format -i "${files[@]}"
else
  clang-format --dry-run --Werror "${files[@]}"
fi
