// What a user types into a mail program.
#pragma once

#include <json/value.h>

#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace upkeep {

/// The mail address of a user.
std::string AddressOf(const std::string& name, const host::settings::StoredSettings& settings);

/// Address, login, servers and certificate, as `user_show` answers.
host::Result<Json::Value> MailAccess(const std::string& name,
                                     const host::settings::StoredSettings& settings);

}  // namespace upkeep
