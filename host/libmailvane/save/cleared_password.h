// Removal of a cleared relay password from the earlier generations.
#pragma once

#include "host/libmailvane/settings/stored_settings.h"

namespace host::save {

/// When the settings in force have no password for the relay, removes it from the earlier
/// generations too, where it would stay readable and return by a rollback. Not while a change
/// waits to be confirmed, which may bring it back. Failures are logged.
void ForgetClearedPassword(const settings::StoredSettings& inForce);

}  // namespace host::save
