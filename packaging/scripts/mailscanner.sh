#!/bin/bash
# The mail scanner: mailscanner.sh start|stop|restart.

. "${BASH_SOURCE%/*}/common.sh"

decline "${1-}" 'the mail scanner' anti_virus_enable spam_enable enable_dangerous_content_scan
