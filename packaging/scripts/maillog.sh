#!/bin/sh
# The collector of the mail log: maillog.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service maillog "$@"
