#!/bin/sh
# The DMARC checker: opendmarc.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service opendmarc "$@"
