# shellcheck shell=bash disable=SC2034
# What the commands at the top share: the packages they need from Debian, and builds.

build_packages=(
    g++ cmake ninja-build pkg-config
    libboost-dev libcurl4-openssl-dev libjsoncpp-dev libsqlite3-dev libsqlitecpp-dev libutf8proc-dev
    python3-yaml
)
world_packages=(
    postfix postfix-cdb postfix-pcre libsasl2-modules
    dovecot-core dovecot-imapd dovecot-pop3d dovecot-lmtpd dovecot-sieve
    opendkim opendmarc publicsuffix postfix-policyd-spf-python memcached
    amavisd-new amavisd-milter spamassassin clamav-daemon clamav-freshclam clamdscan
    arj bzip2 cpio p7zip-full pax xz-utils zstd
    lighttpd lighttpd-mod-openssl fcgiwrap
    curl hostname iproute2 logrotate openssl passwd procps python3-minimal libpython3-stdlib sqlite3
    systemd util-linux
)
test_packages=(
    libgtest-dev libgmock-dev dnsmasq-base faketime python3-dkim apache2-bin nginx-light
    slapd nslcd libnss-ldapd fail2ban
)
armhf_packages=(g++-arm-linux-gnueabihf qemu-user)  # and what is linked, unpacked beside the build:
armhf_libraries=(
    libboost-dev libcurl4-openssl-dev libjsoncpp-dev libsqlite3-dev libsqlitecpp-dev libutf8proc-dev
    libgtest-dev libgmock-dev libstdc++-12-dev
)
package_packages=(debhelper dpkg-dev fakeroot git lintian rsync)
lint_packages=(clang-format clang-tidy git mypy shellcheck)

say() { echo "$*" >&2; }

fail() {
    say "${0##*/}: $*"
    exit 1
}

is_root() { [ "$(id -u)" = 0 ]; }

# missing_packages NAME...: those that are not installed, one a line.
missing_packages() {
    dpkg-query -W -f '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null |
        sed -n 's/ installed$//p' | sort -u |
        comm -13 - <(printf '%s\n' "$@" | sort -u)
}

# install_packages NAME...: installs what is missing. No service of this machine is started by it,
# now or at its next boot.
install_packages() {
    local missing
    mapfile -t missing < <(missing_packages "$@")
    [ ${#missing[@]} -gt 0 ] || return 0
    is_root || fail "as root: apt-get install --no-install-recommends ${missing[*]}"

    say "Installing ${missing[*]}"
    (
        hold_services
        export DEBIAN_FRONTEND=noninteractive
        apt-get -qq update
        apt-get -qq -y --no-install-recommends install "${missing[@]}"
    ) </dev/null >&2
    [ ! -d /run/systemd/system ] || disable_services "${missing[@]}"
}

# Until the shell ends, packages that are being installed start nothing.
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
        postfix | lighttpd | opendkim | opendmarc | memcached | slapd | nslcd | fail2ban)
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

# build PRESET [TARGET]...: configures once, then builds what changed.
build() {
    local preset=$1
    shift
    if command -v ccache >/dev/null; then export CMAKE_CXX_COMPILER_LAUNCHER=ccache; fi
    [ -e "build/$preset/build.ninja" ] || cmake --preset "$preset" >&2
    cmake --build --preset "$preset" ${1:+--target "$@"} >&2
}
