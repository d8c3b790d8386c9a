// What the pages of the lists of rules have in common.
#include "host/libmailvane/lists/rule_pages.h"

#include <utility>

#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/stores/account_databases.h"

namespace host::lists {

bool RulePages::CanBeRead() const
{
    return Succeeded(stores::AskLists(what_, [](SQLite::Database&) { return true; }));
}

int RulePages::Count(const stores::RuleSearch& search) const
{
    return Status(stores::AskLists(what_, [&](SQLite::Database& store) {
        return stores::CountRules(store, rules(), search);
    }));
}

stores::Rules RulePages::Page(const stores::RuleSearch& search) const
{
    auto page = stores::AskLists(what_, [&](SQLite::Database& store) {
        return stores::PageOfRules(store, rules(), search);
    });
    return Succeeded(page) ? *std::move(page) : stores::Rules();
}

int RulePages::Export(const std::string& path,
                      const std::function<std::string(SQLite::Database&)>& text) const
{
    const Result<std::string> made = stores::AskLists(what_, text);
    return Status(made ? names::WriteExport(path, *made) : made.reason());
}

save::ListChange RulePages::Adding(stores::Rules rules, stores::Standing standing) const
{
    return [this, rules = std::move(rules), standing](SQLite::Database& store) -> Result<void> {
        const auto inTheWay = stores::AddRules(store, this->rules(), rules, standing);
        if (!inTheWay) return {};
        return Refused(Result<void>(Reason{ReasonCode::kTaken, inTheWay->name,
                                           "'" + inTheWay->name + "' stands on the list already"}));
    };
}

save::ListChange RulePages::Removing(stores::Rules rules) const
{
    return [this, rules = std::move(rules)](SQLite::Database& store) -> Result<void> {
        stores::RemoveRules(store, this->rules(), rules);
        return {};
    };
}

Result<void> RulePages::StoreAndApply(const save::ListChange& change,
                                      const save::SettingsChange& settingsChange) const
{
    return save::StoreAndApply(list_, what_, change, settingsChange);
}

Result<void> RulePages::Store(const save::ListChange& change) const
{
    return save::StoreChange(list_, what_, change);
}

}  // namespace host::lists
