#!/bin/bash
# The DMARC filter: opendmarc.sh start|stop|restart.

. "${BASH_SOURCE%/*}/common.sh"

decline "${1-}" 'the DMARC filter' enable_dmarc
