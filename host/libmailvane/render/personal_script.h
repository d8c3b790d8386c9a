// The Sieve script of a user's personal settings.
#pragma once

#include <string>

#include "host/libmailvane/stores/personal_settings.h"

namespace host::render {

/// Text of the script; empty when no setting needs one. Texts of the user are quoted, so they
/// cannot add commands.
std::string RenderPersonalScript(const stores::PersonalSettings& settings);

}  // namespace host::render
