# shellcheck shell=bash disable=SC2154,SC2034
# What the control scripts share; sourced by each of them. A script names its service, says what
# the stored settings ask for and hands the verb to `control`.

set -u
LC_ALL=C
PATH=/usr/sbin:/usr/bin:/sbin:/bin
export LC_ALL PATH
umask 022

package=/var/packages/Mailvane
current=$package/etc/generated/current
me=${0##*/}

# A daemon must not inherit what the caller has open (255 is the shell's own).
for descriptor in /proc/self/fd/*; do
    descriptor=${descriptor##*/}
    ((descriptor <= 2 || descriptor == 255)) || exec {descriptor}>&-
done

fail() {
    echo "$me: $*" >&2
    exit 1
}

# --- the stored settings -------------------------------------------------------------------------

declare -A settings

# load_settings NAME...: reads the stored settings; those named must be there.
load_settings() {
    local line name
    local pattern='^[[:blank:]]*([a-z0-9_]+)[[:blank:]]*=[[:blank:]]*"?([^"]*)"?[[:blank:]]*$'
    [[ -r $package/etc/mailvane.conf ]] || fail "cannot read $package/etc/mailvane.conf"
    while IFS= read -r line || [[ -n $line ]]; do
        [[ $line =~ $pattern ]] && settings[${BASH_REMATCH[1]}]=${BASH_REMATCH[2]}
    done <"$package/etc/mailvane.conf"
    for name; do
        [[ -v settings[$name] ]] || fail "no $name in $package/etc/mailvane.conf"
    done
}

is_on() { [[ ${settings[$1]} == yes ]]; }

# --- waiting -------------------------------------------------------------------------------------

# wait_for SECONDS COMMAND...: repeats the command until it succeeds; fails when time is up or when
# the command says, with exit status 2, that waiting is in vain.
wait_for() {
    local end=$((${EPOCHREALTIME/./} + $1 * 1000000))
    shift
    until "$@"; do
        (($? != 2 && ${EPOCHREALTIME/./} < end)) || return 1
        sleep .01
    done
}

# greet PORT...: whether a mail service answers on each port and welcomes its clients, or tells
# them that too many are there. All are called before the first is listened to, since each may have
# to start a process.
greet() (
    trap '' PIPE
    calls=() answered=0
    for port; do
        { exec {call}<>"/dev/tcp/${addresses[$port]}/$port"; } && calls+=("$call")
    done
    for call in "${calls[@]}"; do
        line=''
        IFS= read -r -t 5 -u "$call" line
        case $line in
        '220'* | '421'* | '+OK'*) ((++answered)) && printf 'QUIT\r\n' >&"$call" ;;
        '* OK'*) ((++answered)) && printf 'a LOGOUT\r\n' >&"$call" ;;
        esac
    done
    ((answered == $#))
) 2>/dev/null

# --- a daemon and its ports ----------------------------------------------------------------------
#
# The script sets `program`, `pid_file`, `unit`, and by the settings `plain_ports` and `tls_ports`;
# it defines `wanted`, `has_our_configuration` (of process `master`), `launch`, `reload` and
# `settled_further`.

# find_master: sets `master` to the number of the running daemon; false when there is none. A
# stale pid file, or one that by now names another program, does not count.
find_master() {
    master=
    [[ -r $pid_file ]] && read -r master <"$pid_file"
    [[ $master =~ ^[0-9]+$ && /proc/$master/exe -ef $program ]]
}

declare -A listeners addresses

# inspect PROCESS [DESCRIPTORS]: what the process has open: its sockets and pipes by their numbers
# into `descriptors`, how many of those given it still has into `left`, how many were given into
# `given`, and of the TCP ports it listens on the numbers of the sockets into `listeners` and an
# address to call into `addresses`.
inspect() {
    local kind first second third
    descriptors='' left=0 given=0 listeners=() addresses=()
    while read -r kind first second third; do
        case $kind in
        descriptors) descriptors="$first $second $third" ;;
        left) left=$first given=$second ;;
        listener)
            listeners[$first]+=" $second"
            # IPv4 comes first, and can be called even while no interface has an IPv6 address.
            [[ -v addresses[$first] ]] || addresses[$first]=$third
            ;;
        esac
    done < <(
        {
            find "/proc/$1/fd" -lname '*:\[*' -printf '%l\n'
            ss -Hltne
        } 2>/dev/null | awk -v before="${2-}" '
            BEGIN { given = split(before, list); for (i in list) had[list[i]] }
            /^(socket|pipe):/ {
                gsub(/[^0-9]/, "")
                own[$0]
                all = all " " $0
                left += $0 in had
                next
            }
            match($0, / ino:[0-9]+/) {
                socket = substr($0, RSTART + 5, RLENGTH - 5)
                address = port = $4
                sub(/.*:/, "", port)
                sub(/:[^:]*$/, "", address)
                gsub(/[][]|%.*/, "", address)
                sub(/^(\*|0\.0\.0\.0)$/, "127.0.0.1", address)
                sub(/^::$/, "::1", address)
                if (socket in own) print "listener", port, socket, address
            }
            END { print "descriptors" all; print "left", left + 0, given }'
    )
}

