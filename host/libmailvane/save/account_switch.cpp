// Healing: making the account databases match the settings; and switching them to what a save
// wants.
#include "host/libmailvane/save/account_switch.h"

#include "host/libhaldcore/lock.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/save/exchange.h"
#include "host/libmailvane/stores/account_data.h"

namespace host::save {

namespace {

/// Removes the mark of a switch that was taken back. One whose save was committed is the next
/// writer's to finish.
Result<void> EndSwitch()
{
    const auto mark = generation::ReadPendingSave();
    if (!mark || mark->change != generation::kAccountSwitch) return {};
    if (mark->before != generation::CurrentGeneration()) return {};
    return generation::ClearPendingSave();
}

}  // namespace

Result<void> HealAccounts(const settings::AccountCombination& stored)
{
    if (stores::AccountDataIsSound(stored) && !generation::SwitchIsMarked()) return {};

    const ScopedLock lock(std::chrono::milliseconds(0));
    // An exchange that a killed process left unfinished is completed or undone by the next writer.
    if (!lock.held() || ExchangeIsUnderWay()) return {};

    // Read again under the lock: another process may have healed the databases or changed the
    // settings.
    const auto current = settings::StoredSettings::Read();
    if (!current) return current.reason();

    Result<void> healed = stores::HealAccountData(current->Account());
    return healed ? EndSwitch() : healed;
}

Result<bool> SwitchIsUnderWay(const settings::AccountCombination& stored)
{
    if (generation::SwitchIsMarked()) return true;
    if (!LockIsInherited() || stores::AccountDataIsSound(stored)) return false;

    Result<void> marked =
        generation::MarkPendingSave({generation::CurrentGeneration(), generation::kAccountSwitch});
    if (!marked) return std::move(marked).reason();
    return true;
}

bool EndsSwitch(const settings::AccountCombination& stored,
                const settings::AccountCombination& wanted)
{
    return generation::SwitchIsMarked() || !(stored == wanted);
}

Result<void> SwitchAccounts(settings::StoredSettings& wanted)
{
    Result<void> done =
        generation::MarkPendingSave({generation::CurrentGeneration(), generation::kAccountSwitch});
    if (!done) return done;
    const bool wasParked = stores::ParkedAlwaysBcc(wanted.Account()).has_value();
    done = stores::SwitchDatabases(wanted.Account());
    if (!done) return done;

    // Of a switch that leads nowhere, what was parked at its beginning is the true one; of one to
    // another spelling of the domain, what has come from there.
    const auto stored = settings::StoredSettings::Read();
    const auto address = stores::ParkedAlwaysBcc(wanted.Account());
    const bool leadsNowhere = stored && stored->Account() == wanted.Account();
    if (address && (leadsNowhere || !wasParked)) wanted.SetAlwaysBcc(*address);
    return {};
}

}  // namespace host::save
