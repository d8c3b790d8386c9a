// Maps and files that the lists of the package fill.
#include "host/libmailvane/list_maps.h"

#include "host/libhaldcore/log.h"
#include "host/libmailvane/account_databases.h"
#include "host/libmailvane/generation.h"
#include "host/libmailvane/judge.h"
#include "host/libmailvane/pending_save.h"
#include "host/libmailvane/write_scope.h"
#include "platform/mailvane/mail_scanner.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/spam.h"

namespace host {

namespace {

/// Files of a store that has no entries yet; throws when the store cannot be read.
std::vector<ListFile> EmptyFiles(AccountDatabase which, const std::vector<std::string>& names)
{
    (void)ReadAccountDatabase(which);
    std::vector<ListFile> files;
    files.reserve(names.size());
    for (const std::string& name : names) files.push_back({name, ""});
    return files;
}

int PutListsInForce(const std::vector<ListFile>& files)
{
    NextGeneration next;
    for (const ListFile& file : files) {
        if (file.isMap) {
            next.PutMap(file.name, file.text);
        } else {
            next.Put(file.name, file.text, 0644);
        }
    }
    if (!next.Complete()) return -1;
    if (!next.Changed("")) return 0;
    if (!MapsAnswer(next)) return -1;

    const std::string replaced = CurrentGeneration();
    if (!next.Commit()) return -1;

    // The scanner reads its lists when it starts.
    if (next.Changed("amavis/") && MailScanner::Service("restart") < 0) return -1;

    if (const auto pending = ReadPendingSave()) {
        // The save that is under way makes one generation of it all, and restarts Postfix itself.
        if (replaced != pending->before) RemoveGeneration(replaced);
        return 0;
    }
    PruneGenerations(replaced);
    return Postfix::Service("restart");
}

}  // namespace

std::vector<ListFile> BlackWhiteFiles()
{
    return EmptyFiles(AccountDatabase::kMailvane, {"black_senders"});
}

std::vector<ListFileMaker> AccountLists()
{
    return {AliasFiles, BlindCopyFiles, AccessFiles, QuotaFiles, BlackWhiteFiles};
}

int RebuildLists(const std::vector<ListFileMaker>& makers)
{
    return WithoutExceptions("maps", [&makers] {
        const WriteScope scope;
        if (!scope.ok()) return -1;

        std::vector<ListFile> files;
        for (const ListFileMaker maker : makers) {
            for (ListFile& file : maker()) files.push_back(std::move(file));
        }
        return PutListsInForce(files);
    });
}

}  // namespace host

int Spam::GenerateBlackWhite()
{
    return host::RebuildLists({host::BlackWhiteFiles});
}
