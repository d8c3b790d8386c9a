// The name of the account behind a login.
#include "host/libmailvane/names/login_key.h"

#include <algorithm>

#include "host/libhaldcore/text.h"

namespace host::names {

std::string LoginKey(const std::string& login)
{
    std::string key = login.substr(login.find('\\') + 1);
    key.erase(std::min(key.find('@'), key.size()));
    return InLowerCase(key);
}

}  // namespace host::names
