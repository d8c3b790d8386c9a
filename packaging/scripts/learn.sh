#!/bin/bash
# Takes a message on standard input that the spam filter is to learn: learn.sh spam|ham. Dovecot runs it
# as the scanner's user when somebody moves a message. Learning takes a second and more, so the message is
# laid aside and learned with others by a process of its own, of which there is one. What is too large,
# and what comes while too many wait, is left out.

. "${BASH_SOURCE%/*}/common.sh"
umask 077

folder=/var/lib/mailvane/learning
bytes=$((512 * 1024))
waiting=500  # messages of a kind
at_once=100
pause=10     # seconds between two times, so that the processor is not kept busy

take() {
    local new kept
    kept=("$folder/$1"/*.eml)
    ((${#kept[@]} < waiting)) || return 0
    new=$(mktemp "$folder/$1/XXXXXXXXXX") || return 1
    head -c $((bytes + 1)) >"$new"
    if (($(stat -c %s "$new") > bytes)); then rm -f "$new"; else mv "$new" "$new.eml"; fi
}

# learn_some KIND: learns some messages of a kind; false when there are none.
learn_some() {
    local files=("$folder/$1"/*.eml)
    [[ -e ${files[0]} ]] || return 1
    files=("${files[@]:0:at_once}")
    nice -n 5 "${BASH_SOURCE%/*}/spam_learner.sh" "--$1" "${files[@]}"
    rm -f "${files[@]}"
}

# Learns until nothing waits. What comes while the lock is held is seen after it.
learn() {
    local found
    exec 9>"$folder/lock"
    while flock -n 9; do
        found=
        ! learn_some spam || found=yes
        ! learn_some ham || found=yes
        [[ ! $found ]] || sleep "$pause"
        flock -u 9
        compgen -G "$folder/*/*.eml" >/dev/null || return 0
    done
}

case ${1-} in
spam | ham) ;;
*)
    echo "usage: learn.sh spam|ham" >&2
    exit 2
    ;;
esac
take "$1"
learn </dev/null >/dev/null 2>&1 &
