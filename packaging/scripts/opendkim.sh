#!/bin/bash
# The DKIM filter, which signs what leaves and verifies for the DMARC checker what comes in:
# opendkim.sh start|stop|restart. Returns when it is up or gone.

. "${BASH_SOURCE%/*}/common.sh"
service=opendkim
. "${BASH_SOURCE%/*}/inner_daemon.sh"

program=/usr/sbin/opendkim
configuration=$current/opendkim
key=$package/etc/dkim.key/dkim.private
own_key=$package/etc/dkim.signer/dkim.private

wanted() {
    load_settings enable_dkim enable_dmarc
    is_on enable_dkim || is_on enable_dmarc
}

prepare() { make_folder opendkim postfix && take_key; }

# The filter may not enter the folder of the keys: it has a copy of the private one.
take_key() {
    install -d -m 750 -o root -g opendkim "${own_key%/*}" || return
    [[ -e $key ]] || return 0
    cmp -s "$key" "$own_key" && return
    install -m 600 -o opendkim -g opendkim "$key" "$own_key.new" &&
        sync "$own_key.new" && mv "$own_key.new" "$own_key"
}

fingerprint() { sha256sum "$configuration"/* "$key" 2>/dev/null; }

launch() { opendkim -x "$configuration/opendkim.conf"; }

control "${1-}"
