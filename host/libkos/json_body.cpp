// Parsing the JSON body of a request.
#include "host/libkos/json_body.h"

#include <json/reader.h>

#include <string_view>

#include "host/libhaldcore/utf8.h"
#include "platform/mailvane/reporter.h"

namespace kos {

namespace {

constexpr int kMaxDepth = 100;

/// Whether the text has a NUL byte or its escape \u0000. Callers read texts that end at a NUL and
/// would see another value than the one checked here.
bool HoldsNul(std::string_view text)
{
    if (text.find('\0') != std::string_view::npos) return true;

    for (std::size_t at = text.find('\\'); at < text.size(); at = text.find('\\', at + 2)) {
        if (text.substr(at + 1, 5) == "u0000") return true;
    }
    return false;
}

/// Whether all texts and names are UTF-8. They need not be although the body is: an escape can
/// stand for half of a surrogate pair.
bool IsUtf8(const Json::Value& value)
{
    const char* begin = nullptr;
    const char* end = nullptr;
    if (value.isString()) {
        return !value.getString(&begin, &end) ||
               host::IsUtf8({begin, static_cast<std::size_t>(end - begin)});
    }
    for (auto member = value.begin(); member != value.end(); ++member) {
        if (value.isObject() && !host::IsUtf8(member.name())) return false;
        if (!IsUtf8(*member)) return false;
    }
    return true;
}

bool Parse(const std::string& text, Json::Value& root)
{
    Json::CharReaderBuilder builder;
    Json::CharReaderBuilder::strictMode(&builder.settings_);
    builder.settings_["stackLimit"] = kMaxDepth;
    const std::unique_ptr<Json::CharReader> reader(builder.newCharReader());
    try {
        return reader->parse(text.data(), text.data() + text.size(), &root, nullptr);
    } catch (const Json::Exception&) {
        return false;  // too many levels
    }
}

}  // namespace

std::unique_ptr<Json::Value> ParseJsonBody(const std::string& text, const char*& reason)
{
    auto root = std::make_unique<Json::Value>();
    reason = nullptr;
    if (text.empty()) {
        reason = "an empty JSON body";
    } else if (HoldsNul(text)) {
        reason = "a NUL in the JSON body";
    } else if (!Parse(text, *root)) {
        reason = "a body that is not JSON";
    } else if (!root->isObject()) {
        reason = "a JSON body that is no object";
    } else if (!IsUtf8(*root)) {
        reason = "a JSON body that is not UTF-8";
    }
    return reason == nullptr ? std::move(root) : nullptr;
}

bool TypesPassword(const Json::Value& body)
{
    const Json::Value& password = body["auth_password"];
    return password.isString() && password.asString() != kReportPasswordMask;
}

}  // namespace kos
