#!/usr/bin/env bash
# Installs the release build into a scratch prefix and builds two clients
# from outside the source tree: one with find_package, one with pkg-config.
set -euo pipefail
cd "$(dirname "$0")/.."
source_dir=$PWD
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cmake --install build/release --prefix "$work/prefix" >/dev/null
.ci/check-runpath.sh "$work/prefix/lib/libZuPlatform.so.6.7"
for link in libZuPlatform.so libZuPlatform.so.6; do
  [ -L "$work/prefix/lib/$link" ] || { echo "missing link lib/$link" >&2; exit 1; }
done
[ -f "$work/prefix/lib/cmake/ZuPlatform/ZuPlatformConfigVersion.cmake" ]

echo "== consumer with find_package"
cmake -S tests/consumer/find-package -B "$work/find-package" \
  -DCMAKE_PREFIX_PATH="$work/prefix" >/dev/null
cmake --build "$work/find-package" >/dev/null
"$work/find-package/consumer"

echo "== consumer with pkg-config"
export PKG_CONFIG_PATH="$work/prefix/lib/pkgconfig"
cp tests/consumer/main.cpp "$work/main.cpp"
(cd "$work" && g++ -std=c++17 main.cpp -o consumer-pc \
   $(pkg-config --cflags --libs ZuPlatform))
"$work/consumer-pc"
