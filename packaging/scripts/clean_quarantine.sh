#!/bin/bash
# Limits the scanner's quarantine: deletes mail that is too old, then the oldest mail until the rest
# is small enough. Runs every day and when the scanner starts.

. "${BASH_SOURCE%/*}/common.sh"

quarantine=/var/lib/mailvane/quarantine
days=30
megabytes=500

# Runs as the scanner's user, who owns the folder.
[[ $(id -un) == amavis ]] ||
    exec setpriv --reuid=amavis --regid=amavis --init-groups --reset-env -- "$0"

[[ -d $quarantine ]] || exit 0
find "$quarantine" -type f -mtime "+$((days - 1))" -delete
kept=0
while read -r -d '' _ size name; do
    ((kept += size, kept <= megabytes * 1024 * 1024)) || rm -f "$name"
done < <(find "$quarantine" -type f -printf '%T@ %s %p\0' | sort -zrn)
