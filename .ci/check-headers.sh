#!/usr/bin/env bash
# Every public header compiles on its own, with both compilers.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
for compiler in g++ clang++; do
  command -v $compiler >/dev/null || continue
  for header in include/ZuPlatform/*.h; do
    if ! $compiler -std=c++17 -Wall -Wextra -Wpedantic -Werror -fsyntax-only \
         -Iinclude -x c++ "$header"; then
      echo "$compiler: $header does not compile alone" >&2
      status=1
    fi
  done
done
[ $status -eq 0 ] && echo "all public headers compile alone"
exit $status
