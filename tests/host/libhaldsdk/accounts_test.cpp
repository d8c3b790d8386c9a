// Accounts: local files, and engines of a domain or a directory that may be down.
#include <dlfcn.h>

#include <ctime>

#include "platform/hald/account.h"
#include "platform/hlib/accounts.h"
#include "platform/hlib/error.h"
#include "platform/hlib/string_list.h"
#include "tests/host/machine.h"

namespace {

constexpr char kUsers[] =
    "root:x:0:0:root:/root:/bin/sh\n+winner::::::\nmail:x:8:8:mail:/var/mail:/bin/false\n"
    "alice:x:1000:1000:Alice Liddell,room 1,,:/home/alice:/bin/sh\nbob:x:1001:100::/:/bin/sh\n"
    "nobody:x:65534:65534:nobody:/:/bin/false\ndora:x:1002:1500:Dora:/home/dora:/bin/sh\n";
constexpr char kGroups[] =
    "root:x:0:\nmail:x:8:\nusers:x:100:\nnogroup:x:65534:\nstaff:x:1500:alice,bob,alice\n";

class Accounts : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        Write("/etc/passwd", kUsers);
        Write("/etc/group", kGroups);
        Write("/etc/nsswitch.conf",
              "group: files\npasswd: files [NOTFOUND=continue] sss winbind # x\n");
        for (const char* module : {LIBHALD_WINBIND, LIBHALD_SSS}) {
            ASSERT_NE(nullptr, dlopen(module, RTLD_NOW)) << dlerror();
            SetEngineState(module, 0);
        }
    }

    static int& NumberIn(const char* module, const char* name)
    {
        return *static_cast<int*>(dlsym(dlopen(module, RTLD_NOW), name));
    }

    static void SetEngineState(const char* module, int state)
    {
        NumberIn(module, "engineState") = state;
    }

    /// What an operation appends to a list, and its result.
    template <typename Operation>
    static std::string Appended(const Operation& operation)
    {
        HLIBCSzList* list = HLIBCSzListAlloc(16);
        std::string text = std::to_string(operation(&list)) + ":";
        for (int i = 0; i < list->count; ++i) text += std::string(" ") + HLIBCSzListGet(list, i);
        HLIBCSzListFree(list);
        return text;
    }

    static std::string Users(int source, const char* domain = nullptr)
    {
        return Appended([&](HLIBCSzList** list) { return HLIBUserEnum(list, source, domain); });
    }

    static std::string Groups(int source, const char* domain = nullptr)
    {
        return Appended([&](HLIBCSzList** list) { return HLIBGroupEnum(list, source, domain); });
    }

    static std::string Members(const char* group)
    {
        return Appended([&](HLIBCSzList** list) { return HALDGroupListMember(group, list); });
    }

    /// The account's own name; "(none)" when it is not found.
    static std::string Found(const char* name)
    {
        HALDUser* user = nullptr;
        if (HALDUserGet(name, &user) < 0) return "(none)";
        std::string own = user->name;
        HALDUserFree(user);
        return own;
    }
};

TEST_F(Accounts, AreEnumeratedFromTheirSourceAlone)
{
    EXPECT_EQ("3: alice bob dora", Users(HLIB_ACCOUNT_LOCAL));
    EXPECT_EQ("2: users staff", Groups(HLIB_ACCOUNT_LOCAL));
    EXPECT_EQ("2: EXAMPLE\\anna carol", Users(HLIB_ACCOUNT_DOMAIN, "example"));
    EXPECT_EQ("0:", Groups(HLIB_ACCOUNT_DOMAIN, "EXAMPLE"));
    EXPECT_EQ("3: EXAMPLE\\anna OTHER\\bert carol", Users(HLIB_ACCOUNT_LDAP));
}

TEST_F(Accounts, OfAnEngineThatIsDownAreAFailureAndNotNone)
{
    for (const int state : {1, 2}) {
        SetEngineState(LIBHALD_WINBIND, state);
        EXPECT_EQ("-1:", Users(HLIB_ACCOUNT_DOMAIN, "EXAMPLE")) << state;
    }
    EXPECT_EQ("3: alice bob dora", Users(HLIB_ACCOUNT_LOCAL)) << "the others answer";

    Write("/etc/nsswitch.conf", "passwd: files [ NOTFOUND = sss ]\n");
    EXPECT_EQ("-1:", Users(HLIB_ACCOUNT_LDAP)) << "not configured";
    EXPECT_EQ("-1:", Groups(HLIB_ACCOUNT_DOMAIN)) << "not configured";
    EXPECT_EQ("-1:", Users(4)) << "no such source";
}

