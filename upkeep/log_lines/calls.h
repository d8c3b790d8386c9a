// Calls about what the mail server has written of a message.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `log_lines`: the mail server's lines of the message `id`, a queue id or a message id: `lines`
/// (at most 200, the oldest first), `ids` (its queue ids), `since` (stamp of the oldest line that
/// was looked at), `cut` (there are older lines of it), `whole` (none can be older than what was
/// looked at). Ends within about two seconds.
Answer LogLines(const Request& request);

}  // namespace upkeep
