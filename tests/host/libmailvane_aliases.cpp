// Aliases: names, table, text form, expansion, store.
#include <sys/stat.h>

#include "host/libhaldcore/lock.h"
#include "host/libmailvane/account_data.h"
#include "host/libmailvane/account_databases.h"
#include "host/libmailvane/alias_expansion.h"
#include "host/libmailvane/alias_names.h"
#include "host/libmailvane/alias_store.h"
#include "host/libmailvane/alias_text.h"
#include "tests/host/machine.h"

namespace {

using host::AliasTable;

class Aliases : public Machine {
protected:
    std::string File() const { return root + "/aliases"; }

    /// What a table becomes by importing this text; "refused" when it does.
    std::string Imported(AliasTable& table, const std::string& text) const
    {
        Write(File(), text);
        std::vector<host::AliasEntry> aliases;
        if (!host::ReadAliasText(File(), table, aliases)) return "refused";
        table.Replace(aliases);
        return host::AliasText(table);
    }

    /// The recipients of an alias of a table made from this text.
    std::string Expanded(const std::string& text, const std::string& alias) const
    {
        AliasTable table;
        EXPECT_EQ(Imported(table, text), text);
        host::AliasExpansion expansion(
            table, {"mv.test", "Two.test"}, [](const std::string& group) {
                if (group == "down") throw std::runtime_error(group);
                return group == "staff" ? std::vector<std::string>{"alice", "sales", "a b", "bob"}
                                        : std::vector<std::string>();
            });
        expansion.AddRole("root", "alice");
        const host::Recipients found = expansion.Expand(*table.Find(alias));
        std::string names;
        for (const auto& list : {found.users, found.outside}) {
            for (const std::string& name : list) names += name + " ";
        }
        return names;
    }
};

TEST_F(Aliases, HaveNamesThatAreLocalParts)
{
    for (const char* name : {"a", "A.b-c_d+e=f&g'h~i$j", "_x", "0"}) {
        EXPECT_TRUE(host::IsLocalPart(name)) << name;
    }
    EXPECT_TRUE(host::IsLocalPart(std::string(64, 'a')));
    for (const char* name :
         {"",   "a b", "x\ny", "\"; drop", "\xc3\xa4", "\xe4", "a@b", "a:b", "a,b", "<b>", "#a",
          "-a", ".a",  "a.",   "a..b",     "a!b",      "a%b",  "a/b", "|a",  "\\a", "(a)", "a\t"}) {
        EXPECT_FALSE(host::IsLocalPart(name)) << name;
    }
    EXPECT_FALSE(host::IsLocalPart(std::string(65, 'a')));
    EXPECT_FALSE(host::IsLocalPart(std::string("a\0b", 3)));
}

TEST_F(Aliases, HaveMembersOfFourKinds)
{
    const struct {
        int type;
        std::vector<std::string> good, bad;
    } rows[] = {
        {0,
         {"bob", "CORP\\bob"},
         {"b ob", "\\bob", "CO RP\\bob", "A\\B\\c", "b@c", "\xc3\xa4", ""}},
        {1,
         {"staff", "CORP\\domain users", "\xc3\xa4rzte"},
         {"", " a", "a ", "a,b", "a:b", "<i>", "a\nb"}},
        {2, {"team"}, {"te am", "a@b"}},
        {3,
         {"x@y.example", "a!b@c"},
         {"x", "@y", "x y@z", "%x@y", "\\x@y", "x@y z", "x@\xc3\xa4.de", "\xc3\xa4@x.de",
          std::string(65, 'a') + "@b", "-x@y"}},
        {4, {}, {"bob"}},
        {-1, {}, {"bob"}},
    };
    for (const auto& row : rows) {
        for (const auto& name : row.good)
            EXPECT_EQ(host::MemberFault({name, row.type}), "") << name;
        for (const auto& name : row.bad) EXPECT_NE(host::MemberFault({name, row.type}), "") << name;
    }
}

TEST_F(Aliases, SurviveExportAndImportExactly)
{
    const std::string text =
        "team: alice, \\sales, %domain users, sales, CORP\\bob, x@y.example\n"
        "sales: sales, \\team\n"
        "empty:\n"
        "long: " +
        std::string(64, 'a') +
        [] {
            std::string members;
            for (int i = 0; i < 5000; ++i) members += ", user" + std::to_string(i);
            return members;
        }() +
        "\n";
    AliasTable table;
    ASSERT_EQ(Imported(table, text), text);
    EXPECT_EQ(Imported(table, text), text) << "once more, over itself";
    const auto& members = table.Find("team")->members;
    const std::vector<int> types = {0, 0, 1, 2, 0, 3};
    for (std::size_t i = 0; i < types.size(); ++i) EXPECT_EQ(members[i].type, types[i]) << i;
    EXPECT_EQ(members[1].name, "sales");
    EXPECT_EQ(members[2].name, "domain users");

    EXPECT_EQ(Imported(table, "empty: bob").substr(text.find("empty")).substr(0, 11),
              "empty: bob\n")
        << "the others stay";
}

TEST_F(Aliases, AreReadFromFilesAsTheyAreFound)
{
    const std::vector<std::pair<std::string, std::string>> rows = {
        {"# mine\r\n\r\na:b,c\r\nd : e\n", "a: b, c\nd: e\n"},
        {"\xef\xbb\xbf"
         "a: b,\n  c,\n\td\ne:\n f\n",
         "a: b, c, d\ne: f\n"},
        {"a: b, b, , A, a", "a: b, a\n"},
        {"x: Team\nTEAM: bob", "x: TEAM\nTEAM: bob\n"},
        {"", ""},
        {"a: b\nc d: e", "refused"},
        {"a: b\nc", "refused"},
        {"a: b\nA: c", "refused"},
        {"a: |/bin/sh", "refused"},
        {"a: :include:/etc/passwd", "refused"},
        {"a: /dev/null", "refused"},
        {"a: \"; drop\"", "refused"},
        {"a: \xe4", "refused"},
        {std::string(300, 'a') + ": b", "refused"},
    };
    for (const auto& [text, want] : rows) {
        AliasTable table;
        EXPECT_EQ(Imported(table, text), want) << text;
        EXPECT_EQ(table.entries().empty(), want == "refused" || text.empty());
    }
    AliasTable table;
    EXPECT_EQ(Imported(table, ""), "");
    std::vector<host::AliasEntry> aliases;
    EXPECT_FALSE(host::ReadAliasText(root + "/none", table, aliases));
}

TEST_F(Aliases, TakeChangesWholeOrNotAtAll)
{
    AliasTable table;
    ASSERT_EQ(Imported(table, "a: bob\nb: a, carol\nc:\n"), "a: bob\nb: a, carol\nc:\n");
    EXPECT_EQ(table.Add("a", {{"bob", 0}, {"dora", 0}, {"dora", 1}, {"a", 2}, {"b", 2}}), "");
    EXPECT_NE(table.Add("a", {{"good", 0}, {"none", 2}}), "");
    EXPECT_NE(table.Add("A", {{"good", 0}}), "") << "another one in capitals";
    EXPECT_NE(table.Add("n w", {{"good", 0}}), "");
    EXPECT_EQ(table.Add("self", {{"self", 2}}), "");
    EXPECT_TRUE(table.Remove("b", {{"none", 0}, {"carol", 0}, {"a", 0}}));
    EXPECT_FALSE(table.Remove("B", {}));
    EXPECT_NE(table.Rename("none", "x"), "");
    EXPECT_NE(table.Rename("a", "B"), "");
    EXPECT_NE(table.Rename("a", "x y"), "");
    EXPECT_EQ(table.Rename("a", "A"), "");
    EXPECT_EQ(host::AliasText(table), "A: bob, dora, %dora, A, b\nb: A\nc:\nself: self\n");
    EXPECT_EQ(table.Rename("A", "z"), "");
    EXPECT_EQ(host::AliasText(table), "z: bob, dora, %dora, z, b\nb: z\nc:\nself: self\n");
    table.Delete({"b", "none", "self"});
    EXPECT_EQ(host::AliasText(table), "z: bob, dora, %dora, z\nc:\n");
}

TEST_F(Aliases, ReachEachRecipientOnceWithoutLoops)
{
    const struct {
        const char *text, *alias, *want;
    } rows[] = {
        {"a: bob, %staff, BOB@mv.test, x@y.example, X@Y.example\n", "a",
         "bob alice sales x@y.example "},
        {"a: b, bob\nb: c\nc: a, carol\n", "a", "carol bob "},
        {"a: a\n", "a", ""},
        {"bob: \\bob, x@y.example\n", "bob", "bob x@y.example "},
        {"a: \\bob\nbob: carol\n", "a", "carol "},
        {"f: \\g\ng: \\f\n", "f", "f "},
        {"a: g@mv.test\ng: A+x@two.TEST, z@localhost\n", "a", "A+x z "},
        {"sales: %staff\n", "sales", "alice sales bob "},
        {"a: root@mv.test\n", "a", "alice "},
        {"alice: root\n", "alice", "alice "},
        {"a: root\nroot: bob\n", "a", "bob "},
        {"a: CORP\\bob, %none\n", "a", "bob "},
    };
    for (const auto& row : rows) EXPECT_EQ(Expanded(row.text, row.alias), row.want) << row.text;
    EXPECT_THROW((void)Expanded("a: %down\n", "a"), std::runtime_error);

    std::string chain = "a0: bob\n";
    for (int i = 1; i < 20000; ++i) {
        chain += "a" + std::to_string(i) + ": a" + std::to_string(i - 1) + "\n";
    }
    EXPECT_EQ(Expanded(chain, "a19999"), "bob ");
}

TEST_F(Aliases, AreStoredByTheirDifferences)
{
    EXPECT_TRUE(host::ReadAliases().empty()) << "no database";
    const host::AliasChange nothing;
    EXPECT_THROW(host::ChangeAliases(nothing), std::runtime_error);
    ASSERT_TRUE(host::MakeDirectories(host::Path("/run"), 0755));
    const host::ScopedLock lock;
    bool exchanged = false;
    ASSERT_EQ(host::HealAccountData({"local", ""}, exchanged), 0);

    AliasTable table(host::ReadAliases());
    const std::string first = "a: bob, x@y.example\nb: a, %staff\nc:\n";
    ASSERT_EQ(Imported(table, first), first);
    host::ChangeAliases(table.Pending());
    AliasTable again(host::ReadAliases());
    EXPECT_EQ(host::AliasText(again), first);

    // Names change places, which a store of one row after the other could not take.
    EXPECT_EQ(again.Rename("a", "t"), "");
    EXPECT_EQ(again.Rename("c", "A"), "");
    EXPECT_EQ(again.Rename("t", "c"), "");
    EXPECT_EQ(again.Add("d", {{"dora", 0}}), "");
    const host::AliasChange change = again.Pending();
    EXPECT_EQ(change.removed.size(), 3U);
    host::ChangeAliases(change);
    const std::string second = "c: bob, x@y.example\nb: c, %staff\nA:\nd: dora\n";
    EXPECT_EQ(host::AliasText(AliasTable(host::ReadAliases())), second);

    host::AliasChange clash;
    clash.added = {{90, "new", {}}, {91, "B", {}}};
    EXPECT_THROW(host::ChangeAliases(clash), std::exception);
    EXPECT_EQ(host::AliasText(AliasTable(host::ReadAliases())), second);
}

}  // namespace
