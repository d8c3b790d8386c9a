// One name for a login, however it is spelled.
#include "host/libmailvane/names/login_key.h"

#include <algorithm>

namespace host::names {

std::string LoginKey(const std::string& login)
{
    std::string key = login.substr(login.find('\\') + 1);
    key.erase(std::min(key.find('@'), key.size()));
    std::transform(key.begin(), key.end(), key.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    return key;
}

}  // namespace host::names
