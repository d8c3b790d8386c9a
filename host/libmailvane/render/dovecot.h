// Dovecot's configuration.
#pragma once

#include <string>

#include "host/libmailvane/render/context.h"
#include "host/libmailvane/settings/stored_settings.h"

namespace host::render {

/// Whether a text of Dovecot's configuration was made for a kernel with IPv6.
bool ListensOnIpv6(const std::string& dovecotConfiguration);

/// Text of Dovecot's configuration.
std::string RenderDovecot(const settings::StoredSettings& settings, const RenderContext& context);

}  // namespace host::render
