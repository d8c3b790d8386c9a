#!/bin/bash
# The SMTP server: postfix.sh start|stop|restart. Returns when it is up or gone.

. "${BASH_SOURCE%/*}/common.sh"

configuration=$current/postfix
program=/usr/lib/postfix/sbin/master
pid_file=/var/spool/postfix/pid/master.pid
unit=postfix@-.service
boot_unit=postfix.service  # which brings the other one

wanted() {
    load_settings smtp_enabled smtp_port smtp_ssl_enabled smtps_port smtp_tls_enabled smtp_tls_port
    is_on smtp_enabled || return 1
    plain_ports=("${settings[smtp_port]}")
    tls_ports=()
    ! is_on smtp_tls_enabled || plain_ports+=("${settings[smtp_tls_port]}")
    ! is_on smtp_ssl_enabled || tls_ports+=("${settings[smtps_port]}")
}

# Another instance of Postfix on this machine has the same pid file and takes a reload for its own.
has_our_configuration() {
    grep -qzxF "MAIL_CONFIG=$configuration" "/proc/$master/environ"
}

launch() { postfix -c "$configuration" start; }

reload() { postfix -c "$configuration" reload; }

# No port is open that master.cf does not ask for: what was closed is closed last.
settled_further() {
    local name type port
    local -A asked=()
    while IFS= read -r name; do
        [[ $name == [![:space:]#]* ]] || continue
        read -r name type _ <<<"$name"
        [[ $type == inet ]] && asked[${name##*:}]=
    done <"$configuration/master.cf"
    for port in "${!listeners[@]}"; do
        [[ -v asked[$port] ]] || named "$port" "${!asked[@]}" || return 1
    done
}

# named PORT NAME...: whether the port has one of these names.
named() {
    local name service
    for name in "${@:2}"; do
        [[ $name == *[!0-9]* ]] || continue
        service=$(getent services "$name/tcp") && [[ $service =~ [[:space:]]$1/tcp ]] && return
    done
    return 1
}

control "${1-}"
