#!/bin/bash
# The web server of the package: web.sh start|stop|restart. Two daemons: fcgiwrap, as root, runs
# the program for whoever may open its socket, and that is lighttpd alone, as a user of its own.
# Whoever opens that socket is root on this machine.
#
# The address is 127.0.0.1 and the port 8080, or MAILVANE_WEB_PORT. With MAILVANE_WEB_TLS_PORT the
# other machines of the network are served too, over TLS on that port.

. "${BASH_SOURCE%/*}/common.sh"

runtime=/run/mailvane/web
export MAILVANE_WEB_PORT=${MAILVANE_WEB_PORT:-8080}
configuration=lighttpd.conf
if [[ -n ${MAILVANE_WEB_TLS_PORT-} ]]; then
    configuration=lighttpd-tls.conf
    [[ ! -e /proc/net/if_inet6 ]] || configuration=lighttpd-tls-ipv6.conf
fi
configuration=$package/target/etc/web/$configuration

select_gate() { program=/usr/sbin/fcgiwrap pid_file=$runtime/fcgi.pid; }
select_server() { program=/usr/sbin/lighttpd pid_file=$runtime/lighttpd.pid; }

wanted() { :; }

bring_up() {
    shut_down_all
    install -d -m 700 /run/mailvane "$runtime"
    chmod 755 /run/mailvane
    start_gate
    quietly lighttpd -f "$configuration" || fail "cannot start lighttpd"
    select_server
    wait_for 10 answers || fail "lighttpd does not answer on port $MAILVANE_WEB_PORT"
}

# The folder opens to the web server's group once the socket has its own mode.
start_gate() {
    local socket=$runtime/fcgi.sock
    rm -f "$socket"
    setsid env -i PATH="$PATH" fcgiwrap -c 16 -s "unix:$socket" \
        -p "$package/target/ui/mailvane.cgi" </dev/null >>/var/log/mailvane/web.log 2>&1 &
    echo $! >"$runtime/fcgi.pid"
    select_gate
    wait_for 5 gate_is_open || fail "cannot start fcgiwrap"
    chgrp mailvane-web "$socket" "$runtime"
    chmod 660 "$socket"
    chmod 750 "$runtime"
}

gate_is_open() { find_master && [[ -S $runtime/fcgi.sock ]]; }

answers() { find_master && { : <"/dev/tcp/127.0.0.1/$MAILVANE_WEB_PORT"; } 2>/dev/null; }

shut_down_all() {
    select_server
    shut_down
    select_gate
    # Its workers do not end with it: each takes the signal when its request is answered.
    ! find_master || kill -TERM -- "-$master"
    shut_down
}

case ${1-} in
stop) shut_down_all ;;
*) control "${1-}" ;;
esac
