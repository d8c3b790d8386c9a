#!/bin/sh
# The IMAP and POP3 server, which takes mail in and checks logins: dovecot.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service dovecot "$@"
