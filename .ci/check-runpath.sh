#!/usr/bin/env bash
# The library must carry exactly this SONAME and RUNPATH, in the build tree
# and when installed.
set -euo pipefail
want_runpath='$ORIGIN/../plugins:$ORIGIN/../lib:$ORIGIN/'
status=0
for library in "$@"; do
  soname=$(readelf -d "$library" | sed -n 's/.*Library soname: \[\(.*\)\]/\1/p')
  runpath=$(readelf -d "$library" | sed -n 's/.*Library runpath: \[\(.*\)\]/\1/p')
  if [ "$soname" != "libZuPlatform.so.6" ]; then
    echo "$library: SONAME is '$soname'" >&2; status=1
  fi
  if [ "$runpath" != "$want_runpath" ]; then
    echo "$library: RUNPATH is '$runpath'" >&2; status=1
  fi
  [ $status -eq 0 ] && echo "$library: SONAME and RUNPATH as required"
done
exit $status
