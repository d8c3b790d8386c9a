// Who may become a member of an alias: alias_mem_enum.
#include <cstring>
#include <list>
#include <string>
#include <utility>

#include "addresses/account_status.h"
#include "addresses/list_window.h"
#include "addresses/search_match.h"
#include "addresses/string_list.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/settings_json.h"
#include "platform/hlib/accounts.h"
#include "platform/hlib/error.h"
#include "platform/hlib/string_hash.h"
#include "platform/mailvane/alias.h"
#include "platform/mailvane/postfix.h"

namespace {

/// What to list; the numbers are those of the types of members.
enum Kind { kUser = 0, kGroup = 1, kAlias = 2 };

struct Request {
    bool editing;
    std::string alias;  ///< name of the alias that is edited
    std::string query;
    ListWindow window;
    Kind kind;
};

Kind KindOf(const char* filter)
{
    if (filter != nullptr && std::strcmp(filter, "localgrp") == 0) return kGroup;
    if (filter != nullptr && std::strcmp(filter, "alias") == 0) return kAlias;
    return kUser;
}

/// The account source that users and groups are listed from: local, LDAP or a Windows domain.
struct Source {
    explicit Source(Postfix& settings)
    {
        const auto type = Setting<std::string>(settings, "account_type");
        if (type == "ldap") selector = HLIB_ACCOUNT_LDAP;
        if (type != "win") return;

        selector = HLIB_ACCOUNT_DOMAIN;
        domain = Setting<std::string>(settings, "win_domain_short_name");
    }

    const char* DomainOrNull() const
    {
        return selector == HLIB_ACCOUNT_DOMAIN ? domain.c_str() : nullptr;
    }

    int selector = HLIB_ACCOUNT_LOCAL;
    std::string domain;
};

bool PushAliases(const Request& request, StringList& names)
{
    Alias alias;
    if (alias.load() < 0) {
        LogError(Here(), "Fail to load alias info");
        return false;
    }
    for (const std::string& name : alias.getAliasNameList()) {
        if (name == request.alias || names.Push(name.c_str())) continue;

        LogError(Here(), "HLIBCSzListPush error. halderr=0x%04X",
                 static_cast<unsigned>(HLIBCErrGet()));
        return false;
    }
    return true;
}

bool GatherKind(const Request& request, const Source& source, StringList& names)
{
    switch (request.kind) {
        case kGroup:
            if (HLIBGroupEnum(names.Address(), source.selector, source.DomainOrNull()) >= 0) {
                return true;
            }
            LogError(Here(), "Fail to enumerate local groups");
            return false;
        case kAlias:
            if (PushAliases(request, names)) return true;

            LogError(Here(), "Fail to enumerate alias");
            return false;
        default:
            if (HLIBUserEnum(names.Address(), source.selector, source.DomainOrNull()) >= 0) {
                return true;
            }
            LogError(Here(), "Fail to enumerate local users");
            return false;
    }
}

/// Puts the matches that the page shows into `page`; returns the number of all matches.
int FillPage(const Request& request, const StringList& names, StringList& page)
{
    Search search(request.query);
    int matches = 0;
    for (int i = 0; i < names.Size(); ++i) {
        if (!search.Matches(names[i])) continue;

        if (request.window.Shows(matches) && !page.Push(names[i])) {
            LogError(Here(), "HLIBCSzListPush failed");
            continue;
        }
        ++matches;
    }
    return matches;
}

/// Lists the candidates of the kind asked for, one page of them. False, logged, on failure.
bool FindCandidates(const Request& request, StringList& page, int& total)
{
    Postfix settings;
    if (settings.LoadSettings() < 0) return false;

    StringList names;
    if (!names.Ok()) {
        LogError(Here(), "Out of memory");
        return false;
    }
    if (!GatherKind(request, Source(settings), names)) return false;

    total = FillPage(request, names, page);
    return true;
}

/// The present members of the edited alias that are of the kind asked for.
class JoinedNames {
public:
    JoinedNames() = default;
    ~JoinedNames() { HLIBCSzHashFree(names_); }
    JoinedNames(const JoinedNames&) = delete;
    JoinedNames& operator=(const JoinedNames&) = delete;

