// One name for a login, however it is spelled.
#include "host/libmailvane/names/login_key.h"

#include <algorithm>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::names {

namespace {

constexpr std::size_t kLongestLogin = 255;

}  // namespace

std::string LoginKey(const std::string& login)
{
    std::string key = login.substr(login.find('\\') + 1);
    key.erase(std::min(key.find('@'), key.size()));
    return InLowerCase(key);
}

bool IsLogin(const std::string& text)
{
    return !LoginKey(text).empty() && text.size() <= kLongestLogin && IsPlainText(text);
}

}  // namespace host::names
