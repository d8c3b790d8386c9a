#!/bin/sh
# The counters of the rate policy: memcached.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service memcached "$@"
