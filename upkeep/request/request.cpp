// What was sent with a call.
#include "upkeep/request/request.h"

#include <algorithm>
#include <charconv>

namespace upkeep {

const Json::Value& Request::Member(const char* name) const
{
    const Json::Value* const body = web_.In();
    return body == nullptr ? Json::Value::nullSingleton() : (*body)[name];
}

std::string Request::Text(const char* name) const
{
    const Json::Value& member = Member(name);
    return member.isString() ? member.asString() : web_.In(name, "");
}

std::vector<std::string> Request::Texts(const char* name) const
{
    std::vector<std::string> texts;
    const Json::Value& member = Member(name);
    if (!member.isArray()) return texts;
    for (const Json::Value& one : member) {
        if (one.isString()) texts.push_back(one.asString());
    }
    return texts;
}

std::size_t Request::Number(const char* name, std::size_t fallback, std::size_t most) const
{
    const Json::Value& member = Member(name);
    if (member.isUInt64()) {
        return static_cast<std::size_t>(std::min<Json::UInt64>(member.asUInt64(), most));
    }
    const std::string text = Text(name);
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error == std::errc::result_out_of_range) return most;
    return text.empty() || stop != end || error != std::errc() ? fallback : std::min(number, most);
}

bool Request::IsOn(const char* name) const
{
    const Json::Value& member = Member(name);
    return member.isBool() ? member.asBool() : Text(name) == "true";
}

std::string Request::Caller() const
{
    const char* const name = web_.GetLoginUserName();
    return name != nullptr ? name : "";
}

Answer Done(host::Result<void> result)
{
    if (!result) return std::move(result).reason();
    return Json::Value(Json::objectValue);
}

}  // namespace upkeep