# settled [DESCRIPTORS]: whether the daemon that had these open is up as the settings ask. One that
# took up a new configuration has replaced the pipes to its processes: most of what it had open.
settled() {
    local port
    find_master || return $(($# > 0 ? 2 : 1))
    inspect "$master" "${1-}"
    ((left * 2 <= given)) || return 1
    for port in "${plain_ports[@]}" "${tls_ports[@]}"; do
        [[ -v listeners[$port] ]] || return 1
    done
    settled_further && greet "${plain_ports[@]}"
}

# closed SOCKETS: whether none of these sockets is listening any more. A process that still serves
# a client holds the daemon's sockets until it has done.
closed() {
    local socket
    [[ -z $1 ]] || for socket in $(ss -Hltne | grep -o ' ino:[0-9]*'); do
        [[ "$1 " == *" ${socket#*:} "* ]] && return 1
    done
    return 0
}

# quietly COMMAND...: runs it with none of our streams; what it says is shown when it fails.
quietly() {
    local messages=/run/mailvane/$me.messages
    [[ -d /run/mailvane ]] || mkdir -m 755 /run/mailvane
    "$@" </dev/null >"$messages" 2>&1 && return
    cat "$messages" >&2
    return 1
}

start_afresh() {
    shut_down
    if under_systemd; then start_unit; else start_daemon; fi
}

start_daemon() {
    quietly launch || fail "cannot start"
    come_up
}

come_up() { wait_for "${start_limit:-20}" settled || fail "does not come up"; }

# bring_up: to what the settings ask for. Where the daemon does not take a new configuration up, a
# fresh start does.
bring_up() {
    local -A before
    local port
    if ! find_master || ! has_our_configuration; then
        start_afresh
        return
    fi
    inspect "$master"
    for port in "${!listeners[@]}"; do before[$port]=${listeners[$port]}; done

    if ! quietly reload; then
        ! find_master || fail "refuses its configuration"
        start_afresh  # it was about to end when it was found
    elif ! wait_for 10 settled "$descriptors"; then
        start_afresh
    fi
    for port in "${!listeners[@]}"; do unset "before[$port]"; done
    wait_for 2 closed "${before[*]}" || echo "$me: a client still holds a closed port" >&2
}

shut_down() {
    local leader
    ! under_systemd || stop_unit
    if find_master; then
        leader=$master
        kill -TERM "$leader" 2>/dev/null
    elif find_orphans; then
        leader=$orphans
        kill -TERM -- "-$leader" 2>/dev/null
    else
        return 0
    fi
    wait_for 20 gone "$leader" && return
    kill -KILL -- "-$leader" 2>/dev/null
    wait_for 5 gone "$leader" || fail "does not stop"
}

# find_orphans: sets `orphans` to the group of processes that outlived their daemon. They may still
# hold its ports. A number is not given to a new process while a group has it.
find_orphans() {
    [[ -r $pid_file ]] && read -r orphans <"$pid_file"
    [[ ${orphans-} =~ ^[0-9]+$ && ! -e /proc/$orphans ]] && ! gone "$orphans"
}

# gone PROCESS: whether the daemon and all processes of its group have ended.
gone() { ! kill -0 -- "-$1" 2>/dev/null; }

# --- systemd -------------------------------------------------------------------------------------
#
# Where systemd runs the machine, each daemon is in a unit, so that it is started when the machine
# is and watched over. The script sets `unit`, and `boot_unit` when another one is enabled in its
# place.

under_systemd() { [[ -d /run/systemd/system ]]; }

# handed_over: whether the mail services of this machine are ours to start and stop.
handed_over() { ! under_systemd || [[ -d $package/etc/adopted ]]; }

# boot_recovers: whether this is part of what finishes an interrupted save when the machine starts.
# All daemons wait for the end of that: what is asked of them then is put in the queue.
boot_recovers() { [[ -d /run/mailvane-recover ]]; }

start_unit() {
    if boot_recovers; then
        systemctl --no-block start "$unit"
    else
        systemctl start "$unit" || fail "cannot start, see journalctl -u $unit"
        come_up
    fi
}

# stop_unit: stops it, looking meanwhile whether it is gone: some daemons end when they are called.
stop_unit() {
    systemctl --no-block stop "$unit"
    ! boot_recovers || return 0
    ! find_master || wait_for 20 gone "$master"
    systemctl stop "$unit"
}

# follow_at_boot: the machine starts the service exactly when its settings want it. A change makes
# systemd read all its units anew: there is none while the link is as it should be.
follow_at_boot() {
    local name=${boot_unit:-$unit} change=
    local link=/etc/systemd/system/multi-user.target.wants/$name
    if wanted; then
        [[ -L $link ]] || change=enable
    else
        [[ ! -L $link ]] || change=disable
    fi
    [[ -z $change ]] || SYSTEMCTL_SKIP_SYSV=1 systemctl --quiet "$change" "$name"
}

# --- verbs ---------------------------------------------------------------------------------------

# What `stop` does, and `launch`, which is for the daemon's unit alone.
take_down() { shut_down; }
run_unit() { start_daemon; }

# control VERB: start and restart bring a daemon to what its settings ask for; `wanted`, defined by
# the script, says whether that is to run at all.
control() {
    case $1 in
    start | restart | stop) ;;
    wanted)
        wanted
        exit
        ;;
    launch)
        wanted && run_unit
        exit
        ;;
    *)
        echo "usage: $me start|stop|restart" >&2
        exit 2
        ;;
    esac
    if ! handed_over; then
        [[ $1 == stop ]] || ! wanted ||
            fail "this machine's mail services are not handed over yet: run mailvane-setup adopt"
        return 0
    fi
    if [[ $1 != stop ]] && wanted; then bring_up; else take_down; fi || return
    ! under_systemd || follow_at_boot
}
