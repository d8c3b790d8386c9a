#!/bin/sh
# The mail scanner and its milter: mailscanner.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service mailscanner "$@"
