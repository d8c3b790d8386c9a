// Accounts, groups, directories and services of the machine.
#include "platform/hlib/accounts.h"

#include <cstring>

#include "platform/hald/account.h"
#include "platform/hald/directory.h"
#include "platform/hlib/string_list.h"
#include "tests/recording/call.h"

using namespace recording;

namespace {

using ListPointer = HLIBCSzList**;

const Account* FindUser(const std::string& name)
{
    for (const Account& user : TheWorld().users) {
        if (user.name == name) return &user;
    }
    return nullptr;
}

/// Appends the names of one source; their number.
template <typename Entries>
int AppendNames(HLIBCSzList** list, const Entries& entries, int source)
{
    int appended = 0;
    for (const auto& entry : entries) {
        if (entry.source != source) continue;
        HLIBCSzListPush(list, entry.name.c_str());
        ++appended;
    }
    return appended;
}

}  // namespace

int HLIBUserEnum(ListPointer list, int source, const char* domain)
{
    const int result = Call("HLIBUserEnum", source, domain);
    return result < 0 ? result : AppendNames(list, TheWorld().users, source);
}
int HLIBGroupEnum(ListPointer list, int source, const char* domain)
{
    const int result = Call("HLIBGroupEnum", source, domain);
    return result < 0 ? result : AppendNames(list, TheWorld().groups, source);
}

int HLIBUserRealNameGet(const char* login, char* buffer, int size)
{
    const Account* user = FindUser(login);
    const int result = CallOr(user == nullptr ? -1 : 0, "HLIBUserRealNameGet", login, size);
    if (result < 0 || user == nullptr) return result;

    CopyText(user->realName, buffer, size);
    return result;
}

int HLIBServiceIsEnabled(const char* service)
{
    return CallOr(TheWorld().enabledServices.count(service), "HLIBServiceIsEnabled", service);
}

int HALDUserGet(const char* name, HALDUser** user)
{
    const Account* account = FindUser(name);
    const int result = CallOr(account == nullptr ? -1 : 0, "HALDUserGet", name);
    if (result < 0 || account == nullptr) return result;

    ++TheWorld().liveObjects;
    const std::string ownName = account->ownName.value_or(account->name);
    *user = new HALDUser{account->hasOwnName ? strdup(ownName.c_str()) : nullptr};
    return result;
}

void HALDUserFree(HALDUser* user)
{
    if (user == nullptr) return;

    --TheWorld().liveObjects;
    free(const_cast<char*>(user->name));
    delete user;
}

int HALDUserCheckExpired(const char* name, void* /*reserved*/)
{
    const Account* user = FindUser(name);
    return CallOr(user != nullptr && user->expired ? 1 : 0, "HALDUserCheckExpired", name);
}

int HALDGroupListMember(const char* group, HLIBCSzList** list)
{
    int result = -1;
    for (const Group& entry : TheWorld().groups) {
        if (entry.name != group) continue;
        result = Call("HALDGroupListMember", group);
        if (result < 0) return result;
        for (const std::string& member : entry.members) HLIBCSzListPush(list, member.c_str());
    }
    return result;
}

int HALDWinsIsJoined() { return CallOr(TheWorld().domainJoined, "HALDWinsIsJoined"); }
int HALDLDAPIsBinded() { return CallOr(TheWorld().ldapSuffix.has_value(), "HALDLDAPIsBinded"); }

int HALDLDAPLoginSuffixGet(char* buffer, int size)
{
    const int result = Call("HALDLDAPLoginSuffixGet", size);
    CopyText(result == 0 ? TheWorld().ldapSuffix.value_or("") : "", buffer, size);
    return result;
}
