#!/bin/bash
# The web server of the package: web.sh start|stop|restart. Two daemons: fcgiwrap, as root, runs
# the program for whoever may open its socket, and that is lighttpd alone, as a user of its own.
# Whoever opens that socket is root on this machine.
#
# The address is 127.0.0.1 and the port MAILVANE_WEB_PORT. Once a certificate lies in etc/tls, the
# other machines of the network are served too, over TLS on port MAILVANE_WEB_TLS_PORT; an empty one
# keeps that off. Both are read from /etc/default/mailvane where the environment has none.

. "${BASH_SOURCE%/*}/common.sh"

runtime=/run/mailvane/web
unit=mailvane-web.service
gate_unit=mailvane-gate

load_ports() {
    local line
    local pattern='^(MAILVANE_WEB_(TLS_)?PORT)="?([0-9]*)"?[[:blank:]]*$'
    [[ ! -r /etc/default/mailvane ]] || while IFS= read -r line || [[ -n $line ]]; do
        [[ $line =~ $pattern && ! -v ${BASH_REMATCH[1]} ]] &&
            export "${BASH_REMATCH[1]}=${BASH_REMATCH[3]}"
    done </etc/default/mailvane
    export MAILVANE_WEB_PORT=${MAILVANE_WEB_PORT:-8080}
    export MAILVANE_WEB_TLS_PORT=${MAILVANE_WEB_TLS_PORT-8443}
}

# select_configuration: by whether there is a certificate, and IPv6.
select_configuration() {
    local kind=
    if [[ -n $MAILVANE_WEB_TLS_PORT && -r $package/etc/tls/cert.pem &&
        -r $package/etc/tls/key.pem ]]; then
        kind=-tls
        ! read -r _ 2>/dev/null </proc/net/if_inet6 || kind=-tls-ipv6
    fi
    configuration=$package/target/etc/web/lighttpd$kind.conf
}

select_gate() { program=/usr/sbin/fcgiwrap pid_file=$runtime/fcgi.pid; }
select_server() { program=/usr/sbin/lighttpd pid_file=$runtime/lighttpd.pid; }

# The pages are there before the mail services are handed over, and when all those are off.
wanted() { :; }
handed_over() { :; }
follow_at_boot() { :; }

bring_up() {
    if under_systemd; then
        systemctl start "$gate_unit.socket" || fail "cannot open the socket of the program"
        start_afresh
    else
        take_down
        start_gate
        start_daemon
    fi
}

launch() { lighttpd -f "$configuration"; }

# The folder opens to the web server's group once the socket has its own mode.
start_gate() {
    local socket=$runtime/fcgi.sock
    install -d -m 755 /run/mailvane
    install -d -m 700 "$runtime"
    rm -f "$socket"
    setsid env -i PATH="$PATH" fcgiwrap -c 16 -s "unix:$socket" \
        -p "$package/target/ui/mailvane.cgi" </dev/null >>/var/log/mailvane/web.log 2>&1 &
    echo $! >"$runtime/fcgi.pid"
    select_gate
    wait_for 5 gate_is_open || fail "cannot start fcgiwrap"
    select_server
    chgrp mailvane-web "$socket" "$runtime"
    chmod 660 "$socket"
    chmod 750 "$runtime"
}

gate_is_open() { find_master && [[ -S $runtime/fcgi.sock ]]; }

settled() { find_master && { : <"/dev/tcp/127.0.0.1/$MAILVANE_WEB_PORT"; } 2>/dev/null; }

take_down() {
    select_server
    if under_systemd; then
        systemctl stop "$unit" "$gate_unit.socket" "$gate_unit.service"
        return
    fi
    shut_down
    select_gate
    # Its workers do not end with it: each takes the signal when its request is answered.
    ! find_master || kill -TERM -- "-$master"
    shut_down
}

# drain: what stops the gate's unit. A request that is under way is answered.
drain() {
    local leader=${MAINPID-}
    [[ -n $leader ]] || return 0
    kill -TERM -- "-$leader" && wait_for 140 gone "$leader"
}

load_ports
select_configuration
select_server
case ${1-} in
drain) drain ;;
*) control "${1-}" ;;
esac
