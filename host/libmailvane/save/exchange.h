// What is stored beside the settings, in etc/: lists, keys, the certificate, the administrator's
// fragments, personal settings, web logins. Several of them change together by an exchange, which a
// process that is killed leaves as one that can be completed or taken back.
#pragma once

#include <string>

#include "host/libhaldcore/result.h"

namespace host::save {

/// Puts what lies in `staged`, a directory in etc/ that goes by it, in the place of the stored data
/// of the same names. With `whole`, stored data that `staged` lacks is taken away. An exchange is
/// under way from here on until it is kept or dropped. Requires the request lock and the mark of a
/// pending save. After a failure it is to be taken back.
Result<void> BeginExchange(const std::string& staged, bool whole);

/// Whether there is an exchange, this process's or that of a killed one.
bool ExchangeIsUnderWay();

/// Puts the stored data before the exchange in force again, if there is one. May be killed and
/// repeated. What was put there remains at hand until the exchange is dropped.
Result<void> RollBackExchange();

/// Ends an exchange that holds: what it replaced is kept as etc/replaced until the next one.
void KeepExchange();

/// Ends an exchange that was taken back.
void DropExchange();

/// Brings the scripts of the users in line whose personal settings an exchange changed.
Result<void> FollowPersonalSettings();

/// The same as a step of a save. 0, or -1 (logged).
int FollowStoredData(const std::string& verb);

}  // namespace host::save
