#!/bin/bash
# The daily tasks of the package: updates the anti-virus signatures and the rules of the spam filter,
# deletes old mail from the scanner's quarantine, removes files that killed processes left.

. "${BASH_SOURCE%/*}/common.sh"

status=0
! "$package/target/bin/hald_service" clamd wanted ||
    "$package/target/bin/hald_anti-virus" update || status=$?
! grep -qx 'spam_enable="yes"' "$package/etc/mailvane.conf" ||
    "${BASH_SOURCE%/*}/update_rules.sh" || status=$?
"${BASH_SOURCE%/*}/clean_quarantine.sh" || status=$?
"${BASH_SOURCE%/*}/clean_leftovers.sh" || status=$?
exit "$status"
