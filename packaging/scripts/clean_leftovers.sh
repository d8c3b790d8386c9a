#!/bin/bash
# Removes what a process that was killed in the middle of its work has left behind: files that were
# to replace others, and directories of generated files that were never completed. Whoever is still
# at work made his within the last day.

. "${BASH_SOURCE%/*}/common.sh"
cd / || exit  # which every user may enter

generated=$package/etc/generated
stored=$package/target/etc

# A new file is named after the one it replaces: .NAME.0123456789abcdef, or NAME.new where nobody
# else makes that name.
replacement=(-type f -mmin +1440 -regextype posix-extended
    '(' -regex '.*/\..+\.[0-9a-f]{16}' -o -name '*.new' ')' -exec rm -f '{}' +)

# The administrator's folders are his. Those of the mail log are its collector's, who could put others
# in the place of what has been found there: what is done in them is done with his rights.
find "$package/etc" "$stored" -xdev \
    \( -path "$package/etc/local.d" -o -path "$package/etc/tls" -o -path "$stored/maillog*" \) \
    -prune -o "${replacement[@]}"
status=$?
setpriv --reuid=mailvane-log --regid=mailvane-log --init-groups --reset-env -- \
    find "$stored/maillog" "$stored/maillog.live" -xdev "${replacement[@]}" || status=$?

# The program's temporary files, where it was not started by the web server.
find /tmp -xdev -mindepth 1 -maxdepth 1 -mmin +1440 \
    \( -name 'mailvane-lint.??????' -o -user root \( \
    -name 'aliases??????' -o -name 'accessList??????' -o -name 'BccFile??????' -o \
    -name 'spam.blackwhite.??????' -o -name 'mailvane.import*' -o \
    -name 'mailvane-upload.??????' -o -name 'mailvane-stranger.??????' \) \) -exec rm -rf {} + ||
    status=$?

for folder in "$generated"/gen-*; do
    [[ -d $folder && ! -e $folder/manifest && ! $folder -ef $generated/current ]] || continue
    [[ -n $(find "$folder" -maxdepth 0 -mmin +1440) ]] || continue
    rm -rf "$folder" || status=$?
done
exit "$status"
