// Aliases: alias_enum, load_extaddr, export_alias, apply_alias_info, alias_del.
#include <algorithm>
#include <list>
#include <string>
#include <utility>

#include "addresses/list_window.h"
#include "addresses/search_match.h"
#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "platform/mailvane/alias.h"
#include "platform/mailvane/web_utils.h"

namespace {

constexpr int kGroup = 1;
constexpr int kAlias = 2;
constexpr int kOutside = 3;

/// Loads the aliases, as every action here does first. Negative, with the failure logged.
int Load(Alias& alias)
{
    const int result = alias.load();
    if (result < 0) LogError(Here(), "Fail to load alias info");
    return result;
}

int LoadMembers(Alias& alias, const std::string& name, std::list<MemberInfo>& members)
{
    const int result = alias.loadMember(name, members);
    if (result < 0) LogError(Here(), "Fail to load member");
    return result;
}

/// A member as the list shows it, with markup for its colour; searches look at the plain name.
std::string Coloured(const MemberInfo& member)
{
    if (member.type == kGroup) return "<font color=#115ba6>" + member.name + "</font>";
    if (member.type == kAlias) return "<font color=#7a3d99>" + member.name + "</font>";
    return member.name;
}

bool Matches(const std::string& name, const std::list<MemberInfo>& members, Search& search)
{
    if (search.Matches(name.c_str())) return true;

    return std::any_of(members.begin(), members.end(), [&search](const MemberInfo& member) {
        return search.Matches(member.name.c_str());
    });
}

Json::Value Item(const std::string& name, const std::list<MemberInfo>& members)
{
    std::list<std::string> texts;
    for (const MemberInfo& member : members) texts.push_back(Coloured(member));
    Json::Value item;
    item["alias_name"] = name;
    item["alias_member"] = StringJoin(texts, ", ");
    return item;
}

Outcome ListAliases(const std::string& query, const ListWindow& window, Json::Value& response)
{
    Alias alias;
    if (Load(alias) < 0) return Outcome::SystemError();

    Search search(query);
    Json::Value items(Json::arrayValue);
    int matches = 0;
    std::list<MemberInfo> members;
    for (const std::string& name : alias.getAliasNameList()) {
        // Deliberate: also those that are not shown, so that a list is whole or an error.
        if (LoadMembers(alias, name, members) < 0) return Outcome::SystemError();
        if (!Matches(name, members, search)) continue;

        if (window.Shows(matches)) items.append(Item(name, members));
        ++matches;
    }
    response["total"] = matches;
    response["items"] = std::move(items);
    return Outcome::Success();
}

/// Lists the addresses outside of this server. Failures carry no errinfo.
Outcome ReadOutsideAddresses(const std::string& name, Json::Value& response)
{
    Alias alias;
    std::list<MemberInfo> members;
    if (Load(alias) < 0 || LoadMembers(alias, name, members) < 0) return Outcome::Fail();

    std::list<std::string> addresses;
    for (const MemberInfo& member : members) {
        if (member.type == kOutside) addresses.push_back(member.name);
    }
    response["ext_addr"] = StringJoin(addresses, ",");
    return Outcome::Success();
}

/// A change of one alias as requested: its name, and the members that join and leave.
struct Change {
    explicit Change(const Json::Value& in)
        : name(in["aliasname"].asString()), before(in["orgalias"].asString())
    {
        const Json::Value& members = in["member"];
        for (Json::ArrayIndex i = 0; i < members.size(); ++i) {
            const Json::Value& member = members[i];
            MemberInfo info;
            info.name = member["name"].asString();
            info.type = member["type"].asInt();
            (member["is_join"].asBool() ? joining : leaving).push_back(info);
        }
    }

    std::string name;
    std::string before;  ///< empty for a new alias
    std::list<MemberInfo> joining;
    std::list<MemberInfo> leaving;
};

/// Renames an alias that gets another name. False when that name, or a new alias's, is taken.
bool TakeName(Alias& alias, const Change& change)
{
    if (!change.before.empty() && change.before == change.name) return true;

    const std::list<std::string> names = alias.getAliasNameList();
    if (std::find(names.begin(), names.end(), change.name) != names.end()) return false;

    if (!change.before.empty()) (void)alias.changeAliasName(change.before, change.name);
    return true;
}

Outcome StoreAlias(const Json::Value& in)
{
    const Change change(in);
    Alias alias;
    if (Load(alias) < 0) return Outcome::SystemError();

    if (!TakeName(alias, change)) return Outcome::Fail("error", "alias_conflict");

    if (!change.joining.empty() && alias.addMember(change.name, change.joining) < 0) {
        LogError(Here(), "Fail to add member");
        return Outcome::SystemError();
    }
    if (!change.leaving.empty() && alias.delMember(change.name, change.leaving) < 0) {
        LogError(Here(), "Fail to delete member");
        return Outcome::SystemError();
    }
    if (alias.save() < 0) {
        LogError(Here(), "Fail to save alias");
        return Outcome::SystemError();
    }
    return Outcome::Success();
}

/// Deletes aliases one by one. Negative, with the failure logged.
int DeleteAliases(const std::list<std::string>& names)
{
    Alias alias;
    if (Load(alias) < 0) return -1;

    if (alias.delAlias(names) < 0) {
        LogError(Here(), "Fail to delete alias");
        return -1;
    }
    if (alias.save() < 0) {
        LogError(Here(), "Fail to save alias");
        return -1;
    }
    return 0;
}

Outcome RemoveAliases(const Json::Value& in)
{
    const Json::Value& aliases = in["alias"];
    std::list<std::string> names;
    for (Json::ArrayIndex i = 0; i < aliases.size(); ++i) names.push_back(aliases[i].asString());
    if (DeleteAliases(names) == 0) return Outcome::Success();

    // Deliberate: the client looks this action's failure up under "msg", with this line.
    return Outcome::FailAt(2860, "msg", "error_system");
}

}  // namespace

void MailvaneHandler::EnumAliases()
{
    const std::string query = web_.In("query", "");
    const ListWindow window(web_.In("start", "0"), web_.In("limit", "0"));
    Json::Value response;
    Answer(response, ListAliases(query, window, response));
}

void MailvaneHandler::LoadExtaddr()
{
    const std::string name = web_.In("aliasname", "");
    Json::Value response;
    Answer(response, ReadOutsideAddresses(name, response));
}

void MailvaneHandler::ExportAlias()
{
    const std::string path = NewTemporaryFile("/tmp/aliasesXXXXXX");
    Alias alias;
    if (alias.load() < 0) {
        LogError(Here(), "alias load fail");
        return;
    }
    if (alias.ExportAlias(path) < 0) {
        LogError(Here(), "export alias fail");
        return;
    }
    if (!SendDownload(path, "aliases")) LogError(Here(), "alias open fail");
}

void MailvaneHandler::ApplyAliasInfo(Json::Value& in)
{
    Json::Value response;
    Answer(response, StoreAlias(in));
}

void MailvaneHandler::AliasDel(Json::Value& in)
{
    Json::Value response;
    Answer(response, RemoveAliases(in));
}
