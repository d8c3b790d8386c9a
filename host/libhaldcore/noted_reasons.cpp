// Why the current request fails, for its answer.
#include "host/libhaldcore/noted_reasons.h"

#include <algorithm>

namespace host {
namespace {

constexpr std::size_t kMostNoted = 100;

std::vector<NotedReason>& Noted()
{
    static std::vector<NotedReason> noted;
    return noted;
}

void Add(const NotedReason& reason)
{
    std::vector<NotedReason>& noted = Noted();
    const bool isKnown = std::find(noted.begin(), noted.end(), reason) != noted.end();
    if (!isKnown && noted.size() < kMostNoted) noted.push_back(reason);
}

void AddTold(const Reason& reason)
{
    if (reason.about.IsTold()) Add({reason.about, reason.code});
    for (const Reason& cause : reason.causes) AddTold(cause);
}

}  // namespace

void NoteReason(const Reason& reason)
{
    if (reason.IsTold()) {
        AddTold(reason);
    } else {
        Add({Subject(), reason.code});
    }
}

const std::vector<NotedReason>& NotedReasons()
{
    return Noted();
}

}  // namespace host
