#!/bin/sh
# The SMTP server: postfix.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service postfix "$@"
