// The files made from blind carbon copies and sender quotas.
#include "host/libmailvane/names/login_key.h"
#include "host/libmailvane/render/lists.h"

namespace host::render {

ListTexts CopyTexts(const ListSources& sources)
{
    Texts texts(2);
    // Postfix finds a bare name for every mail domain of this server.
    for (const BccType type : {BCC_SENDER, BCC_RECIPIENT}) {
        stores::EachRule(sources.database, stores::kBccRules, type, [&](const stores::Rule& rule) {
            texts[type] += stores::BccLine(rule) + "\n";
        });
    }
    return texts;
}

ListTexts QuotaTexts(const ListSources& sources)
{
    generation::LongText text;
    SQLite::Statement all(sources.database, "SELECT login, quota FROM sender_quota ORDER BY login");
    while (all.executeStep()) {
        const std::string login = names::LoginKey(all.getColumn(0).getString());
        text += std::to_string(all.getColumn(1).getUInt()) + " " + login + "\n";
    }
    return TextsOf(std::move(text));
}

}  // namespace host::render
