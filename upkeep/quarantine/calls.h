// Calls about the mail that the scanner has kept aside.
#pragma once

#include "upkeep/request/request.h"

namespace upkeep {

/// `quarantine_list`: `limit` (50, at most 100) messages from `start` on, the oldest first, or the
/// newest with `descending`; of those with the text `query` in their id, sender, recipients or
/// subject. Refused when it would have to look through more mail than it can in 3 s.
Answer QuarantineList(const Request& request);

/// `quarantine_text`: the header of the message `id` and what it says in plain text, and of its
/// other parts the name, type and size.
Answer QuarantineText(const Request& request);

/// `quarantine_raw`: the message `id` as it came, as a download.
host::Result<Download> QuarantineRaw(const Request& request);

/// `quarantine_release`: delivers the messages `ids`, which stay where they are. Answers how many
/// it was `done` to, which are `gone`, and which the scanner did not release: `failed`.
Answer QuarantineRelease(const Request& request);

/// `quarantine_delete`: removes the messages `ids` for good.
Answer QuarantineDelete(const Request& request);

/// `quarantine_learn`: teaches the spam filter the messages `ids`, at most 100, `as` "spam" or
/// "ham". Of those above 512 KiB it learns nothing: `failed`.
Answer QuarantineLearn(const Request& request);

}  // namespace upkeep
