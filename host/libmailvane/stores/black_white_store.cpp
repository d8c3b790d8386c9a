// The black and the white list of the spam filter in etc/mailvane.db, table `black_white`.
#include "host/libmailvane/stores/black_white_store.h"

#include <algorithm>
#include <iterator>

#include "host/libmailvane/names/list_names.h"

namespace host::stores {
namespace {

const char* const kTypeNames[] = {"sender", "recipient", "client"};

NameType KindOf(int nameType)
{
    return static_cast<NameType>(nameType);
}

bool IsIp(const BlackWhite& entry)
{
    return entry.nameType == NAME_IP || entry.nameType == NAME_NETWORK;
}

/// Refuses an entry that cannot be stored.
Result<void> Judge(const BlackWhite& entry, bool nameIsGood)
{
    if (entry.type < TYPE_SENDER || entry.type > TYPE_CLIENT) {
        return Reason{ReasonCode::kNoChoice, Subject::Setting("type"), "there is no such type"};
    }
    if (!nameIsGood) {
        return Reason{ReasonCode::kNoName, Subject::Setting("name"),
                      "the name is none of its kind"};
    }
    // Clients have IP addresses or networks, senders and recipients mail addresses or domains.
    if (IsIp(entry) == (entry.type == TYPE_CLIENT)) return {};
    return Reason{ReasonCode::kWrongKind, Subject::Setting("nameType"),
                  "the type does not go with a name of this kind"};
}

}  // namespace

std::string BlackWhiteLine(const Rule& rule)
{
    return std::string(kTypeNames[rule.type]) + " " +
           names::NameInText(KindOf(rule.nameType), rule.name);
}

Result<Rule> ParseBlackWhiteLine(const std::string& line, int which)
{
    const auto end = line.find(' ');
    const auto second = line.find_first_not_of(' ', end);
    const bool isAlone = second == std::string::npos;
    const auto* type = std::find(std::begin(kTypeNames), std::end(kTypeNames), line.substr(0, end));
    if (isAlone != (type == std::end(kTypeNames))) {
        return Reason{ReasonCode::kNoEntry, line, "is not sender, recipient or client and a name"};
    }
    BlackWhite entry;
    entry.blackWhite = which;
    entry.name = isAlone ? line : line.substr(second);
    entry.nameType = names::KindInText(entry.name);
    const int typeOfKind = IsIp(entry) ? TYPE_CLIENT : TYPE_SENDER;
    entry.type = isAlone ? typeOfKind : static_cast<int>(type - std::begin(kTypeNames));
    return StoredRule(entry);
}

BlackWhiteType ListOf(int blackWhite)
{
    return blackWhite == BLACK_LIST ? BLACK_LIST : WHITE_LIST;
}

Result<Rule> StoredRule(const BlackWhite& entry)
{
    const std::optional<std::string> name = names::StoredName(KindOf(entry.nameType), entry.name);
    Result<void> judged = Judge(entry, name.has_value());
    if (!judged) return std::move(judged).reason();
    return Rule{entry.type, *name, entry.nameType, std::to_string(ListOf(entry.blackWhite))};
}

Rule KeyOf(const BlackWhite& entry)
{
    return {entry.type, names::StoredName(KindOf(entry.nameType), entry.name).value_or(entry.name),
            entry.nameType, std::to_string(ListOf(entry.blackWhite))};
}

RuleSearch SearchOf(const BlackWhiteFilter& filter)
{
    RuleSearch search;
    search.start = filter.start;
    search.limit = filter.limit;
    search.condition = Contains(search, "name", filter.searchKey);
    if (filter.searchType >= 0) {
        search.condition += " AND black_white = :list";
        search.bound.push_back({":list", std::to_string(ListOf(filter.searchType))});
    }
    if (filter.type >= 0) {
        search.condition += " AND type = :type";
        search.bound.push_back({":type", std::to_string(filter.type)});
    }
    return search;
}

std::list<BlackWhite> BlackWhiteEntries(const Rules& rules)
{
    std::list<BlackWhite> entries;
    for (const Rule& rule : rules) {
        entries.push_back({rule.name, ValueAsNumber(rule), rule.type, rule.nameType});
    }
    return entries;
}

}  // namespace host::stores
