#!/bin/sh
# The mail scanner and the milter that hands it the mail: mailscanner.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service mailscanner "$@"
