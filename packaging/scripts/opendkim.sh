#!/bin/bash
# The DKIM signer: opendkim.sh start|stop|restart.

. "${BASH_SOURCE%/*}/common.sh"

decline "${1-}" 'the DKIM signer' enable_dkim
