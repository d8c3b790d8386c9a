// What the pages of the lists of rules have in common.
#include "host/libmailvane/lists/rule_pages.h"

#include <utility>

#include "host/libhaldcore/audit.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/stores/account_databases.h"

namespace host::lists {

bool RulePages::CanBeRead() const
{
    return Succeeded(Ask([](SQLite::Database&) { return true; }));
}

int RulePages::Count(const stores::RuleSearch& search) const
{
    return Status(
        Ask([&](SQLite::Database& store) { return stores::CountRules(store, rules(), search); }));
}

stores::Rules RulePages::Page(const stores::RuleSearch& search) const
{
    auto page =
        Ask([&](SQLite::Database& store) { return stores::PageOfRules(store, rules(), search); });
    return Succeeded(page) ? *std::move(page) : stores::Rules();
}

int RulePages::Export(const std::string& path,
                      const std::function<std::string(SQLite::Database&)>& text) const
{
    const Result<std::string> made = Ask(text);
    return Status(made ? names::WriteExport(path, *made) : made.reason());
}

save::ListChange RulePages::Adding(stores::Rule rule) const
{
    return [this, rule = std::move(rule)](SQLite::Database& store) -> Result<void> {
        if (stores::AddRule(store, rules(), rule)) return {};
        return Refused(Result<void>(stores::InTheWay(rule.name, Subject::Setting("name"))));
    };
}

save::ListChange RulePages::Importing(int type, const std::string& path, bool replaces) const
{
    return [this, type, path, replaces](SQLite::Database& store) -> Result<void> {
        Result<int> count = stores::ImportRules(store, rules(), type, path, replaces);
        if (!count && count.reason().causes.empty()) count = Refused(std::move(count));
        if (!count) return std::move(count).reason();
        NoteChange(std::string(what_) + " (" + std::to_string(*count) + " imported)");
        return {};
    };
}

int RulePages::Told(const Result<void>& done) const
{
    if (!done) {
        const std::string& reason = done.reason().text;
        NoteFailure(reason.empty() ? std::string(what_) + ": lines are refused" : reason);
    }
    return Status(done);
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
