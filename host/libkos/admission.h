// What the headers of a request decide.
#pragma once

#include <optional>

#include "host/libkos/cgi_request.h"
#include "host/libkos/refusal.h"

namespace kos {

/// Judges the caller, the method, where the request came from and what its body is said to be, in
/// this order. `changes`: whether its parameters ask for a change. `goodQuery`: whether its query
/// string was understood. Nothing when the request may go on.
std::optional<Refusal> JudgeRequest(const CgiRequest& request, bool changes, bool goodQuery);

}  // namespace kos
