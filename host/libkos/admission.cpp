// Admission of requests by their headers.
#include "host/libkos/admission.h"

#include "host/libkos/caller_check.h"
#include "host/libkos/own_host.h"

namespace kos {

namespace {

std::optional<Refusal> JudgeUser(const std::string& user)
{
    switch (CheckCaller(user)) {
        case Caller::kAdministrator:
            return std::nullopt;
        case Caller::kNobody:
            return Refusal{401, "unauthorized", "no caller"};
        case Caller::kBadName:
            return Refusal{403, "forbidden", "no possible name"};
        case Caller::kNoAccount:
            return Refusal{403, "forbidden", "no such account"};
        case Caller::kExpired:
            return Refusal{403, "forbidden", "the account has expired"};
        case Caller::kNoMember:
            return Refusal{403, "forbidden", "not an administrator"};
        case Caller::kUnknown:
            break;
    }
    return Refusal{503, "unavailable", "accounts or groups cannot be read"};
}

std::optional<Refusal> JudgePage(const CgiRequest& request, bool wantsProof)
{
    if (!IsOwnHost(request.site.host)) {
        return Refusal{403, "unknown_host",
                       "no name of this machine (see MAILVANE_WEB_HOSTS): " + request.site.host};
    }

    // A form on another site can send these two types of body, but not JSON.
    const BodyKind kind = request.body.kind;
    const bool form = kind == BodyKind::kForm || kind == BodyKind::kUpload;
    const bool needsProof = form || (wantsProof && kind != BodyKind::kJson);
    switch (JudgeSite(request.site, needsProof)) {
        case SiteVerdict::kPass:
            return std::nullopt;
        case SiteVerdict::kForeign:
            return Refusal{403, "cross_site", "sent by another site"};
        case SiteVerdict::kUnproven:
            break;
    }
    return Refusal{403, "cross_site", "a change without proof of where it came from"};
}

}  // namespace

std::optional<Refusal> JudgeRequest(const CgiRequest& request, bool wantsProof, bool goodQuery)
{
    if (std::optional<Refusal> refusal = JudgeUser(request.user)) return refusal;
    if (request.method != "GET" && request.method != "POST") {
        return Refusal{405, "method_not_allowed", "a method that is not taken"};
    }
    if (std::optional<Refusal> refusal = JudgePage(request, wantsProof)) return refusal;
    if (!goodQuery) return Refusal{400, "bad_request", "query parameters that are not taken"};
    return JudgeBody(request.body);
}

}  // namespace kos
