# shellcheck shell=bash
# The demonstration: the package in a private world that shares this machine's network.

state=$(readlink -m "${MAILVANE_WORLD:-.world}")
world=$PWD/packaging/world
accounts=$state/accounts  # lines "name password"
mail_log=/var/log/mailvane/maillog
filled=$state/filled  # is there once there is mail to look at
web_port=${MAILVANE_WEB_PORT:-8080}
url=http://127.0.0.1:$web_port/mailvane.cgi

# Other ports than usual, since the machine may use those, and only local ones.
first_settings=(
    'smtp_enabled="yes"' 'smtp_port="2525"'
    'smtp_ssl_enabled="yes"' 'smtps_port="2465"'
    'smtp_tls_enabled="yes"' 'smtp_tls_port="2587"'
    'imap_enabled="yes"' 'imap_port="2143"'
    'imaps_enabled="yes"' 'imaps_port="2993"'
    'pop3_enabled="yes"' 'pop3_port="2110"'
    'pop3s_enabled="yes"' 'pop3s_port="2995"'
    'smtp_hostname="mv.test"' 'acc_domain_name="mv.test"'
)

mapfile -t -O ${#first_settings[@]} first_settings < <(grep '=' packaging/machine/first_settings)

inside() { "$world" enter "$state" "$@"; }

service() { inside "/var/packages/Mailvane/target/scripts/$1.sh" "$2"; }

start_world() {
    "$world" start "$state" --bind "$PWD"
    inside /bin/sh -c '
        cd /var/packages/Mailvane/etc/local.d 2>/dev/null && exit
        mkdir -p /var/packages/Mailvane/etc/local.d
        cd /var/packages/Mailvane/etc/local.d
        echo "inet_interfaces = 127.0.0.1" >main.cf
        echo "listen = 127.0.0.1" >loopback.dovecot.conf'
    inside "$PWD/packaging/install-into" "$PWD/build/release" "${first_settings[@]}"
    # Nothing is served to the network, even with a certificate.
    printf '%s\n' "MAILVANE_WEB_PORT=$web_port" MAILVANE_WEB_TLS_PORT= |
        inside /bin/sh -c 'cat >/etc/default/mailvane'
}

make_accounts() {
    local name password
    [ -e "$accounts" ] || (
        umask 077
        for name in admin alice bob carol; do
            echo "$name $(od -An -N6 -tx1 /dev/urandom | tr -d ' ')"
        done >"$accounts.new"
        mv "$accounts.new" "$accounts"
    )
    while read -r name password; do
        inside getent passwd "$name" >/dev/null ||
            inside "$PWD/packaging/add-account" "$name" <<<"$password"
    done <"$accounts"
    inside usermod --append --groups administrators admin
}

# Before the collector starts: a month in the log that it reads.
write_history() {
    ! inside test -s "$mail_log" || return 0
    inside /usr/bin/python3 -IS "$PWD/packaging/lib/demo_history.py" |
        inside tee -a "$mail_log" >/dev/null
}

# Something to look at: mailboxes with mail, a queue that waits, a message that was kept aside. The save
# takes up the hosts that cannot be reached, too.
fill_demo() {
    [ ! -e "$filled" ] || return 0
    local etc=/var/packages/Mailvane/etc
    say "Sending the first mail"
    inside grep -q transport_maps "$etc/local.d/main.cf" || {
        unreachable_hosts
        inside postconf -c "$etc/generated/current/postfix" -h transport_maps | sed 's/^/ /'
    } | inside tee -a "$etc/local.d/main.cf" >/dev/null
    inside /var/packages/Mailvane/target/bin/mailvanectl \
        edit spam_config spam_enable=yes spam_action=quarantine >/dev/null
    inside /usr/bin/python3 -I "$PWD/packaging/lib/demo_mail.py" "$(setting smtp_port)"
    : >"$filled"
}

unreachable_hosts() {
    cat <<'EOT'
transport_maps = inline:{
 { slow.example = retry:4.4.1 connect to mx.slow.example[192.0.2.60]:25: Connection timed out }
 { busy.example = retry:4.3.2 host mx.busy.example[198.51.100.61] said: 450 4.3.2 Try again later }}
EOT
}

start_services() {
    local name
    for name in dovecot memcached opendkim opendmarc antivirus mailscanner maillog postfix web; do
        service "$name" start
    done
}

# in_use PORT: whether a program on this machine listens on it.
in_use() { (: <"/dev/tcp/127.0.0.1/$1") 2>/dev/null; }

stop_demo() {
    local name
    for name in web postfix dovecot maillog; do
        service "$name" stop || :
    done
    "$world" stop "$state"
}

admin_login() { sed -n 's/^admin /admin:/p' "$accounts"; }

show_access() {
    echo "mailvane runs in a private world: $state"
    echo
    echo "  Console    http://127.0.0.1:$web_port/"
    echo "  Program    $url"
    echo "  Accounts   (admin is the administrator; every login also has a mailbox)"
    sed 's/\(.*\) \(.*\)/             \1  password \2/' "$accounts"
    echo "  Mail       SMTP 127.0.0.1:$(setting smtp_port), submission $(setting smtp_tls_port)," \
        "IMAP $(setting imap_port), POP3 $(setting pop3_port)"
    echo "  Inside     packaging/world enter $state"
    echo "  End        ./run stop"
}

# setting NAME: the stored value of a setting.
setting() { inside sed -n "s/^$1=\"\(.*\)\"/\1/p" /var/packages/Mailvane/etc/mailvane.conf; }

# Three example requests, as anybody could type them, with their answers. From the second run on the
# host name is already the one that is saved.
show_examples() {
    local login answer body host
    login=$(admin_login)
    echo
    echo "Three requests to try, with their answers:"
    run_example curl -s -u "$login" "$url?action=load_imap_pop3"
    answer=$(curl -s -u "$login" "$url?action=load_smtp")
    host=$(setting smtp_hostname)
    [ "$host" != mv.test ] || host=mail.mv.test
    body=$(save_body "$host" <<<"$answer")
    run_example curl -s -u "$login" -H 'Content-Type: application/json' -d "$body" "$url"
    run_example bash -c "exec 3<>/dev/tcp/127.0.0.1/$(setting smtp_port); head -1 <&3"
}

# save_body HOST: the body of a save that changes only the host name of the loaded settings.
save_body() {
    python3 -c '
import json, sys
loaded = json.load(sys.stdin)
names = ("smtp_enabled", "smtp_port", "smtp_ssl_enabled", "smtps_port", "smtp_tls_enabled",
         "smtp_tls_port", "restrict_sender", "account_type", "acc_domain_name")
body = {"action": "save_smtp", "smtp_hostname": sys.argv[1]}
body.update((name, loaded[name]) for name in names)
print(json.dumps(body))' "$1"
}

# run_example COMMAND...: prints the command, runs it, prints its output line by line.
run_example() {
    local word line='$'
    for word; do
        case $word in
        *[!A-Za-z0-9:/._-]*) line+=" '$word'" ;;
        *) line+=" $word" ;;
        esac
    done
    printf '\n  %s\n' "$line"
    printf '%s\n' "$("$@")" | sed 's/^/  /; s/.\{60,80\},/&\n   /g'
}
