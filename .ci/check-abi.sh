#!/usr/bin/env bash
# Compares the dynamic symbols that a built library exports with the list
# checked in under abi/. Any difference is an ABI change: regenerate the list
# with --update and commit it on purpose.
set -euo pipefail
library=${1:?usage: check-abi.sh path/to/libZuPlatform.so.6.7 [--update]}
listed=$(dirname "$0")/../abi/libZuPlatform.symbols
exported() {
  nm -D --defined-only "$library" | cut -d' ' -f2- | c++filt | sort
}
if [ "${2:-}" = "--update" ]; then
  exported >"$listed"
  echo "wrote $listed ($(wc -l <"$listed") symbols)"
  exit 0
fi
if ! diff -u "$listed" <(exported); then
  echo "exported symbols differ from abi/libZuPlatform.symbols" >&2
  exit 1
fi
# Private member functions declared in the public headers: the classes are
# exported whole, so each of these must be marked hidden. Comments are cut
# off first; a name is matched as "::name(" in any class.
private_members() {
  awk '{ sub(/\/\/.*/, "") }
       /^ *(class|struct|union|enum)[^;]*\{ *$/ { private[++depth] = 0; next }
       /^ *};/ && depth > 0 { depth--; next }
       /^ *private:/ { private[depth] = 1; next }
       /^ *(public|protected):/ { private[depth] = 0; next }
       depth > 0 && private[depth] && match($0, /[A-Za-z_][A-Za-z0-9_]*\(/) {
         print "::" substr($0, RSTART, RLENGTH)
       }' "$(dirname "$0")"/../include/ZuPlatform/*.h | sort -u
}
# Internals must never leak, whatever the list says.
if exported | grep -E 'defaultLogHandler|logLevelThreshold|currentLogHandler|processTimer|crc32|uniqueNameCounter|Malloc(Create|Destroy|Resize)|nullMessageHandler|::detail::' ||
  exported | grep -F -f <(private_members); then
  echo "a private name is exported" >&2
  exit 1
fi
echo "exported symbols match ($(wc -l <"$listed") symbols)"
