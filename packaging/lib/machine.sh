# shellcheck shell=bash disable=SC2034
# Functions for the commands at the top: installing Debian packages, building, showing progress.

build_packages=(
    g++ cmake ninja-build pkg-config esbuild zopfli
    libboost-dev libcurl4-openssl-dev libidn2-dev libjsoncpp-dev libsqlite3-dev libsqlitecpp-dev
    libssl-dev libutf8proc-dev libyaml-dev python3-markdown-it python3-yaml zlib1g-dev
)
world_packages=(
    postfix postfix-cdb postfix-pcre libsasl2-modules
    dovecot-core dovecot-imapd dovecot-pop3d dovecot-lmtpd dovecot-sieve
    opendkim opendmarc publicsuffix postfix-policyd-spf-python memcached
    amavisd-new amavisd-milter spamassassin gpg gpg-agent libmail-spf-perl ca-certificates
    clamav-daemon clamav-freshclam clamdscan
    arj bzip2 cpio p7zip-full pax xz-utils zstd
    lighttpd lighttpd-mod-openssl fcgiwrap
    curl hostname iproute2 logrotate mount nftables openssl passwd procps
    python3-minimal libpython3-stdlib sqlite3 systemd util-linux
)
test_packages=(
    libgtest-dev libgmock-dev dnsmasq-base faketime python3-dkim python3-prometheus-client
    python3-jsonschema apache2-bin nginx-light
    slapd nslcd libnss-ldapd rsyslog fail2ban shfmt strace
    chromium chromium-driver libnss3-tools node-typescript pngquant python3-selenium
)
armhf_packages=(g++-arm-linux-gnueabihf qemu-user)  # and what is linked, unpacked beside the build:
armhf_libraries=(
    libboost-dev libcurl4-openssl-dev libidn2-dev libjsoncpp-dev libsqlite3-dev libsqlitecpp-dev
    libssl-dev libutf8proc-dev libyaml-dev libgtest-dev libgmock-dev libstdc++-12-dev zlib1g-dev
)
bench_packages=(php-cgi perl)  # what requests are compared with
fuzz_packages=(clang libclang-rt-14-dev)
package_packages=(build-essential debhelper dpkg-dev fakeroot git lintian openssh-client rsync)
machine_packages=(debootstrap git iproute2 mount slirp4netns util-linux)  # for tests/package
lint_packages=(ccache clang-format clang-tidy git mypy shellcheck)

say() { echo "$*" >&2; }

fail() {
    say "${0##*/}: $*"
    exit 1
}

is_root() { [ "$(id -u)" = 0 ]; }

# missing_packages NAME...: prints those that are not installed, one a line.
missing_packages() {
    dpkg-query -W -f '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null |
        sed -n 's/ installed$//p' | sort -u |
        comm -13 - <(printf '%s\n' "$@" | sort -u)
}

# install_packages NAME...: installs missing packages, without starting their services, now or at
# the next boot.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    is_root || fail "as root: apt-get install --no-install-recommends ${missing[*]}"

    local log=build/install.log
    rm -f $log
    (
        hold_services
        export DEBIAN_FRONTEND=noninteractive LC_ALL=C
        apt=(apt-get -q --no-install-recommends -o Dpkg::Use-Pty=0 -o APT::Status-Fd=3)
        with_progress $log "${apt[@]}" update
        announce_packages $log "${missing[@]}"
        with_progress $log "${apt[@]}" -y install "${missing[@]}"
    )
    [ ! -d /run/systemd/system ] || disable_services "${missing[@]}"
}

# announce_packages LOG NAME...: says how many packages will be installed with their dependencies,
# and their size.
announce_packages() {
    local log=$1
    shift
    apt-get --no-install-recommends --assume-no install "$@" 2>/dev/null | awk -v log_file="$log" '
        / newly installed, / { count = $3 }
        /^Need to get / { fetched = $4 " " $5; sub(/\/.*/, "", fetched) }
        /^After this operation, / { size = $4 " " $5 }
        END {
            printf "Installing %s packages, %s", count, size
            print (fetched + 0 ? ", " fetched " to fetch" : "") "; log in " log_file
        }' >&2
}

# Until the shell ends, the installation of a package starts no service.
hold_services() {
    local policy=/usr/sbin/policy-rc.d
    [ ! -e $policy ] || return 0
    trap 'rm -f /usr/sbin/policy-rc.d' EXIT
    printf '#!/bin/sh\nexit 101\n' >$policy
    chmod 755 $policy
}

disable_services() {
    local name
    for name; do
        case $name in
        postfix | lighttpd | opendkim | opendmarc | memcached | slapd | nslcd | rsyslog | fail2ban)
            systemctl --quiet disable "$name.service"
            ;;
        dovecot-core) systemctl --quiet disable dovecot.service ;;
        amavisd-new) systemctl --quiet disable amavis.service amavis-mc.service ;;
        clamav-daemon | clamav-freshclam) systemctl --quiet disable "$name.service" ;;
        fcgiwrap) systemctl --quiet disable fcgiwrap.socket fcgiwrap.service ;;
        nginx-light) systemctl --quiet disable nginx.service ;;
        esac
    done
}

# build PRESET [TARGET]...: configures if necessary, then builds.
build() {
    local preset=$1 log=build/$1.log
    shift
    rm -f "$log"
    if command -v ccache >/dev/null; then export CMAKE_CXX_COMPILER_LAUNCHER=ccache; fi
    [ -e "build/$preset/build.ninja" ] || with_progress "$log" cmake --preset "$preset"
    with_progress "$log" cmake --build --preset "$preset" ${1:+--target "$@"}
}

# --- commands that take their time ---------------------------------------------------------------

# with_progress LOG COMMAND...: runs a command with its output in the log. Shows the progress that
# apt and ninja report; after a failure shows the end of the log.
with_progress() {
    local log=$1
    shift
    mkdir -p "${log%/*}"
    echo "\$ $*" >>"$log"
    (
        set -o pipefail
        "$@" </dev/null 2>&1 3>&1 | show_progress "$log"  # apt opens a third stream for its own use
    ) && return
    tail -n 30 "$log" >&2
    fail "$1 fails; log in $log"
}

# show_progress LOG: copies its input to the log, except apt's progress lines. Shows these and
# ninja's.
show_progress() {
    local line at total text last=
    while IFS= read -r line; do
        case $line in
        dlstatus:*) IFS=: read -r _ _ at text <<<"$line" && show_step fetched "${at%.*}" 100 ;;
        pmstatus:*) IFS=: read -r _ _ at text <<<"$line" && show_step installed "${at%.*}" 100 ;;
        '['[0-9]*/*'] '*)
            echo "$line" >>"$1"
            IFS='[/] ' read -r _ at total text <<<"$line"
            [ "$at" != 0 ] || continue  # ninja runs once more for the installation
            [ "$last" ] || say "Building in $total steps; log in $1"
            show_step built "$at" "$total"
            ;;
        *) echo "$line" >>"$1" ;;
        esac
    done
    [ ! -t 2 ] || printf '\r\e[K' >&2
}

# show_step WHAT NUMBER TOTAL: shows `text` as one updated line on a terminal, else a line at each
# quarter, which `last` remembers.
show_step() {
    local percent=$(($2 * 100 / $3))
    if [ -t 2 ]; then
        printf '\r\e[K  %s %d %%  %.60s' "$1" $percent "$text" >&2
        last=$1
    elif [ "$last" != "$1 $((percent / 25))" ]; then
        last="$1 $((percent / 25))"
        say "  $1 $percent %"
    fi
}
