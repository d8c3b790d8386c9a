#!/bin/bash
# The collector of the mail log: maillog.sh start|stop|restart. Returns when it is up or gone.

. "${BASH_SOURCE%/*}/common.sh"

program=$package/target/bin/maillog_collector
pid_file=/run/mailvane/maillog.pid
unit=mailvane-maillog.service

wanted() { :; }

# It takes up no new configuration: a running one is as it should be.
has_our_configuration() { return 0; }

reload() { :; }

launch() {
    start-stop-daemon --start --quiet --oknodo --background --make-pidfile --pidfile "$pid_file" \
        --chuid mailvane-log --startas "$program"
}

plain_ports=() tls_ports=()

settled() { find_master; }

control "${1-}"
