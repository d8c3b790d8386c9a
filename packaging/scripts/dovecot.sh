#!/bin/bash
# The IMAP and POP3 server, which also takes the mail in from the SMTP server and checks its
# logins: dovecot.sh start|stop|restart. Returns when it is up or gone.

. "${BASH_SOURCE%/*}/common.sh"

configuration=$current/dovecot/dovecot.conf
program=/usr/sbin/dovecot
pid_file=/run/dovecot/master.pid
unit=dovecot.service

wanted() {
    load_settings smtp_enabled imap_enabled imap_port imaps_enabled imaps_port \
        pop3_enabled pop3_port pop3s_enabled pop3s_port
    plain_ports=() tls_ports=()
    ! is_on imap_enabled || plain_ports+=("${settings[imap_port]}")
    ! is_on pop3_enabled || plain_ports+=("${settings[pop3_port]}")
    ! is_on imaps_enabled || tls_ports+=("${settings[imaps_port]}")
    ! is_on pop3s_enabled || tls_ports+=("${settings[pop3s_port]}")
    is_on smtp_enabled || ((${#plain_ports[@]} + ${#tls_ports[@]}))
}

has_our_configuration() {
    grep -qzxF "$configuration" "/proc/$master/cmdline"
}

launch() { dovecot -c "$configuration"; }

# A reload with a faulty configuration says nothing and changes nothing, so it is checked first.
reload() {
    doveconf -n -c "$configuration" >/dev/null || return
    kill -HUP "$master"
}

settled_further() {
    [[ -S /var/spool/postfix/private/auth && -S /var/spool/postfix/private/dovecot-lmtp ]]
}

control "${1-}"

# A delivery that was cut short would wait for the queue's next run.
[[ $1 != *start ]] || postqueue -c "$current/postfix" -f >/dev/null 2>&1 || :
