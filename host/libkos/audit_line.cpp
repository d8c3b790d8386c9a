// The audit line: a log line about each request that changes something. Writes to syslog.
#include "host/libkos/audit_line.h"

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/log.h"

namespace kos {
namespace {

/// The text of a member; empty when it is none.
std::string TextOf(const Json::Value& object, const char* name)
{
    const Json::Value& member = object[name];
    return member.isString() ? member.asString() : "";
}

}  // namespace

std::string ResultOf(const Json::Value& answer)
{
    // Some answers say success whatever became of the request.
    const std::string& noted = host::NotedFailure();
    std::string done = noted.empty() ? host::kChangeDone : "failed (" + noted + ")";
    if (!answer.isObject()) return done;

    const Json::Value& message = answer["errinfo"];
    if (message.isObject()) {
        return "failed (" + TextOf(message, "sec") + "/" + TextOf(message, "key") + ")";
    }
    const Json::Value& success = answer["success"];
    return success.isBool() && !success.asBool() ? "failed" : done;
}

void WriteAuditLine(const CgiRequest& request, const std::string& action, const std::string& result,
                    const std::string& reasons)
{
    const std::string names = host::NotedChanges();
    host::Log(LOG_NOTICE, "audit: user \"%.64s\", address %.64s, action %.64s: %.256s%s%s%s%s",
              request.user.c_str(), request.address.c_str(), action.c_str(), result.c_str(),
              reasons.empty() ? "" : "; because: ", reasons.c_str(),
              names.empty() ? "" : "; to change: ", names.c_str());
    host::CountChange(result == host::kChangeDone ? host::kChangeDone : host::kChangeFailed);
}

}  // namespace kos
