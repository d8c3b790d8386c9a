#!/bin/bash
# Runs one file of end-to-end tests in a private world with the package installed and running:
#
#   in_world.sh BUILD FILE.py [TEST]...    FILE.py lies here, or is a path from here
#
# One that says BARE_WORLD makes its machines by itself, in a world without the package.
# Exit status 77 (skipped) without root. MAILVANE_KEEP_WORLD=yes leaves the world running.
set -eu

[ "$(id -u)" = 0 ] || { echo "needs root: skipped"; exit 77; }
here=$(readlink -f "$(dirname "$0")")
top=${here%/*/*}
build=$(readlink -f "$1")
folder=$(readlink -f "$(dirname "$here/$2")")
story=$(basename "$2")
shift 2
tests=("${@/#/${story%.py}.}")
[ $# -gt 0 ] || tests=("${story%.py}")
state=$build/e2e/${story%.py}
world=$top/packaging/world
scripts=/var/packages/Mailvane/target/scripts

inside() { "$world" enter "$state" "$@"; }

start() {
    "$world" stop "$state"
    rm -rf "$state"
    "$world" start "$state" --net --bind "$top" --bind "$build"
    ! grep -q '^BARE_WORLD' "$folder/$story" || return 0
    inside "$top/packaging/install-into" "$build" \
        'smtp_hostname="mv.test"' 'acc_domain_name="mv.test"' 'imaps_enabled="no"'
    local name
    for name in alice bob carol; do
        inside "$top/packaging/add-account" $name <<<"pw-$name"
    done
    inside "$top/packaging/add-account" admin administrators <<<pw-admin
    inside $scripts/maillog.sh start
    inside $scripts/dovecot.sh start
    inside $scripts/postfix.sh start
    inside $scripts/web.sh start
}

# What the machine logged, when a test failed.
show_logs() {
    local log
    for log in /var/log/syslog /var/log/mailvane/{maillog,dovecot.log,web.log}; do
        echo "--- end of $log"
        inside tail -n 100 "$log" || :
    done >&2
}

finish() {
    local status=$?
    [ $status = 0 ] || show_logs
    [ "${MAILVANE_KEEP_WORLD-}" = yes ] || { "$world" stop "$state"; rm -rf "$state"; }
    exit $status
}

trap finish EXIT
trap 'exit 1' TERM INT
start
inside /usr/bin/env PYTHONDONTWRITEBYTECODE=1 PYTHONPATH="$folder:$here" MAILVANE_BUILD="$build" \
    /usr/bin/python3 -m unittest -v "${tests[@]}"
