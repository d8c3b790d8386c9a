// Results of operations that can fail.
#include "host/libhaldcore/result.h"

#include <algorithm>
#include <cerrno>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/noted_reasons.h"

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
        case ENOSPC:
        case EDQUOT:
            return ReasonCode::kNoSpace;
        default:
            return ReasonCode::kSystem;
    }
}

void LogLines(const Reason& reason)
{
    for (const Reason& cause : reason.causes) LogLines(cause);
    if (!reason.text.empty()) Log(LOG_ERR, "%s", reason.text.c_str());
}

}  // namespace

Reason Reason::Prefixed(const std::string& beginning) &&
{
    text.insert(0, beginning);
    return std::move(*this);
}

Reason Reason::Causing(Subject outer, std::string line) &&
{
    const ReasonCode same = code;
    return {same, std::move(outer), std::move(line), {std::move(*this)}};
}

bool Reason::IsTold() const
{
    return about.IsTold() || std::any_of(causes.begin(), causes.end(),
                                         [](const Reason& cause) { return cause.IsTold(); });
}

Reason Reason::About(Subject subject) &&
{
    if (!IsTold()) about = std::move(subject);
    return std::move(*this);
}

Reason SystemReason(Subject about, const std::string& text)
{
    return {CodeOf(errno), std::move(about), text + ": " + ErrnoText()};
}

void LogReason(const Reason& reason)
{
    LogLines(reason);
    NoteReason(reason);
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
