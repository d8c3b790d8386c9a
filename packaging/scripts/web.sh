#!/bin/sh
# The web server of the package: web.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service web "$@"
