// Calls about the mail that waits to be delivered.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `queue_list`: `limit` (50, at most 200) messages from `start` on, of those with the text `query`
/// in their id, sender or recipients. `sort`: "arrival", "size" or "sender"; `descending`. Refused
/// when it would have to look through more mail than it can in 3 s.
Answer QueueList(const Request& request);

/// `queue_message`: the envelope and the header of the message `id`.
Answer QueueMessage(const Request& request);

/// `queue_flush`: has the mail server try to deliver some messages now, or all that are not held.
/// This and the next ones take `ids`, at most 1,000, or `all` with `confirm`, and answer how many
/// it was `done` to and which are `gone`.
Answer QueueFlush(const Request& request);

/// `queue_hold`: keeps messages from being tried.
Answer QueueHold(const Request& request);

/// `queue_release`: lets go what was held, and tries it.
Answer QueueRelease(const Request& request);

/// `queue_delete`: removes messages for good.
Answer QueueDelete(const Request& request);

}  // namespace upkeep
