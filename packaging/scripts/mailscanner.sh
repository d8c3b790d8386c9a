#!/bin/bash
# shellcheck disable=SC2030,SC2317
# The mail scanner: mailscanner.sh start|stop|restart. Two daemons: amavis, which looks at the mail,
# and a milter by which the SMTP server hands it over. Returns when both are up or gone.

. "${BASH_SOURCE%/*}/common.sh"

wanted() {
    load_settings anti_virus_enable spam_enable enable_dangerous_content_scan
    is_on anti_virus_enable || is_on spam_enable || is_on enable_dangerous_content_scan
}

scanner() (
    service=amavis
    . "${BASH_SOURCE%/*}/inner_daemon.sh"
    program=/usr/bin/perl
    pid_file=$folder/pid  # it makes that anew, under its own user
    configuration=$current/amavis
    log=/var/log/mailvane/amavis.log
    start_limit=60  # seconds; it reads all rules first

    prepare() {
        make_folder amavis amavis || return
        install -d -m 755 /var/lib/mailvane || return
        install -d -m 750 -o amavis -g amavis /var/lib/mailvane/quarantine || return
        [[ -e $log ]] || install -m 640 -o amavis -g adm /dev/null "$log" || return
        lead /run/MailScanner.pid "$pid_file" || return
        # Where the tool looks that releases mail from the quarantine.
        as_user amavis ln -sfn "$socket" /var/lib/amavis/amavisd.sock || return
        # What a scanner that was killed had unpacked; a milter may be at work in a newer folder.
        find /var/lib/amavis/tmp -mindepth 1 -maxdepth 1 -mmin +60 -exec rm -rf {} + || return
        "${BASH_SOURCE%/*}/clean_quarantine.sh"
    }

    fingerprint() { find -L "$configuration" -type f -exec sha256sum {} + | sort; }

    launch() { as_user amavis /usr/sbin/amavisd -c "$configuration/amavisd.conf"; }

    # Its user writes the pid file, and its program is one of many in Perl.
    find_master() {
        master=
        [[ -r $pid_file ]] && read -r master <"$pid_file"
        [[ $master =~ ^[1-9][0-9]*$ && /proc/$master/exe -ef $program ]] &&
            [[ $(stat -c %U "/proc/$master") == amavis ]] &&
            grep -qs '^/usr/sbin/amavisd' "/proc/$master/cmdline"
    }

    # One of its children has to be ready, not just the socket.
    settled() { find_master && perl -MIO::Socket::UNIX -e '
        $SIG{ALRM} = sub { exit 1 };
        alarm 5;
        my $call = IO::Socket::UNIX->new(Peer => shift) or exit 1;
        $call->print("request=smtpd_access_policy\n\n");
        exit($call->getline =~ /^action=/ ? 0 : 1)' "$socket" 2>/dev/null; }

    control "$1"
)

milter() (
    service=amavisd-milter
    . "${BASH_SOURCE%/*}/inner_daemon.sh"
    program=/usr/sbin/amavisd-milter
    pid_file=$folder/pid
    command=("$program" -s "local:$socket" -S /run/mailvane/amavis/socket -p "$pid_file"
        -w /var/lib/amavis/tmp)

    prepare() { make_folder amavis postfix; }
    fingerprint() { echo "${command[*]}"; }
    launch() (
        umask 007
        as_user amavis "${command[@]}"
    )

    control "$1"
)

case ${1-} in
launch)  # each daemon is in a unit of its own
    case ${2-} in
    amavis) scanner launch ;;
    amavisd-milter) milter launch ;;
    esac
    ;;
stop) milter stop && scanner stop ;;
start | restart)
    if wanted; then scanner "$1" && milter "$1"; else milter stop && scanner stop; fi
    ;;
*) control "${1-}" ;;
esac
