// Removal of a cleared relay password from the earlier generations: from their mailvane.conf, and
// with the map made from it.
#include "host/libmailvane/save/cleared_password.h"

#include <unistd.h>

#include <cerrno>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/unconfirmed.h"
#include "host/libmailvane/generation/generation.h"

namespace host::save {

namespace {

const char kPassword[] = "smtp_relay_password";
const char* const kMadeFromIt[] = {"/postfix/maps/relay_password",
                                   "/postfix/maps/relay_password.cdb"};

/// Removes the password from a generation; false, with errno set, on failure.
bool ForgetPassword(const std::string& generation)
{
    const std::string settings = generation + "/mailvane.conf";
    auto file = KeyValueFile::Read(settings);
    if (!file) return errno == ENOENT;
    if (file->Get(kPassword).value_or("").empty()) return true;

    for (const char* map : kMadeFromIt) {
        if (unlink((generation + map).c_str()) < 0 && errno != ENOENT) return false;
    }
    return file->Set(kPassword, "") && file->Write(settings, 0600);
}

}  // namespace

void ForgetClearedPassword(const settings::StoredSettings& inForce)
{
    if (!inForce.Text(kPassword).empty() || FindUnconfirmedChange()) return;

    for (const std::string& name : generation::EarlierGenerations()) {
        const std::string directory = generation::GenerationDirectory(name);
        if (ForgetPassword(directory)) continue;
        Log(LOG_ERR, "the cleared password of the relay stays in %s: %s", directory.c_str(),
            ErrnoText());
    }
}

}  // namespace host::save
