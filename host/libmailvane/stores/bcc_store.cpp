// The rules of blind carbon copies in etc/mailvane.db, table `bcc`.
#include "host/libmailvane/stores/bcc_store.h"

#include "host/libhaldcore/text.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/names/text_checks.h"

namespace host::stores {
namespace {

bool IsRuleName(const std::string& name)
{
    if (name.empty() || name.front() != '@') return names::IsMailAddress(name);
    return names::IsNameOfKind(NAME_DOMAIN, name.substr(1));
}

}  // namespace

std::string BccLine(const Rule& rule)
{
    return rule.name + " " + rule.value;
}

Result<Rule> ParseBccLine(const std::string& line, int type)
{
    const auto end = line.find(' ');
    const auto second = line.find_first_not_of(' ', end);
    if (second == std::string::npos) {
        return Reason{ReasonCode::kNoEntry, line, "is not a name and where its copies go"};
    }
    return StoredRule(
        BccInfo{line.substr(0, end), line.substr(second), static_cast<BccType>(type)});
}

Result<Rule> StoredRule(const BccInfo& rule)
{
    const std::string name = InLowerCase(names::WithALabels(rule.name));
    if (rule.type != BCC_SENDER && rule.type != BCC_RECIPIENT) {
        return Reason{ReasonCode::kNoChoice, Subject::Setting("bccType"),
                      "there is no such type of rules"};
    }
    if (!IsRuleName(name)) {
        return Reason{ReasonCode::kNoAddress, Subject::Setting("name"),
                      "the name is no address, user or @domain"};
    }
    Result<std::string> target = StoredCopyTarget(rule.bccTo);
    if (!target) return std::move(target).reason();
    return Rule{rule.type, name, 0, *std::move(target)};
}

Result<std::string> StoredCopyTarget(const std::string& address)
{
    std::string stored = names::WithALabels(address);
    if (names::IsMailAddress(stored)) return stored;
    return Reason{ReasonCode::kNoAddress, Subject::Setting("bccTo"),
                  "the copy goes to what is no address or user"};
}

Rule KeyOf(const BccInfo& rule)
{
    return {rule.type, InLowerCase(names::WithALabels(rule.name)), 0, ""};
}

std::list<BccInfo> BccEntries(const Rules& rules)
{
    std::list<BccInfo> entries;
    for (const Rule& rule : rules) {
        entries.push_back({rule.name, rule.value, static_cast<BccType>(rule.type)});
    }
    return entries;
}

}  // namespace host::stores
