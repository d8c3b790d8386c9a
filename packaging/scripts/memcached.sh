#!/bin/sh
# The store of the senders' counters: memcached.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service memcached "$@"
