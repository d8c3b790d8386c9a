// The audit line: a log line about each request that changes something.
#pragma once

#include <json/value.h>

#include <string>

#include "host/libkos/cgi_request.h"

namespace kos {

/// The result of an action by its answer and by what was noted: "done", "failed", "failed
/// (section/key)" or "failed (reason)".
std::string ResultOf(const Json::Value& answer);

/// Logs caller, client address, action, result, the reasons of a refusal in words, and the names of
/// what was to change.
void WriteAuditLine(const CgiRequest& request, const std::string& action, const std::string& result,
                    const std::string& reasons);

}  // namespace kos
