#!/bin/bash
# Runs a test program in a private world of its own: in_world.sh PROGRAM [ARGUMENT]...
# Exit status 77 (skipped) without root.
set -eu

[ "$(id -u)" = 0 ] || { echo "needs root: skipped"; exit 77; }
top=$(readlink -f "$(dirname "$0")/../..")
program=$(readlink -f "$1")
shift
state=$(mktemp -d /tmp/mailvane-test-XXXXXX)
trap '"$top/packaging/world" stop "$state"; rm -rf "$state"' EXIT

# The libraries lie beside the program's build.
build=$(dirname "$program")
while [ ! -e "$build/CMakeCache.txt" ]; do build=$(dirname "$build"); done
"$top/packaging/world" start "$state" --net --bind "$top" --bind "$build"
"$top/packaging/world" enter "$state" /usr/bin/env MAILVANE_IN_WORLD=1 "$program" "$@"
