// The stored files beside the settings, in etc/: lists, keys, the certificate, the administrator's
// fragments, personal settings, web logins. An exchange replaces several of them together; when the
// process is killed in between, it can still be completed or rolled back.
#pragma once

#include <set>
#include <string>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Replaces the stored files by those of the same names in `staged`, a directory in etc/ that is
/// used up. With `whole`, stored files that `staged` lacks are removed, except the administrator's
/// fragments; without it, those in `leaving`. The exchange is under way until `KeepExchange` or
/// `DropExchange`; the caller rolls back a failed one. Requires the request lock and the mark of a
/// pending save.
Result<void> BeginExchange(const std::string& staged, bool whole,
                           const std::set<std::string>& leaving = {});

/// Whether an exchange is under way, begun by this process or by a killed one.
bool ExchangeIsUnderWay();

/// Puts the files from before the exchange back, if one is under way. Can be repeated after a kill.
/// The files that were taken out again stay in etc/exchange until `DropExchange`.
Result<void> RollBackExchange();

/// Ends an exchange that stays in force. The replaced files are in etc/replaced until the next one.
void KeepExchange();

/// Ends an exchange that was rolled back.
void DropExchange();

/// Writes the scripts of the users whose personal settings an exchange changed.
Result<void> FollowPersonalSettings();

/// `FollowPersonalSettings` as a step of a save; `verb` is ignored. 0, or -1 (logged).
int FollowStoredData(const std::string& verb);

}  // namespace host::save
