# shellcheck shell=bash disable=SC2154,SC2034
# What the control scripts of daemons behind unix sockets share; sourced after common.sh. Such a
# daemon takes up a new configuration by a fresh start. It gets none while nothing it was started
# with has changed.
#
# The script sets `service` and `program`; it defines `wanted`, `prepare` (which makes what the
# daemon needs), `fingerprint` (which prints what it is started with) and `launch`.

unit=mailvane-$service.service
folder=/run/mailvane/$service
socket=$folder/socket
pid_file=$folder.pid
started=$folder.started

# make_folder USER GROUP: the folder in which the daemon, run by USER, makes its socket, to be used
# by GROUP. The pid file lies outside: some write it while they are root, and must not be led
# elsewhere by a link.
make_folder() {
    [[ -d /run/mailvane ]] || mkdir -m 755 /run/mailvane
    install -d -m 2750 -o "$1" -g "$2" "$folder" || return
    [[ -e $pid_file ]] || install -m 644 -o "$1" /dev/null "$pid_file"
}

# find_orphans: as common.sh has it. The daemon's user may write the pid file, so what it names must
# be the daemon's.
find_orphans() {
    local process
    [[ -r $pid_file ]] && read -r orphans <"$pid_file"
    [[ ${orphans-} =~ ^[1-9][0-9]*$ && ! -e /proc/$orphans ]] || return
    for process in $(pgrep -g "$orphans"); do
        [[ /proc/$process/exe -ef $program ]] && return
    done
    return 1
}

# as_user USER COMMAND...: runs it under that user alone.
as_user() { setpriv --reuid="$1" --regid="$1" --init-groups --reset-env -- "${@:2}"; }

settled() { find_master && [[ -n $(ss -Hlx src "$socket") ]]; }

# knock: makes a call to the socket and hangs up.
knock() {
    curl --silent --max-time .05 --unix-socket "$socket" telnet://daemon </dev/null >/dev/null 2>&1
}

# gone PROCESS: as common.sh has it. A filter that was told to end looks at that when it is called,
# else every five seconds.
gone() {
    knock
    ! kill -0 -- "-$1" 2>/dev/null
}

# lead NAME FILE: makes the name a link to the file.
lead() { [[ $(readlink "$1") == "$2" ]] || ln -sfn "$2" "$1"; }

bring_up() { up_to_date || start_afresh; }

up_to_date() { [[ -r $started && $(<"$started") == "$(fingerprint)" ]] && settled; }

# start_daemon: as common.sh has it.
start_daemon() {
    local wants
    prepare || fail "cannot prepare $folder"
    wants=$(fingerprint)
    rm -f "$started"
    quietly launch || fail "cannot start"
    come_up
    printf '%s\n' "$wants" >"$started"
}
