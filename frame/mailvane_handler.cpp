// The request handler: authorization, choice between upload, read and write actions, answers.
#include "frame/mailvane_handler.h"

MailvaneHandler::MailvaneHandler() : ServerFormHandler(false, nullptr) {}

MailvaneHandler::~MailvaneHandler() noexcept(false) = default;

void MailvaneHandler::Run()
{
    if (!IsAuthorizedAdmin()) return;

    if (web_.IsUploadRequest()) {
        HandleUpload();
        return;
    }
    // A request that cannot be loaded has been answered by the platform, which then throws.
    (void)web_.LoadIn();
    Json::Value* body = web_.In();
    if (body == nullptr) {
        ReadDispatch();
    } else {
        WriteDispatch(*body);
    }
}

void MailvaneHandler::PreHook() {}

void MailvaneHandler::PostHook() {}

bool MailvaneHandler::IsAuthorizedAdmin()
{
    return web_.IsAuthorized(nullptr, 3, 1);
}

void MailvaneHandler::SetSuccess(Json::Value& response, bool success)
{
    response["success"] = success;
}

void MailvaneHandler::SetError(Json::Value& response, const char* section, const char* key)
{
    response["errinfo"]["sec"] = section;
    response["errinfo"]["key"] = key;
}

void MailvaneHandler::SetErrorLine(Json::Value& response, const char* section, const char* key,
                                   int line)
{
    SetError(response, section, key);
    response["errinfo"]["line"] = line;
}

void MailvaneHandler::SendResponse(const Json::Value& response)
{
    SendResponseAs(response, "");
}

void MailvaneHandler::SendResponseAs(const Json::Value& response, const char* contentType)
{
    web_.WriteHeader(contentType);
    web_.WriteBody(response);
}

void MailvaneHandler::SendDemoRefusal()
{
    Json::Value response;
    Answer(response, Outcome::Fail("common", "error_demo"));
}

void MailvaneHandler::Answer(Json::Value& response, const Outcome& outcome)
{
    if (outcome.Line()) {
        SetErrorLine(response, outcome.Section(), outcome.Key(), *outcome.Line());
    } else if (outcome.Section() != nullptr) {
        SetError(response, outcome.Section(), outcome.Key());
    }
    SetSuccess(response, outcome.Ok());
    SendResponse(response);
}
