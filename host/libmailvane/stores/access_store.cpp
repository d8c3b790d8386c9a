// The access lists in etc/mailvane.db, table `access`.
#include "host/libmailvane/stores/access_store.h"

#include "host/libmailvane/names/list_names.h"

namespace host::stores {
namespace {

AccessInfo EntryOf(const Rule& rule)
{
    AccessInfo entry;
    entry.type = static_cast<Type>(rule.type);
    entry.name = rule.name;
    entry.nameType = static_cast<NameType>(rule.nameType);
    entry.status = static_cast<AccessStatus>(ValueAsNumber(rule));
    return entry;
}

/// Whether a list can have names of this kind. All have domains; only the list of clients has IP
/// addresses and networks, only the others have mail addresses.
bool SuitsList(Type type, NameType kind)
{
    if (kind == NAME_DOMAIN || kind == NAME_DOMAIN_TREE) return true;
    return (kind == NAME_ADDRESS) != (type == TYPE_CLIENT);
}

/// Refuses an entry that cannot be stored.
Result<void> Judge(const AccessInfo& entry, bool nameIsGood)
{
    if (entry.type < TYPE_SENDER || entry.type > TYPE_CLIENT) {
        return Reason{ReasonCode::kNoChoice, Subject::Setting("accessType"),
                      "there is no such list"};
    }
    if (entry.status < ACCESS_OK || entry.status >= ACCESS_UNKNOWN) {
        return Reason{ReasonCode::kNoChoice, Subject::Setting("permission"),
                      "there is no such permission"};
    }
    if (!nameIsGood) {
        return Reason{ReasonCode::kNoName, Subject::Setting("name"),
                      "the name is none of its kind"};
    }
    if (SuitsList(entry.type, entry.nameType)) return {};
    return Reason{ReasonCode::kWrongKind, Subject::Setting("nameType"),
                  "the list does not look at names of this kind"};
}

}  // namespace

std::string AccessLine(const Rule& rule)
{
    const AccessInfo entry = EntryOf(rule);
    return names::NameInText(entry.nameType, entry.name) + " " + Access::StatusToStr(entry.status);
}

Result<Rule> ParseAccessLine(const std::string& line, int type)
{
    const auto end = line.find(' ');
    const auto second = line.find_first_not_of(' ', end);
    if (second == std::string::npos) {
        return Reason{ReasonCode::kNoEntry, line, "is not a name and its permission"};
    }
    AccessInfo entry;
    entry.type = static_cast<Type>(type);
    entry.name = line.substr(0, end);
    entry.nameType = names::KindInText(entry.name);
    entry.status = Access::StrToStatus(line.substr(second).c_str());
    return StoredRule(entry);
}

Result<Rule> StoredRule(const AccessInfo& entry)
{
    const std::optional<std::string> name = names::StoredName(entry.nameType, entry.name);
    Result<void> judged = Judge(entry, name.has_value());
    if (!judged) return std::move(judged).reason();
    return Rule{entry.type, *name, entry.nameType, std::to_string(entry.status)};
}

Rule KeyOf(const AccessInfo& entry)
{
    return {entry.type, names::StoredName(entry.nameType, entry.name).value_or(entry.name),
            entry.nameType, ""};
}

std::list<AccessInfo> AccessEntries(const Rules& rules)
{
    std::list<AccessInfo> entries;
    for (const Rule& rule : rules) entries.push_back(EntryOf(rule));
    return entries;
}

}  // namespace host::stores
