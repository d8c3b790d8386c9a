// Changing the personal settings of a user: what is stored and the script that carries it out, both
// or neither.
#pragma once

#include <optional>
#include <string>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/stores/personal_settings.h"

namespace host::save {

/// Puts changed settings in force and stores them. `anew`: the script is written even when it says
/// the same as before. Requires the request lock.
Result<void> StoreAndApplyPersonal(const system::MailAccount& account,
                                   const stores::PersonalSettings& before,
                                   const stores::PersonalSettings& after, bool anew);

/// The user whose change a mark names; nothing for one that names another change.
std::optional<std::string> UserOfChange(const generation::PendingSave& mark);

/// Puts the script in force that the stored settings of a user ask for. One who is no user of this
/// machine has none.
Result<void> FinishPersonalChange(const std::string& user);

}  // namespace host::save