    /// Reads them, and counts the members of all kinds. False, logged, on failure.
    bool Load(const Request& request)
    {
        names_ = HLIBCSzHashAlloc(kCapacity);
        if (names_ == nullptr) {
            LogError(Here(), "Out of memory");
            return false;
        }
        std::list<MemberInfo> members;
        if (!LoadMembers(request.alias, members)) {
            LogError(Here(), "Fail to load members");
            return false;
        }
        count_ = static_cast<int>(members.size());
        for (const MemberInfo& member : members) {
            if (member.type == request.kind) {
                (void)HLIBCSzHashSetValue(&names_, member.name.c_str(), "");
            }
        }
        return true;
    }

    int Count() const { return count_; }

    /// Removes a name; true when it was a member.
    bool Take(const char* name)
    {
        return names_ != nullptr && HLIBCSzHashRemoveKey(names_, name) >= 0;
    }

    /// Iterates: the name after `previous`, the first for null; null after the last.
    const char* Next(const char* previous) const
    {
        return names_ == nullptr ? nullptr : HLIBCSzHashEnumKey(names_, previous);
    }

private:
    static constexpr int kCapacity = 1024;

    static bool LoadMembers(const std::string& name, std::list<MemberInfo>& members)
    {
        Alias alias;
        if (alias.load() < 0) {
            LogError(Here(), "Fail to load alias info");
            return false;
        }
        if (alias.loadMember(name, members) < 0) {
            LogError(Here(), "Fail to load member");
            return false;
        }
        return true;
    }

    HLIBCSzHash* names_ = nullptr;
    int count_ = 0;
};

int StatusOf(Kind kind, const char* name)
{
    if (kind == kAlias) return kStatusUsable;
    return kind == kGroup ? GroupStatus(name) : UserStatus(name);
}

/// The rows of the answer: the candidates of the page, then all members that are not among them.
Json::Value Items(const Request& request, const StringList& page, JoinedNames& joined)
{
    // Known to last, so that the rows need no copies of them.
    const Json::StaticString nameKey("name");
    const Json::StaticString joinedKey("is_join");
    const Json::StaticString statusKey("status");
    Json::Value items(Json::arrayValue);
    for (int i = 0; i < page.Size(); ++i) {
        Json::Value item;
        item[nameKey] = page[i];
        item[joinedKey] = joined.Take(page[i]);
        item[statusKey] = StatusOf(request.kind, page[i]);
        items.append(std::move(item));
    }
    for (const char* name = joined.Next(nullptr); name != nullptr; name = joined.Next(name)) {
        Json::Value item;
        item[nameKey] = name;
        item[joinedKey] = true;
        items.append(std::move(item));
    }
    return items;
}

/// Answers the action. Its failures carry no errinfo: the client shows an empty list.
Outcome ListCandidates(const Request& request, Json::Value& response)
{
    StringList page;
    if (!page.Ok()) {
        LogError(Here(), "Out of memory");
        return Outcome::Fail();
    }
    int total = 0;
    if (!FindCandidates(request, page, total)) {
        LogError(Here(), "Fail to enumerate members");
        return Outcome::Fail();
    }
    JoinedNames joined;
    if (request.editing && !joined.Load(request)) return Outcome::Fail();

    response["items"] = Items(request, page, joined);
    response["joined_num"] = joined.Count();
    response["total"] = total;
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::EnumAliasMembers()
{
    const Request request{std::strcmp(web_.In("actionop", "new"), "edit") == 0,
                          web_.In("aliasname", ""), web_.In("query", ""),
                          ListWindow(web_.In("start", "0"), web_.In("limit", "0")),
                          KindOf(web_.In("rolefilter", nullptr))};
    Json::Value response;
    Answer(response, ListCandidates(request, response));
}
