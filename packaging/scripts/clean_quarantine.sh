#!/bin/bash
# Keeps the scanner's quarantine within its bounds: what is too old goes, and of the rest what is
# oldest until it is small enough. Run every day and when the scanner starts.

. "${BASH_SOURCE%/*}/common.sh"

quarantine=/var/lib/mailvane/quarantine
days=30
megabytes=500

# The folder is the scanner's, and so is all that is done in it.
[[ $(id -un) == amavis ]] ||
    exec setpriv --reuid=amavis --regid=amavis --init-groups --reset-env -- "$0"

[[ -d $quarantine ]] || exit 0
find "$quarantine" -type f -mtime "+$((days - 1))" -delete
kept=0
while read -r -d '' _ size name; do
    ((kept += size, kept <= megabytes * 1024 * 1024)) || rm -f "$name"
done < <(find "$quarantine" -type f -printf '%T@ %s %p\0' | sort -zrn)
