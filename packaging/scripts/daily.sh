#!/bin/bash
# What the package does every day: new signatures for the anti-virus engine, old mail out of the
# scanner's quarantine, and away with what killed processes have left behind.

. "${BASH_SOURCE%/*}/common.sh"

load_settings anti_virus_enable
! is_on anti_virus_enable || "$package/target/bin/hald_anti-virus" update
status=$?
"${BASH_SOURCE%/*}/clean_quarantine.sh" || status=$?
"${BASH_SOURCE%/*}/clean_leftovers.sh" || status=$?
exit "$status"
