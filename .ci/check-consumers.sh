#!/usr/bin/env bash
# Builds two clients from outside the source tree, one with find_package and
# one with pkg-config, and runs them.
#   check-consumers.sh                  against the release build, installed
#                                       into a scratch prefix
#   check-consumers.sh --system VERSION against what the system has installed
#                                       (the Debian packages), with no search
#                                       path given; the clients check that
#                                       their header carries VERSION
set -euo pipefail
cd "$(dirname "$0")/.."
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake_args=()
expected=()
if [ "${1:-}" = "--system" ]; then
  expected=("${2:?usage: check-consumers.sh [--system VERSION]}")
  unset CMAKE_PREFIX_PATH PKG_CONFIG_PATH
  want_lib=/usr/lib/x86_64-linux-gnu/libZuPlatform.so.6
  want_cmake_dir=/usr/lib/x86_64-linux-gnu/cmake/ZuPlatform
else
  cmake --install build/release --prefix "$work/prefix" >/dev/null
  .ci/check-runpath.sh "$work/prefix/lib/libZuPlatform.so.6.7"
  for link in libZuPlatform.so libZuPlatform.so.6; do
    [ -L "$work/prefix/lib/$link" ] || { echo "missing link lib/$link" >&2; exit 1; }
  done
  [ -f "$work/prefix/lib/cmake/ZuPlatform/ZuPlatformConfigVersion.cmake" ]
  cmake_args=(-DCMAKE_PREFIX_PATH="$work/prefix")
  export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig"
  want_lib=$work/prefix/lib/libZuPlatform.so.6
  want_cmake_dir=$work/prefix/lib/cmake/ZuPlatform
fi

# The client must have found, and must load, the library it was meant for.
check_found() {
  local loaded
  loaded=$(ldd "$1" | sed -n 's/.*libZuPlatform\.so\.6 => \([^ ]*\).*/\1/p')
  if [ "$(realpath "$loaded")" != "$(realpath "$want_lib")" ]; then
    echo "$1 loads '$loaded', not $want_lib" >&2; exit 1
  fi
}

echo "== consumer with find_package"
cmake -S tests/consumer/find-package -B "$work/find-package" \
  "${cmake_args[@]}" >/dev/null
found=$(sed -n 's/^ZuPlatform_DIR:PATH=//p' "$work/find-package/CMakeCache.txt")
if [ "$found" != "$want_cmake_dir" ]; then
  echo "find_package found '$found', not $want_cmake_dir" >&2; exit 1
fi
cmake --build "$work/find-package" >/dev/null
check_found "$work/find-package/consumer"
"$work/find-package/consumer" "${expected[@]}"

echo "== consumer with pkg-config"
cp tests/consumer/main.cpp "$work/main.cpp"
version=$(pkg-config --modversion ZuPlatform)
(cd "$work" && g++ -std=c++17 main.cpp -o consumer-pc \
   -DZU_PACKAGE_VERSION="\"$version\"" $(pkg-config --cflags --libs ZuPlatform))
check_found "$work/consumer-pc"
"$work/consumer-pc" "${expected[@]}"
