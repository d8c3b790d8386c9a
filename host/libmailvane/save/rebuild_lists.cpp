// Putting what lists fill in force.
#include "host/libmailvane/save/rebuild_lists.h"

#include <algorithm>

#include "host/libhaldcore/log.h"
#include "host/libmailvane/daemons/service_control.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/generation/pending_save.h"
#include "host/libmailvane/render/access_maps.h"
#include "host/libmailvane/render/alias_maps.h"
#include "host/libmailvane/render/black_white_files.h"
#include "host/libmailvane/render/plain_lists.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/save/validate.h"
#include "host/libmailvane/system/database.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"

namespace host::save {

namespace {

int PutListsInForce(const std::vector<generation::ListFile>& files)
{
    generation::NextGeneration next;
    for (const generation::ListFile& file : files) {
        if (file.isMap) {
            next.PutMap(file.name, file.text);
        } else {
            next.Put(file.name, file.text, 0644);
        }
    }
    if (!next.Complete()) return -1;
    if (!next.Changed("")) return 0;
    if (!MapsAnswer(next)) return -1;

    const std::string replaced = generation::CurrentGeneration();
    if (!next.Commit()) return -1;

    // The scanner reads its lists when it starts. Nothing reads them on a machine that is not ours.
    const bool ours = daemons::ServicesAreOurs();
    const int scanner = ours && next.Changed("amavis/") ? MailScanner::Service("restart") : 0;
    if (const auto pending = generation::ReadPendingSave()) {
        // The save that is under way makes one generation of it all, and restarts Postfix itself.
        if (replaced != pending->before) generation::RemoveGeneration(replaced);
        return scanner;
    }
    generation::PruneGenerations(replaced);
    const int mailServer = ours ? Postfix::Service("restart") : 0;
    return std::min(scanner, mailServer);
}

}  // namespace

std::vector<ListFileMaker> AccountLists()
{
    return {render::AliasFiles, render::BlindCopyFiles, render::AccessFiles, render::QuotaFiles,
            render::BlackWhiteFiles};
}

int RebuildLists(const std::vector<ListFileMaker>& makers)
{
    return system::WithoutExceptions("maps", [&makers] {
        const WriteScope scope;
        if (!scope.ok()) return -1;

        std::vector<generation::ListFile> files;
        for (const ListFileMaker& maker : makers) {
            for (generation::ListFile& file : maker()) files.push_back(std::move(file));
        }
        return PutListsInForce(files);
    });
}

}  // namespace host::save
