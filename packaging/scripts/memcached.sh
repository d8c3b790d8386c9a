#!/bin/bash
# The store of the senders' counters: memcached.sh start|stop|restart. Returns when it is up or
# gone.

. "${BASH_SOURCE%/*}/common.sh"
service=memcached
. "${BASH_SOURCE%/*}/inner_daemon.sh"

program=/usr/bin/memcached
pid_file=$folder/pid  # it makes that anew, under its own user
megabytes=16

wanted() {
    load_settings reject_sasl_sender_rate_exceed smtpd_sasl_sender_rate_limit
    is_on reject_sasl_sender_rate_exceed
}

prepare() { make_folder memcache mailvane-policy; }

# Counting begins anew under another limit.
fingerprint() { echo "$megabytes ${settings[smtpd_sasl_sender_rate_limit]}"; }

launch() {
    memcached -d -u memcache -s "$socket" -a 0770 -P "$pid_file" -m "$megabytes"
}

control "${1-}"
