#!/bin/sh
# IMAP and POP3 server, mail delivery, logins: dovecot.sh start|stop|restart|reload|status.
exec /var/packages/Mailvane/target/bin/hald_service dovecot "$@"
