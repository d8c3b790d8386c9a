// What the mail server's log has of one message.
#pragma once

#include <json/value.h>

#include <string>

#include "host/libhaldcore/result.h"

namespace upkeep {

/// The lines of a message by its queue id or message id, as `log_lines` answers them. They are
/// looked for in a process that can read the log and nothing else.
host::Result<Json::Value> ReadMessageLog(const std::string& id);

}  // namespace upkeep
