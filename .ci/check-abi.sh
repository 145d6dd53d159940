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
# Internals must never leak, whatever the list says.
if exported | grep -E 'defaultLogHandler|logLevelThreshold|currentLogHandler|processTimer|crc32|uniqueNameCounter|Malloc(Create|Destroy|Resize)|nullMessageHandler|::detail::'; then
  echo "a private name is exported" >&2
  exit 1
fi
echo "exported symbols match ($(wc -l <"$listed") symbols)"
