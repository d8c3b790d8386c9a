// What blind copies and sender quotas fill: their entries as they stand.
#include "host/libmailvane/render/plain_lists.h"

#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/list_store.h"
#include "host/libmailvane/names/login_key.h"

namespace host {

std::vector<ListFile> BlindCopyFiles()
{
    std::optional<SQLite::Database> store = OpenListStore();
    if (!store) return {{"sender_bcc", ""}, {"recipient_bcc", ""}};
    // Postfix finds a bare name for every mail domain of this server.
    return {{"sender_bcc", BccText(*store, BCC_SENDER)},
            {"recipient_bcc", BccText(*store, BCC_RECIPIENT)}};
}

std::vector<ListFile> QuotaFiles()
{
    std::string text;
    if (auto store = OpenListStore()) {
        SQLite::Statement all(*store, "SELECT login, quota FROM sender_quota ORDER BY login");
        while (all.executeStep()) {
            const std::string login = LoginKey(all.getColumn(0).getString());
            text += std::to_string(all.getColumn(1).getUInt()) + " " + login + "\n";
        }
    }
    return {{kQuotaFile, text, false}};
}

}  // namespace host
