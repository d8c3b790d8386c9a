// The mail filter script that carries out a user's personal settings.
#pragma once

#include <string>

#include "host/libmailvane/stores/personal_settings.h"

namespace host::render {

/// Text of the Sieve script; empty when there is nothing to do. The texts of the settings become
/// strings of the script, whatever they hold.
std::string RenderPersonalScript(const stores::PersonalSettings& settings);

}  // namespace host::render
