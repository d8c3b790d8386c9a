// Rebuilding the files that lists fill, and activating them as a generation.
#include "host/libmailvane/save/rebuild_lists.h"

#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/access_maps.h"
#include "host/libmailvane/render/alias_maps.h"
#include "host/libmailvane/render/black_white_files.h"
#include "host/libmailvane/render/plain_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/save/validate.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

namespace host::save {

namespace {

/// Restarts the scanner, which reads its lists when it starts, and the mail server. Failures are
/// logged by the services.
Result<void> RestartReaders(bool scanner, bool mailServer)
{
    const bool scannerIsUp = !scanner || MailScanner::Service("restart") >= 0;
    const bool mailServerIsUp = !mailServer || Postfix::Service("restart") >= 0;
    if (scannerIsUp && mailServerIsUp) return {};
    const std::string down(scannerIsUp ? daemons::kPostfix.label : daemons::kScanner.label);
    return Reason{ReasonCode::kDaemonIsDown, down, "the " + down + " does not come up again"};
}

Result<void> ActivateLists(const std::vector<generation::ListFile>& files)
{
    generation::NextGeneration next;
    for (const generation::ListFile& file : files) {
        if (file.isMap) {
            next.PutMap(file.name, file.text);
        } else {
            next.Put(file.name, file.text, 0644);
        }
    }
    Result<void> done = next.Complete();
    if (!done || !next.Changed("")) return done;

    done = MapsAnswer(next);
    const std::string replaced = generation::CurrentGeneration();
    if (done) done = next.Commit();
    if (!done) return done;

    // On a machine that is not handed over, its own mail servers read none of these files.
    const bool ours = daemons::ServicesAreOurs();
    const bool scanner = ours && next.Changed("amavis/");
    if (const auto pending = generation::ReadPendingSave()) {
        // Within a save only the last of several generations is kept, and the save restarts Postfix
        // itself.
        if (replaced != pending->before) generation::RemoveGeneration(replaced);
        return RestartReaders(scanner, false);
    }
    generation::PruneGenerations(replaced);
    return RestartReaders(scanner, ours);
}

}  // namespace

std::vector<ListFileMaker> AccountLists()
{
    return {render::AliasFiles, render::BccFiles, render::AccessFiles, render::QuotaFiles,
            render::BlackWhiteFiles};
}

Result<void> RebuildLists(const std::vector<ListFileMaker>& makers)
{
    const WriteScope scope;
    if (!scope.ready()) return scope.ready();

    std::vector<generation::ListFile> files;
    for (const ListFileMaker& maker : makers) {
        Result<std::vector<generation::ListFile>> made = maker().Prefixed("maps: ");
        if (!made) return std::move(made).reason();
        for (generation::ListFile& file : *made) files.push_back(std::move(file));
    }
    return ActivateLists(files);
}

}  // namespace host::save
