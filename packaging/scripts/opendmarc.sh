#!/bin/bash
# The DMARC checker: opendmarc.sh start|stop|restart. Returns when it is up or gone.

. "${BASH_SOURCE%/*}/common.sh"
service=opendmarc
. "${BASH_SOURCE%/*}/inner_daemon.sh"

program=/usr/sbin/opendmarc
configuration=$current/opendmarc

wanted() {
    load_settings enable_dmarc
    is_on enable_dmarc
}

prepare() { make_folder opendmarc postfix; }

fingerprint() { sha256sum "$configuration"/*; }

launch() { opendmarc -c "$configuration/opendmarc.conf"; }

control "${1-}"
