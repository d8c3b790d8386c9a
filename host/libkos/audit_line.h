// The line about each request that changes something.
#pragma once

#include <json/value.h>

#include <string>

#include "host/libkos/cgi_request.h"

namespace kos {

/// How an answer tells what became of the request: "done", "failed", or "failed (section/key)".
std::string ResultOf(const Json::Value& answer);

/// Logs who did what, from where, with which result, and the names of what was to change.
void WriteAuditLine(const CgiRequest& request, const std::string& action,
                    const std::string& result);

}  // namespace kos
