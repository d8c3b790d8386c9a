#!/bin/bash
# What the package does every day: new signatures for the anti-virus engine, old mail out of the
# scanner's quarantine, and away with what killed processes have left behind.

. "${BASH_SOURCE%/*}/common.sh"

status=0
! "$package/target/bin/hald_service" clamd wanted ||
    "$package/target/bin/hald_anti-virus" update || status=$?
"${BASH_SOURCE%/*}/clean_quarantine.sh" || status=$?
"${BASH_SOURCE%/*}/clean_leftovers.sh" || status=$?
exit "$status"
