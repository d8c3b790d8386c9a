#!/bin/bash
# The store of the senders' counters: memcached.sh start|stop|restart.

. "${BASH_SOURCE%/*}/common.sh"

decline "${1-}" "the store of the senders' counters" reject_sasl_sender_rate_exceed
