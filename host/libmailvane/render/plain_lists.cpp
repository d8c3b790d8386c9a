// The files made from blind carbon copies and sender quotas.
#include "host/libmailvane/render/plain_lists.h"

#include "host/libmailvane/names/login_key.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::render {

namespace {

using Files = std::vector<generation::ListFile>;

/// Postfix finds a bare name for every mail domain of this server.
Files CopyMaps(SQLite::Database& store)
{
    return {{"sender_bcc", stores::BccText(store, BCC_SENDER)},
            {"recipient_bcc", stores::BccText(store, BCC_RECIPIENT)}};
}

Files QuotaFile(SQLite::Database& store)
{
    std::string text;
    SQLite::Statement all(store, "SELECT login, quota FROM sender_quota ORDER BY login");
    while (all.executeStep()) {
        const std::string login = names::LoginKey(all.getColumn(0).getString());
        text += std::to_string(all.getColumn(1).getUInt()) + " " + login + "\n";
    }
    return {{generation::kQuotaFile, text, false}};
}

}  // namespace

Result<Files> BccFiles()
{
    return stores::ReadLists("blind copies", CopyMaps);
}

Result<Files> QuotaFiles()
{
    return stores::ReadLists("sender quotas", QuotaFile);
}

}  // namespace host::render
