// The files made from blind carbon copies and sender quotas.
#include "host/libmailvane/render/plain_lists.h"

#include "host/libmailvane/names/login_key.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::render {

std::vector<generation::ListFile> BccFiles()
{
    std::optional<SQLite::Database> store = stores::OpenListStore();
    if (!store) return {{"sender_bcc", ""}, {"recipient_bcc", ""}};
    // For a name without a domain Postfix finds the entry for all mail domains of this server.
    return {{"sender_bcc", stores::BccText(*store, BCC_SENDER)},
            {"recipient_bcc", stores::BccText(*store, BCC_RECIPIENT)}};
}

std::vector<generation::ListFile> QuotaFiles()
{
    std::string text;
    if (auto store = stores::OpenListStore()) {
        SQLite::Statement all(*store, "SELECT login, quota FROM sender_quota ORDER BY login");
        while (all.executeStep()) {
            const std::string login = names::LoginKey(all.getColumn(0).getString());
            text += std::to_string(all.getColumn(1).getUInt()) + " " + login + "\n";
        }
    }
    return {{generation::kQuotaFile, text, false}};
}

}  // namespace host::render
