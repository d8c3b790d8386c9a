#!/bin/sh
# The anti-virus engine: antivirus.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service antivirus "$@"
