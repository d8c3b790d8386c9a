#!/bin/bash
# The anti-virus engine: antivirus.sh start|stop|restart.

. "${BASH_SOURCE%/*}/common.sh"

decline "${1-}" 'the anti-virus engine' anti_virus_enable
