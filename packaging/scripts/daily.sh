#!/bin/bash
# The daily tasks of the package: updates the anti-virus signatures, deletes old mail from the
# scanner's quarantine, removes files that killed processes left.

. "${BASH_SOURCE%/*}/common.sh"

status=0
! "$package/target/bin/hald_service" clamd wanted ||
    "$package/target/bin/hald_anti-virus" update || status=$?
"${BASH_SOURCE%/*}/clean_quarantine.sh" || status=$?
"${BASH_SOURCE%/*}/clean_leftovers.sh" || status=$?
exit "$status"
