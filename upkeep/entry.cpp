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

void Send(WebMan& web, const Answer& answer)
{
    const bool done = host::Succeeded(answer);
    Json::Value body = done ? *answer : Json::Value(Json::objectValue);
    body["success"] = done;
    web.WriteHeader("");
    web.WriteBody(body);
}

void SendDownload(WebMan& web, const host::Result<Download>& download)
{
    if (!download) {
        Send(web, download.reason());
        return;
    }
    web.WriteDownloadHeader(download->name);
    download->write();
}

void Run(WebMan& web)
{
    const Request request(web);
    const std::string name = request.Text(kCallMember);
    const Call* const call = web.In() != nullptr ? FindChange(name) : FindRead(name);
    if (call == nullptr) {
        Send(web, UnknownCall());
    } else if (call->download != nullptr) {
        SendDownload(web, call->download(request));
    } else {
        Send(web, call->run(request));
    }
}

}  // namespace

int AnswerRequest()
{
    try {
        const CallRules rules;
        WebMan web(rules);
        if (!web.IsAuthorized(nullptr, 3, 1)) return EXIT_SUCCESS;
        // An upload is no call: it is not read.
        if (web.IsUploadRequest()) {
            Send(web, UnknownCall());
        } else {
            (void)web.LoadIn();
            Run(web);
        }
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        host::Log(LOG_ERR, "%s", error.what());
        return EXIT_FAILURE;
    }
}

}  // namespace upkeep
