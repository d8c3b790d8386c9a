// Results of operations that can fail.
#include "host/libhaldcore/result.h"

#include <cerrno>

#include "host/libhaldcore/log.h"

namespace host {
namespace {

ReasonCode CodeOf(int error)
{
    switch (error) {
        case ENOENT:
        case ENOTDIR:
            return ReasonCode::kMissing;
        case EEXIST:
        case ENOTEMPTY:
            return ReasonCode::kTaken;
        case EACCES:
        case EPERM:
        case EISDIR:
        case ELOOP:
            return ReasonCode::kUnreadable;
        case EBUSY:
        case EAGAIN:
            return ReasonCode::kBusy;
        case EADDRINUSE:
            return ReasonCode::kPortInUse;
        case ETIMEDOUT:
            return ReasonCode::kOutOfTime;
        default:
            return ReasonCode::kSystem;
    }
}

}  // namespace

Reason Reason::Prefixed(const std::string& beginning) &&
{
    text.insert(0, beginning);
    return std::move(*this);
}

Reason Reason::Causing(std::string outer, std::string line) &&
{
    const ReasonCode same = code;
    return {same, std::move(outer), std::move(line), {std::move(*this)}};
}

Reason SystemReason(const std::string& about, const std::string& text)
{
    return {CodeOf(errno), about, text + ": " + ErrnoText()};
}

void LogReason(const Reason& reason)
{
    for (const Reason& cause : reason.causes) LogReason(cause);
    if (!reason.text.empty()) Log(LOG_ERR, "%s", reason.text.c_str());
}

int Status(const Result<int>& result)
{
    return Succeeded(result) ? *result : -1;
}

int Status(const Result<void>& result)
{
    return Succeeded(result) ? 0 : -1;
}

}  // namespace host
