// The web framework: the scripted request, and answers written to standard output.
#include <json/reader.h>
#include <json/writer.h>

#include <cstdio>
#include <stdexcept>

#include "platform/texts/localized_string_parser.h"
#include "platform/web/server_form_handler.h"
#include "tests/recording/call.h"
#include "tests/recording/json_text.h"

using namespace recording;

struct WebMan::State {
    bool uploadLoaded = false;
};

WebMan::WebMan() : state_(std::make_unique<State>()) {}

WebMan::~WebMan() = default;

bool WebMan::IsAuthorized(const char* user, int privilege, int position)
{
    Detail("WebMan::IsAuthorized", user, privilege, position);
    return TheWorld().request.authorized;
}

bool WebMan::IsUploadRequest()
{
    Detail("WebMan::IsUploadRequest");
    return TheWorld().request.upload;
}

bool WebMan::LoadIn() { return Detail("WebMan::LoadIn") >= 0; }

bool WebMan::LoadIn(const char* directory)
{
    state_->uploadLoaded = Call("WebMan::LoadIn", directory) >= 0;
    return state_->uploadLoaded;
}

Json::Value* WebMan::In()
{
    Detail("WebMan::In");
    std::optional<Json::Value>& body = TheWorld().request.body;
    return body ? &*body : nullptr;
}

const char* WebMan::In(const char* name, const char* fallback)
{
    Detail("WebMan::In", name, fallback);
    const Request& request = TheWorld().request;
    if (state_->uploadLoaded && request.uploadPath && std::string(name) == "upload_file_tmp") {
        return request.uploadPath->c_str();
    }
    const auto parameter = request.parameters.find(name);
    return parameter == request.parameters.end() ? fallback : parameter->second.c_str();
}

void WebMan::WriteHeader(const char* contentType)
{
    Detail("WebMan::WriteHeader", contentType);
    std::printf("[header %s]\n", contentType);
}

void WebMan::WriteBody(const Json::Value& body)
{
    Detail("WebMan::WriteBody");
    std::printf("%s\n", Compact(body).c_str());
}

const char* WebMan::GetLoginUserName()
{
    Detail("WebMan::GetLoginUserName");
    const auto& name = TheWorld().request.loginName;
    return name ? name->c_str() : nullptr;
}

const char* WebMan::GetUILanguage()
{
    Detail("WebMan::GetUILanguage");
    return TheWorld().request.language.c_str();
}

ServerFormHandler::ServerFormHandler(bool background, const char* name)
{
    Detail("ServerFormHandler::ServerFormHandler", background, name);
}

ServerFormHandler::~ServerFormHandler() noexcept(false)
{
    Detail("ServerFormHandler::~ServerFormHandler");
}

int ServerFormHandler::ExLock() { return Call("ServerFormHandler::ExLock"); }

int ServerFormHandler::ShLock() { return Call("ServerFormHandler::ShLock"); }

Json::Value HALD::HDX::LocalizedStringParser::ParseTexts(const std::string& path)
{
    return Call("ParseTexts", path) < 0 ? Json::Value() : TheWorld().texts;
}

namespace recording {

std::string Compact(const Json::Value& value)
{
    Json::StreamWriterBuilder builder;
    builder["indentation"] = "";
    return Json::writeString(builder, value);
}

Json::Value ParseJson(const std::string& text)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder["strictRoot"] = false;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    Json::Value value;
    std::string errors;
    if (!reader->parse(text.data(), text.data() + text.size(), &value, &errors)) {
        throw std::logic_error("the test's own JSON is wrong: " + errors);
    }
    return value;
}

Json::Value With(Json::Value object, const std::string& members)
{
    const Json::Value more = ParseJson(members);
    for (const std::string& name : more.getMemberNames()) object[name] = more[name];
    return object;
}

}  // namespace recording
