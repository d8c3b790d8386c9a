#!/bin/bash
# What the package does every day: new signatures for the anti-virus engine, old mail out of the
# scanner's quarantine.

. "${BASH_SOURCE%/*}/common.sh"

load_settings anti_virus_enable
! is_on anti_virus_enable || "$package/target/bin/hald_anti-virus" update
status=$?
"${BASH_SOURCE%/*}/clean_quarantine.sh" && exit "$status"
