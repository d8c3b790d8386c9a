// Admission of requests by their headers.
#pragma once

#include <optional>

#include "host/libkos/cgi_request.h"
#include "host/libkos/refusal.h"

namespace kos {

/// Checks in this order: the caller, the method, the site that the request came from, type and
/// length of the body. `wantsProof`: what its parameters ask for is not done for pages of other
/// sites. `goodQuery`: its query string is valid. Nothing when the request is admitted.
std::optional<Refusal> JudgeRequest(const CgiRequest& request, bool wantsProof, bool goodQuery);

}  // namespace kos
