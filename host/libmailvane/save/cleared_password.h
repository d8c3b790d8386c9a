// A password that was cleared, in the generations that are kept.
#pragma once

#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// Where the settings in force have no password for the relay, takes it out of the earlier
/// generations too: it would lie there for long, and come back by a rollback. What cannot be
/// changed is logged.
void ForgetClearedPassword(const settings::StoredSettings& inForce);

}  // namespace host::save
