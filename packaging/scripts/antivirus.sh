#!/bin/bash
# shellcheck disable=SC2119
# The anti-virus engine: antivirus.sh start|stop|restart. It may take minutes to fetch its first
# signatures and to load them: start returns when a starter in the background is at work, which
# /run/hald_anti-virus.pid tells, or when the engine is up already. stop returns when both are gone.

. "${BASH_SOURCE%/*}/common.sh"
service=clamd
. "${BASH_SOURCE%/*}/inner_daemon.sh"

program=/usr/sbin/clamd
pid_file=$folder/pid
configuration=$current/clamav/clamd.conf
signatures=/var/lib/clamav
starter_file=/run/hald_anti-virus.pid
start_limit=600

wanted() {
    load_settings anti_virus_enable
    is_on anti_virus_enable
}

prepare() { make_folder clamav amavis && lead /run/clamd.pid "$pid_file"; }

fingerprint() { sha256sum "$configuration"; }

# It reads the scanner's files, whose group it is in.
launch() { as_user clamav "$program" --config-file="$configuration"; }

settled() { find_master && clamdscan --config-file="$configuration" --ping 1 >/dev/null 2>&1; }

# find_starter: sets `starter` to the number of the running one.
find_starter() {
    starter=
    [[ -r $starter_file ]] && read -r starter <"$starter_file"
    [[ $starter =~ ^[1-9][0-9]*$ ]] && grep -qszE "(^|/)$me\$" "/proc/$starter/cmdline"
}

bring_up() {
    [[ -x $program && -x /usr/bin/freshclam ]] || fail "there is no anti-virus engine here"
    find_starter && return
    up_to_date && return
    if under_systemd; then begin_in_unit; else begin_aside; fi || fail "the starter does not begin"
}

begin_in_unit() {
    stop_unit
    systemctl --no-block start "$unit"
    boot_recovers || wait_for 10 unit_begun
}

unit_begun() { find_starter || systemctl --quiet is-active "$unit"; }

# One starter at a time; what it starts does not inherit the lock.
begin_aside() {
    [[ -d /run/mailvane ]] || mkdir -m 755 /run/mailvane
    flock -n -o "$folder.lock" setsid "$BASH" "$0" begin </dev/null >/dev/null 2>&1 &
    wait_for 10 begun $!
}

# begun PROCESS: whether the starter has told that it is at work, or has done it.
begun() { find_starter || [[ ! -e /proc/$1 ]]; }

# What the starter does; nobody waits for it.
begin() {
    exec 2> >(exec logger -t "mailvane $me" -p mail.err)
    echo $$ >"$starter_file.new" && mv "$starter_file.new" "$starter_file"
    trap 'rm -f "$starter_file"' EXIT
    has_signatures || "$package/target/bin/hald_anti-virus" update
    has_signatures || (fail "there are no signatures, and they could not be fetched") || exit 75
    if under_systemd; then start_daemon; else start_afresh; fi
}

run_unit() { begin; }

has_signatures() {
    [[ -n $(find "$signatures" -maxdepth 1 -type f \
        \( -name '*.c[vl]d' -o -name '*.[hlmn][ds]b' \) -print -quit 2>/dev/null) ]]
}

take_down() {
    if ! under_systemd && find_starter; then
        kill -TERM -- "-$starter"
        wait_for 10 gone_starter || fail "the starter does not end"
    fi
    shut_down
    rm -f "$starter_file"
}

gone_starter() { ! find_starter; }

case ${1-} in
begin) begin ;;
*) control "${1-}" ;;
esac
