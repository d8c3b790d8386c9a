#!/bin/bash
# Brings the rules of the spam filter up to date: fetches what is new, tries it with the filter's own
# check, puts it in force and has the scanner take it up. Runs every day while the filter is on. That
# nothing can be fetched, as without a network, is told and is no failure; the self-check says how old
# the rules are.

. "${BASH_SOURCE%/*}/common.sh"

folder=/var/lib/mailvane/spam_rules
fetched=$folder/fetched    # what the updater keeps, by channel
in_force=$folder/in_force  # a link to what the scanner reads
channels=$package/etc/local.d/rule_channels
base=updates_spamassassin_org.cf

tell() {
    echo "update_rules.sh: $2" >&2
    logger --id --tag mailvane --priority "mail.$1" "rules of the spam filter: $2"
}

# as USER COMMAND...: runs it with a home that only that user can write to.
as() {
    local user=$1
    shift
    setpriv --reuid="$user" --regid="$user" --init-groups --reset-env -- "$@"
}

# The channels and whose signatures they take: the distribution's, or those of a file of the
# administrator, with lines "channel [key]", and the keys themselves beside it.
channel_options() {
    local channel key
    options=(--updatedir "$fetched" --gpghomedir "$folder/keys")
    [[ -s $channels ]] || return 0
    while read -r channel key _; do
        [[ $channel && $channel != '#'* ]] || continue
        options+=(--channel "$channel")
        [[ ! $key ]] || options+=(--gpgkey "$key")
    done <"$channels"
}

take_keys() {
    local file
    for file in /usr/share/spamassassin/sa-update-pubkey.txt "$channels.asc"; do
        [[ ! -s $file ]] || as debian-spamd gpg --batch --quiet --homedir "$folder/keys" \
            --import "$file" >/dev/null 2>&1 || tell err "the keys in $file cannot be taken"
    done
}

fetch() {
    local said status=0
    said=$(as debian-spamd sa-update "${options[@]}" 2>&1) || status=$?
    case $status in
    0 | 1) ;;  # something new; nothing new
    *) tell warning "nothing can be fetched: ${said//$'\n'/; }" ;;
    esac
}

# The versions that a folder of rules is made of.
versions() { grep -h '^# UPDATE version' "$1"/*.cf 2>/dev/null; }

# lint FOLDER: whether the filter takes these rules with its own settings and those of the page.
lint() {
    local home said
    home=$(mktemp -d /tmp/mailvane-lint.XXXXXX) || return 1
    chown amavis:amavis "$home"
    said=$(as amavis env HOME="$home" spamassassin --lint --configpath="$1" \
        --siteconfigpath="$package/etc/generated/current/amavis/spamassassin" \
        --prefspath=/dev/null 2>&1)
    local status=$?
    rm -rf "$home"
    [[ $status -eq 0 ]] || tell err "refused by the filter, what was in force stays so: ${said//$'\n'/; }"
    return $status
}

put_in_force() {
    local new old
    new=$folder/rules.$(date +%s)
    old=$(readlink "$in_force")
    rm -rf "$new"
    cp -r --no-preserve=ownership,mode --preserve=timestamps "$fetched" "$new" || return 1
    # Channels that only add to the rules of the distribution need these, too.
    [[ -e $new/$base ]] || ln -s /usr/share/spamassassin/*.cf "$new"
    if ! lint "$new"; then
        rm -rf "$new"
        return 1
    fi
    ln -sfn "${new##*/}" "$in_force.new" && mv -T "$in_force.new" "$in_force" || return 1
    [[ ! $old || $old == "${new##*/}" ]] || rm -rf "${folder:?}/$old"
    tell info "new ones are in force"
    # It takes mail meanwhile; a restart would turn it away.
    "$package/target/scripts/mailscanner.sh" status >/dev/null || return 0
    as amavis /usr/sbin/amavisd -c "$package/etc/generated/current/amavis/amavisd.conf" reload >/dev/null
}

main() {
    exec 9>"$folder/lock"
    flock 9
    channel_options
    take_keys
    fetch
    [[ $(versions "$fetched") != "$(versions "$in_force")" ]] || return 0
    put_in_force
}

main