TEST_F(Accounts, AreFoundUnlessTheyAreTheSystems)
{
    EXPECT_EQ("alice", Found("alice"));
    for (const char* name : {"root", "mail", "nobody", "winner", "+winner", "no such user", ""}) {
        EXPECT_EQ("(none)", Found(name)) << name;
    }
    char name[8] = "~~~~~~~";
    EXPECT_EQ(0, HLIBUserRealNameGet("alice", name, 5));
    EXPECT_STREQ("Alice", name) << "cut to fit";
    EXPECT_EQ('~', name[6]);
    EXPECT_GT(0, HLIBUserRealNameGet("mallory-none", name, 5));
}

TEST_F(Accounts, OfTheDirectoryAreFoundUnderTheirSuffix)
{
    EXPECT_EQ("(none)", Found("carol@example.com")) << "not bound";
    Write("/etc/haldinfo.conf", "ldap_enabled=\"yes\"\nldap_suffix=\"example.com\"\n");
    EXPECT_EQ("carol", Found("carol@example.com"));
    EXPECT_EQ("(none)", Found("alice@example.com")) << "that is another Alice";
    EXPECT_EQ("(none)", Found("carol@example.org"));
    EXPECT_EQ("(none)", Found("system@example.com"));
    SetEngineState(LIBHALD_SSS, 1);
    EXPECT_EQ("(none)", Found("carol@example.com"));
}

TEST_F(Accounts, ThatADirectoryHasToldOfAreNotAskedForAgain)
{
    int& asked = NumberIn(LIBHALD_SSS, "timesAsked");
    EXPECT_EQ("3: EXAMPLE\\anna OTHER\\bert carol", Users(HLIB_ACCOUNT_LDAP));
    asked = 0;
    EXPECT_EQ("carol", Found("carol"));
    EXPECT_EQ(0, asked);
    EXPECT_EQ("quentin", Found("quentin")) << "it may keep some to itself";
    EXPECT_EQ("(none)", Found("nobody-there"));
    EXPECT_EQ(2, asked);
}

TEST_F(Accounts, AreThoseOfTheMomentWhenTheyWereListed)
{
    EXPECT_EQ("3: alice bob dora", Users(HLIB_ACCOUNT_LOCAL));
    Write("/etc/passwd", "alice:x:1000:1000::/:/bin/sh\n");
    EXPECT_EQ("bob", Found("bob"));
    EXPECT_EQ("1: alice", Users(HLIB_ACCOUNT_LOCAL));
    EXPECT_EQ("(none)", Found("bob"));
}

TEST_F(Accounts, ExpireByTheirShadowEntry)
{
    const long today = static_cast<long>(time(nullptr) / 86400);
    Write("/etc/shadow", "alice:*:1:0:9:7:::\nbob:*:1:0:9:7::" + std::to_string(today) +
                             ":\ndora:*:1:0:9:7::" + std::to_string(today + 2) + ":\n");
    EXPECT_EQ(0, HALDUserCheckExpired("alice", nullptr)) << "never";
    EXPECT_EQ(1, HALDUserCheckExpired("bob", nullptr)) << "today";
    EXPECT_EQ(0, HALDUserCheckExpired("dora", nullptr)) << "the day after tomorrow";
    EXPECT_EQ(0, HALDUserCheckExpired("mail", nullptr)) << "no entry";
    EXPECT_GT(0, HALDUserCheckExpired("no such user", nullptr));
}

TEST_F(Accounts, BelongToTheirGroups)
{
    EXPECT_EQ("0: alice bob dora", Members("staff")) << "once each, primary group included";
    EXPECT_EQ("0: bob", Members("users"));
    EXPECT_EQ("0:", Members("mail")) << "accounts of the system are none";
    EXPECT_EQ("-1:", Members("no such group"));
    EXPECT_EQ(ENOENT, HLIBCErrGet());
    SetEngineState(LIBHALD_SSS, 1);
    EXPECT_EQ("-1:", Members("no such group"));
    EXPECT_EQ(ECONNREFUSED, HLIBCErrGet()) << "an engine that is down may know the group";
    EXPECT_EQ("-1:", Members(""));
}

}  // namespace
