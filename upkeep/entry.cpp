// The program's work on one request: the call, and its answer as JSON.
#include "upkeep/entry.h"

#include <cstdlib>
#include <exception>

#include "host/libhaldcore/log.h"
#include "upkeep/call_table.h"

namespace upkeep {

namespace {

Answer UnknownCall()
{
    return host::Reason{host::ReasonCode::kMissing, host::Subject::Setting(kCallMember),
                        "there is no such call"};
}

Answer Run(WebMan& web)
{
    const Request request(web);
    const std::string name = request.Text(kCallMember);
    const Call* const call = web.In() != nullptr ? FindChange(name) : FindRead(name);
    return call != nullptr ? call->run(request) : UnknownCall();
}

void Send(WebMan& web, const Answer& answer)
{
    const bool done = host::Succeeded(answer);
    Json::Value body = done ? *answer : Json::Value(Json::objectValue);
    body["success"] = done;
    web.WriteHeader("");
    web.WriteBody(body);
}

}  // namespace

int AnswerRequest()
{
    try {
        const CallRules rules;
        WebMan web(rules);
        if (!web.IsAuthorized(nullptr, 3, 1)) return EXIT_SUCCESS;
        // An upload is no call: it is not read.
        if (!web.IsUploadRequest()) (void)web.LoadIn();
        Send(web, web.IsUploadRequest() ? UnknownCall() : Run(web));
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        host::Log(LOG_ERR, "%s", error.what());
        return EXIT_FAILURE;
    }
}

}  // namespace upkeep
