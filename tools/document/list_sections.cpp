// The sections of the lists that mailvane.db holds, and of the refused types of attachments.
#include <algorithm>
#include <charconv>
#include <limits>
#include <optional>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/stores/black_white_store.h"
#include "host/libmailvane/stores/rule_store.h"
#include "host/libmailvane/stores/sender_quota_table.h"
#include "host/libmailvane/system/database.h"
#include "tools/document/section.h"
#include "tools/document/yaml_text.h"

namespace document {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::stores::AccountDatabase;
using host::stores::Rule;
using host::stores::Rules;

/// Asks the copy of mailvane.db in the folder of a state.
template <typename Query>
Result<Entries> Ask(const Section& section, const State& state, Query query)
{
    auto store = host::stores::ReadCopy(AccountDatabase::kMailvane, state.folder);
    if (!store) return std::move(store).reason();
    return host::system::Attempt(std::string(section.name), [&] { return query(*store); });
}

/// Changes that copy, all or nothing.
template <typename Change>
Result<void> ChangeStore(const Section& section, const State& state, Change change)
{
    auto store = host::stores::ChangeCopy(AccountDatabase::kMailvane, state.folder);
    if (!store) return std::move(store).reason();
    return host::system::Attempt(std::string(section.name), [&] {
        SQLite::Transaction transaction(*store);
        change(*store);
        transaction.commit();
    });
}

Entries EntriesOf(const Section& section, const Rules& rules)
{
    Entries entries;
    for (const Rule& rule : rules) {
        entries.push_back({section.list->rules->line(rule), "", "", ""});
    }
    return entries;
}

/// The rules of a section as they are stored.
Rules StoredRules(const Section& section, SQLite::Database& store)
{
    if (section.list != &host::render::kBlackWhiteList) {
        return host::stores::ReadRules(store, *section.list->rules, section.type);
    }
    BlackWhiteFilter filter;
    filter.searchType = section.type;
    filter.limit = std::numeric_limits<int>::max();
    return host::stores::PageOfRules(store, *section.list->rules, host::stores::SearchOf(filter));
}

/// What no two rules of a table share.
std::string KeyOf(const Section& section, const Rule& rule)
{
    return std::string(section.list->rules->table) + " " + std::to_string(rule.type) + " " +
           std::to_string(rule.nameType) + " " + rule.name;
}

/// The rules of the document; a fault for each line that is none, or says something of a name that
/// another line has.
Rules RulesOf(const Section& section, const Node& node, Merge& merge)
{
    Rules rules;
    for (const Line& line : LinesOf(section, node, merge)) {
        Result<Rule> rule = section.list->rules->parse(line.text, section.type);
        if (!rule) {
            merge.faults.push_back(FaultAt(line.line, std::string(section.name), rule.reason()));
        } else if (!merge.rules.insert(KeyOf(section, *rule)).second) {
            merge.faults.push_back({line.line, std::string(section.name), ReasonCode::kGivenTwice,
                                    "the document has an entry of this name before"});
        } else {
            rules.push_back(*std::move(rule));
        }
    }
    return rules;
}

/// A rule as a key, whatever it says.
Rules KeysOf(const Rules& rules)
{
    Rules keys = rules;
    for (Rule& key : keys) key.value.clear();
    return keys;
}

std::optional<unsigned> NumberIn(const std::string& text)
{
    unsigned number = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || rest != end) return std::nullopt;
    return number;
}

}  // namespace

Result<Entries> ReadRuleSection(const Section& section, const State& state)
{
    return Ask(section, state, [&section](SQLite::Database& store) {
        return EntriesOf(section, StoredRules(section, store));
    });
}

Result<void> MergeRules(const Section& section, const Node& node, Merge& merge)
{
    const Rules wanted = RulesOf(section, node, merge);
    const host::stores::RuleList& list = *section.list->rules;
    return ChangeStore(section, merge.state, [&](SQLite::Database& store) {
        if (merge.prunes) host::stores::RemoveRules(store, list, StoredRules(section, store));
        host::stores::RemoveRules(store, list, KeysOf(wanted));
        for (const Rule& rule : wanted) (void)host::stores::AddRule(store, list, rule);
    });
}

Result<Entries> ReadLimits(const Section& section, const State& state)
{
    return Ask(section, state, [](SQLite::Database& store) {
        Entries entries;
        for (const auto& [login, quota] : host::stores::QuotasIn(store)) {
            entries.push_back({login, " " + std::to_string(*quota) + "\n", "", ""});
        }
        return entries;
    });
}

Result<void> MergeLimits(const Section& section, const Node& node, Merge& merge)
{
    std::vector<host::stores::QuotaChange> changes;
    std::set<std::string> logins;
    for (const auto& [login, value] : ValuesOf(section, node, merge)) {
        const std::optional<unsigned> quota = NumberIn(value.text);
        std::optional<ReasonCode> fault;
        if (!quota) fault = ReasonCode::kOutOfRange;
        if (!host::names::IsLogin(login)) fault = ReasonCode::kBadFormat;
        if (!logins.insert(host::InLowerCase(login)).second) fault = ReasonCode::kGivenTwice;
        if (fault) merge.faults.push_back({value.line, PathOf(section, login), *fault, ""});
        changes.push_back({login, quota});
    }
    return ChangeStore(section, merge.state, [&](SQLite::Database& store) {
        std::vector<host::stores::QuotaChange> removals;
        for (const auto& stored : host::stores::QuotasIn(store)) {
            if (merge.prunes) removals.push_back({stored.login, std::nullopt});
        }
        host::stores::ChangeQuotas(store, removals);
        host::stores::ChangeQuotas(store, changes);
    });
}

Result<Entries> ReadAttachments(const Section& /*section*/, const State& state)
{
    const auto types = host::stores::AttachmentTypes(state.folder);
    if (!types) return types.reason();
    Entries entries;
    for (const std::string& type : *types) entries.push_back({type, "", "", ""});
    return entries;
}

Result<void> MergeAttachments(const Section& section, const Node& node, Merge& merge)
{
    auto types = host::stores::AttachmentTypes(merge.state.folder);
    if (!types) return std::move(types).reason();
    if (merge.prunes) types->clear();
    for (const Line& line : LinesOf(section, node, merge)) {
        const std::optional<std::string> type = host::stores::StoredAttachmentType(line.text);
        if (!type) {
            merge.faults.push_back({line.line, std::string(section.name), ReasonCode::kBadFormat,
                                    "is no type of files"});
        } else if (std::find(types->begin(), types->end(), *type) == types->end()) {
            types->push_back(*type);
        }
    }
    return host::stores::StoreAttachmentTypes(*types, merge.state.folder);
}

}  // namespace document
