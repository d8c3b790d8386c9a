// Refused requests. Writes to standard output and syslog.
#include "host/libkos/refusal.h"

#include <cstdio>

#include "host/libhaldcore/log.h"
#include "host/libkos/answer.h"
#include "host/libkos/answer_reasons.h"

namespace kos {

namespace {

struct StatusLine {
    int status;
    const char* line;  // with the further headers of this status
};

constexpr StatusLine kLines[] = {
    {400, "Status: 400 Bad Request\n"},
    {401, "Status: 401 Unauthorized\n"},
    {403, "Status: 403 Forbidden\n"},
    {405, "Status: 405 Method Not Allowed\nAllow: GET, POST\n"},
    {411, "Status: 411 Length Required\n"},
    {413, "Status: 413 Content Too Large\n"},
    {415, "Status: 415 Unsupported Media Type\n"},
    {503, "Status: 503 Service Unavailable\nRetry-After: 5\n"},
};

const char* LineOf(int status)
{
    for (const StatusLine& line : kLines) {
        if (line.status == status) return line.line;
    }
    return "Status: 500 Internal Server Error\n";
}

}  // namespace

void WriteRefusal(const Refusal& refusal, const std::string& user, const std::string& address)
{
    host::Log(LOG_WARNING, "request refused with %d: %s; user \"%.64s\", address %.64s",
              refusal.status, refusal.reason.c_str(), user.c_str(), address.c_str());

    (void)fputs(LineOf(refusal.status), stdout);
    WriteHead(kJsonType, ReasonHeader(refusal));
    (void)printf("{\"success\":false,\"error\":\"%s\"}\n", refusal.error);
    (void)fflush(stdout);
}

}  // namespace kos
