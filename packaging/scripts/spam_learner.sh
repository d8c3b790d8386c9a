#!/bin/bash
# The learner of the spam filter on what that has learned, also while it does not use it:
# spam_learner.sh ARGUMENT..., as the scanner's user.

. "${BASH_SOURCE%/*}/common.sh"

exec sa-learn --local --prefspath=/dev/null --cf='use_bayes 1' \
    --siteconfigpath="$package/etc/generated/current/amavis/spamassassin" "$@"
