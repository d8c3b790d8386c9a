// The parameters of calls.
#include "upkeep/call.h"

#include <algorithm>
#include <charconv>

namespace upkeep {

std::string Parameters::Text(const char* name) const
{
    const Json::Value& member = members_[name];
    return member.isString() ? member.asString() : "";
}

std::vector<std::string> Parameters::Texts(const char* name) const
{
    std::vector<std::string> texts;
    for (const Json::Value& one : members_[name]) {
        if (one.isString()) texts.push_back(one.asString());
    }
    return texts;
}

std::size_t Parameters::Number(const char* name, std::size_t fallback, std::size_t most) const
{
    const Json::Value& member = members_[name];
    if (member.isUInt64()) {
        return static_cast<std::size_t>(std::min<Json::UInt64>(member.asUInt64(), most));
    }
    const std::string text = Text(name);
    std::size_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    return text.empty() || stop != end || error != std::errc() ? fallback : std::min(number, most);
}

bool Parameters::IsOn(const char* name) const
{
    const Json::Value& member = members_[name];
    return member.isBool() ? member.asBool() : Text(name) == "true";
}

}  // namespace upkeep
