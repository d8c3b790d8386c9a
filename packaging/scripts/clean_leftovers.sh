#!/bin/bash
# Removes files that killed processes left: temporary files that were to replace others, and
# incomplete generations. Files changed within the last day are kept, since their process may still
# run.

. "${BASH_SOURCE%/*}/common.sh"
cd / || exit  # a folder that every user may enter

generated=$package/etc/generated
stored=$package/target/etc

# The name of a temporary file is that of the file to be replaced: .NAME.0123456789abcdef, or
# NAME.new in folders where nobody else uses that name.
replacement=(-type f -mmin +1440 -regextype posix-extended
    '(' -regex '.*/\..+\.[0-9a-f]{16}' -o -name '*.new' ')' -exec rm -f '{}' +)

# The administrator's folders are left out. The folders of the mail log are searched with the rights
# of the collector, which owns them and could replace what was found there by a link.
find "$package/etc" "$stored" -xdev \
    \( -path "$package/etc/local.d" -o -path "$package/etc/tls" -o -path "$stored/maillog*" \) \
    -prune -o "${replacement[@]}"
status=$?
setpriv --reuid=mailvane-log --regid=mailvane-log --init-groups --reset-env -- \
    find "$stored/maillog" "$stored/maillog.live" -xdev "${replacement[@]}" || status=$?

# Temporary files of a program that was not started by the web server.
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
