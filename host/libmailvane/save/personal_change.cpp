// Changing the personal settings of a user.
#include "host/libmailvane/save/personal_change.h"

#include "host/libhaldcore/log.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/render/personal_script.h"
#include "host/libmailvane/system/user_script.h"

namespace host::save {

namespace {

const char kChange[] = "personal ";

}  // namespace

Result<void> StoreAndApplyPersonal(const system::MailAccount& account,
                                   const stores::PersonalSettings& before,
                                   const stores::PersonalSettings& after, bool anew)
{
    const std::string old = render::RenderPersonalScript(before);
    const std::string script = render::RenderPersonalScript(after);
    if (!anew && script == old) return stores::WritePersonalSettings(account, after);

    Result<void> done =
        generation::MarkPendingSave({generation::CurrentGeneration(), kChange + account.name});
    if (!done) return done;

    // What fails there, fails in the user's home.
    done = system::PutUserScript(account, script).About(Subject::Setting("user"));
    if (done) done = stores::WritePersonalSettings(account, after);
    // Where the old script cannot be put back, the mark stays for the next writer.
    if (!done && !Succeeded(system::PutUserScript(account, old))) return done;
    (void)Succeeded(generation::ClearPendingSave());
    return done;
}

std::optional<std::string> UserOfChange(const generation::PendingSave& mark)
{
    const std::string beginning = kChange;
    if (mark.change.rfind(beginning, 0) != 0) return std::nullopt;
    return mark.change.substr(beginning.size());
}

Result<void> FinishPersonalChange(const std::string& user)
{
    const Result<system::MailAccount> account = system::FindMailAccount(user);
    if (!account) {
        if (account.reason().code == ReasonCode::kDaemonIsDown) return account.reason();
        Log(LOG_WARNING, "no script for personal settings: %s", account.reason().text.c_str());
        return {};
    }
    const auto settings = stores::ReadPersonalSettings(*account);
    if (!settings) return settings.reason();
    return system::PutUserScript(*account, render::RenderPersonalScript(*settings));
}

}  // namespace host::save
