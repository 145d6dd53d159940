#!/usr/bin/env bash
# The Debian packages as a user meets them: built with the documented
# command, checked for their contents and control fields, linted, installed
# with apt-get, used by the two consumers with no search path given, and
# removed again, also when a step fails. The removal purges: the runtime
# package has a postrm script, which would otherwise keep it listed in the
# package database in the config-files state.
set -euo pipefail
cd "$(dirname "$0")/.."
sudo=""; [ "$(id -u)" -ne 0 ] && sudo="sudo"
export DEBIAN_FRONTEND=noninteractive
fail() { echo "check-packages: $*" >&2; exit 1; }

status() { dpkg-query -W -f='${db:Status-Abbrev}' "$1" 2>/dev/null || true; }
for package in libzuplatform6 libzuplatform-dev; do
  case "$(status "$package")" in
    "" | un* | rc*) ;;
    *) fail "$package is installed already; remove it first" ;;
  esac
done

rm -f build/release/*.deb
cmake --workflow --preset package
version=$(sed -n 's/^#define ZUPLATFORM_VERSION_STRING "\(.*\)"$/\1/p' \
          include/ZuPlatform/version.h)
runtime=build/release/libzuplatform6_${version}_amd64.deb
dev=build/release/libzuplatform-dev_${version}_amd64.deb
for deb in "$runtime" "$dev"; do
  [ -f "$deb" ] || fail "$deb was not built"
  echo "== $deb"; dpkg-deb -I "$deb"; dpkg-deb -c "$deb"
done

# Contents: each file where it belongs, nothing else (no examples, tests).
files() { dpkg-deb -c "$1" | awk '$1 !~ /^d/ { print $6 }' | sort; }
multiarch=./usr/lib/x86_64-linux-gnu
want_runtime="$multiarch/libZuPlatform.so.6
$multiarch/libZuPlatform.so.6.7
./usr/share/doc/libzuplatform6/changelog.gz
./usr/share/doc/libzuplatform6/copyright"
[ "$(files "$runtime")" = "$want_runtime" ] ||
  fail "libzuplatform6 holds: $(files "$runtime")"
stray=$(files "$dev" | grep -v -E "^(\./usr/include/ZuPlatform/[a-zA-Z]+\.h|\
$multiarch/libZuPlatform\.so|$multiarch/cmake/ZuPlatform/ZuPlatform[a-zA-Z-]+\.cmake|\
$multiarch/pkgconfig/ZuPlatform\.pc|\./usr/share/doc/libzuplatform-dev/(copyright|changelog\.gz))$" || true)
[ -z "$stray" ] || fail "libzuplatform-dev holds unexpected files: $stray"
for header in include/ZuPlatform/*.h; do
  files "$dev" | grep -qx "./usr/$header" || fail "libzuplatform-dev lacks $header"
done
for file in libZuPlatform.so pkgconfig/ZuPlatform.pc cmake/ZuPlatform/ZuPlatformConfig.cmake \
            cmake/ZuPlatform/ZuPlatformConfigVersion.cmake cmake/ZuPlatform/ZuPlatformTargets.cmake; do
  files "$dev" | grep -qx "$multiarch/$file" || fail "libzuplatform-dev lacks $file"
done

# Control: versions, the exact dependency of -dev, shlibs and the trigger.
for deb in "$runtime" "$dev"; do
  [ "$(dpkg-deb -f "$deb" Version)" = "$version" ] || fail "$deb: version is not $version"
done
[ "$(dpkg-deb -f "$dev" Depends)" = "libzuplatform6 (= $version)" ] ||
  fail "libzuplatform-dev depends on '$(dpkg-deb -f "$dev" Depends)'"
dpkg-deb -f "$runtime" Depends | grep -q 'libstdc++6' || fail "libzuplatform6 lacks its runtime dependencies"
control=$(mktemp -d)
dpkg-deb -e "$runtime" "$control"
grep -qx "libZuPlatform 6 libzuplatform6 (>= $version)" "$control/shlibs" || fail "shlibs: $(cat "$control/shlibs")"
grep -qx "activate-noawait ldconfig" "$control/triggers" || fail "no ldconfig trigger"
rm -rf "$control"

echo "== lintian"
lintian --fail-on error "$runtime" "$dev"

remove() {
  $sudo apt-get remove -y --purge libzuplatform-dev libzuplatform6 >/dev/null || true
}
trap remove EXIT
echo "== apt-get install"
(cd build/release &&
 $sudo apt-get install -y ./libzuplatform6_*.deb ./libzuplatform-dev_*.deb)
.ci/check-runpath.sh /usr/lib/x86_64-linux-gnu/libZuPlatform.so.6.7
installed=$(dpkg-query -W -f='${Version}' libzuplatform-dev)
.ci/check-consumers.sh --system "$installed"

echo "== apt-get remove"
trap - EXIT
$sudo apt-get remove -y --purge libzuplatform-dev libzuplatform6
for package in libzuplatform6 libzuplatform-dev; do
  case "$(status "$package")" in
    "" | un*) ;;
    *) fail "$package is still known to dpkg: $(status "$package")" ;;
  esac
done
[ ! -e /usr/lib/x86_64-linux-gnu/libZuPlatform.so.6 ] || fail "library left behind"
echo "packages built, installed, used and removed"
