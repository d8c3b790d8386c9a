#!/bin/sh
# The DKIM filter, which signs and verifies: opendkim.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service opendkim "$@"
