// Aliases: names, table, text form, expansion, store.
#include <tuple>

#include "host/libhaldcore/lock.h"
#include "host/libmailvane/names/alias_names.h"
#include "host/libmailvane/render/alias_expansion.h"
#include "host/libmailvane/stores/account_data.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/alias_store.h"
#include "host/libmailvane/stores/alias_text.h"
#include "tests/host/machine.h"

namespace {

using host::stores::AliasTable;

class Aliases : public Machine {
protected:
    std::string File() const { return root + "/aliases"; }

    /// What a table becomes by importing this text; "refused" when it does.
    std::string Imported(AliasTable& table, const std::string& text) const
    {
        Write(File(), text);
        if (!ImportAliasText(File(), table)) return "refused";
        return host::stores::AliasText(table);
    }

    /// The recipients of an alias of a table made from this text.
    std::string Expanded(const std::string& text, const std::string& alias) const
    {
        AliasTable table;
        EXPECT_EQ(Imported(table, text), text);
        host::render::AliasExpansion expansion(
            table.database(), {"mv.test", "Two.test"},
            [](const std::string& group) -> host::Result<std::vector<std::string>> {
                if (group == "down")
                    return host::Reason{host::ReasonCode::kDaemonIsDown, group, ""};
                if (group != "staff") return std::vector<std::string>();
                return std::vector<std::string>{"alice", "sales", "a b", "bob"};
            });
        expansion.AddRole("root", "alice");
        const auto found = expansion.Expand(*table.Find(alias));
        if (!found) return "about " + found.reason().about.text();
        std::string names;
        for (const auto& list : {found->users, found->outside}) {
            for (const std::string& name : list) names += name + " ";
        }
        return names;
    }
};

TEST_F(Aliases, HaveNamesThatAreLocalParts)
{
    for (const char* name : {"a", "A.b-c_d+e=f&g'h~i$j", "_x"}) {
        EXPECT_TRUE(host::names::IsLocalPart(name)) << name;
    }
    EXPECT_TRUE(host::names::IsLocalPart(std::string(64, 'a')));
    for (const char* name : {"", "a b", "x\ny", "\"; drop", "\xe4", "a@b", "a:b", "a,b", "#a", "-a",
                             ".a", "a.", "a..b", "a%b", "a/b", "|a", "\\a", "a\t"}) {
        EXPECT_FALSE(host::names::IsLocalPart(name)) << name;
    }
    EXPECT_FALSE(host::names::IsLocalPart(std::string(65, 'a')));
    EXPECT_FALSE(host::names::IsLocalPart(std::string("a\0b", 3)));
}

TEST_F(Aliases, HaveMembersOfFourKinds)
{
    const std::tuple<int, std::vector<std::string>, std::vector<std::string>> rows[] = {
        {0, {"bob", "CORP\\bob"}, {"b ob", "CO RP\\bob", "A\\B\\c", "b@c", "\xc3\xa4", ""}},
        {1, {"CORP\\domain users", "\xc3\xa4rzte"}, {"", " a", "a ", "a,b", "a:b", "<i>", "a\nb"}},
        {2, {"team"}, {"te am", "a@b"}},
        {3, {"x@y.example", "a!b@c"}, {"x", "@y", "x y@z", "%x@y", "\\x@y", "x@y z", "-x@y"}},
        {4, {}, {"bob"}},
    };
    for (const auto& [type, good, bad] : rows) {
        for (const auto& name : good) EXPECT_TRUE(host::names::CheckMember({name, type})) << name;
        for (const auto& name : bad) EXPECT_FALSE(host::names::CheckMember({name, type})) << name;
    }
}

TEST_F(Aliases, SurviveExportAndImportExactly)
{
    std::string text =
        "team: alice, \\sales, %domain users, sales, CORP\\bob, x@y.example\n"
        "sales: sales, \\team\nempty:\nlong: user";
    for (int i = 0; i < 5000; ++i) text += ", user" + std::to_string(i);
    text += "\n";
    AliasTable table;
    ASSERT_EQ(Imported(table, text), text);
    EXPECT_EQ(Imported(table, text), text) << "once more, over itself";
    std::string types;
    for (const auto& member : table.Members(*table.Find("team")))
        types += std::to_string(member.type);
    EXPECT_EQ(types, "001203");
    EXPECT_NE(Imported(table, "empty: bob").find("\nempty: bob\nlong: "), std::string::npos)
        << "the others stay";
}

TEST_F(Aliases, AreReadFromFilesAsTheyAreFound)
{
    const std::pair<const char*, const char*> rows[] = {
        {"# mine\r\n\r\na:b,c\r\nd : e\n", "a: b, c\nd: e\n"},
        {"\357\273\277a: b,\n  c,\n\td\ne:\n f\n", "a: b, c, d\ne: f\n"},
        {"a: b, b, , A, a", "a: b, a\n"},
        {"x: Team\nTEAM: bob", "x: TEAM\nTEAM: bob\n"},
        {"a: b\nc d: e", "refused"},
        {"a: b\nc", "refused"},
        {"a: b\nA: c", "refused"},
        {"a: |/bin/sh", "refused"},
        {"a: :include:/etc/passwd", "refused"},
        {"a: /dev/null", "refused"},
        {"a: \xe4", "refused"},
    };
    for (const auto& [text, want] : rows) {
        AliasTable table;
        EXPECT_EQ(Imported(table, text), want) << text;
        EXPECT_EQ(table.Names().empty(), std::string(want) == "refused");
    }
}

TEST_F(Aliases, TakeChangesWholeOrNotAtAll)
{
    AliasTable table;
    ASSERT_EQ(Imported(table, "a: bob\nb: a, carol\nc:\n"), "a: bob\nb: a, carol\nc:\n");
    EXPECT_TRUE(table.Add("a", {{"bob", 0}, {"dora", 0}, {"dora", 1}, {"a", 2}, {"b", 2}}));
    EXPECT_FALSE(table.Add("a", {{"good", 0}, {"none", 2}}));
    EXPECT_FALSE(table.Add("A", {{"good", 0}})) << "another one in capitals";
    EXPECT_TRUE(table.Remove("b", {{"none", 0}, {"carol", 0}, {"a", 0}}));
    EXPECT_FALSE(table.Rename("a", "B"));
    EXPECT_FALSE(table.Rename("a", "x y"));
    EXPECT_TRUE(table.Rename("a", "A"));
    EXPECT_EQ(host::stores::AliasText(table), "A: bob, dora, %dora, A, b\nb: A\nc:\n");
    EXPECT_TRUE(table.Rename("A", "z"));
    table.Delete({"b", "none"});
    EXPECT_EQ(host::stores::AliasText(table), "z: bob, dora, %dora, z\nc:\n");
}

TEST_F(Aliases, ReachEachRecipientOnceWithoutLoops)
{
    const std::tuple<const char*, const char*, const char*> rows[] = {
        {"a: bob, %staff, BOB@mv.test, x@y.z, X@Y.z\n", "a", "bob alice sales x@y.z "},
        {"a: b, bob\nb: c\nc: a, carol\n", "a", "carol bob "},
        {"bob: \\bob, x@y.example\n", "bob", "bob x@y.example "},
        {"a: \\bob\nbob: carol\n", "a", "carol "},
        {"f: \\g\ng: \\f\n", "f", "f "},
        {"a: g@mv.test\ng: A+x@two.TEST, z@localhost\n", "a", "A+x z "},
        {"a: g+news@mv.test\ng: bob\n", "a", "bob "},
        {"sales: %staff\n", "sales", "alice sales bob "},
        {"a: root@mv.test\n", "a", "alice "},
        {"a: root\nroot: bob\n", "a", "bob "},
        {"a: CORP\\bob, %none\n", "a", "bob "},
    };
    for (const auto& [text, alias, want] : rows) EXPECT_EQ(Expanded(text, alias), want) << text;
    EXPECT_EQ(Expanded("a: %down\n", "a"), "about down");

    std::string chain = "a0: bob\n";
    for (int i = 1; i < 20000; ++i) {
        chain += "a" + std::to_string(i) + ": a" + std::to_string(i - 1) + "\n";
    }
    EXPECT_EQ(Expanded(chain, "a19999"), "bob ");

    // More than is read or kept at a time.
    std::string many = "all: a0", each, want;
    for (int i = 0; i < 30000; ++i) {
        const std::string name = "a" + std::to_string(i);
        if (i > 0) many += ", " + name;
        each += name + ": \\" + name + ", u" + name + "@far.example\n";
        want += name + " ";
    }
    for (int i = 0; i < 30000; ++i) want += "ua" + std::to_string(i) + "@far.example ";
    EXPECT_EQ(Expanded(many + "\n" + each, "all"), want);
}

TEST_F(Aliases, AreStoredByTheirDifferences)
{
    ASSERT_TRUE(host::MakeDirectories(host::Path("/run"), 0755));
    const host::ScopedLock lock;
    ASSERT_TRUE(host::stores::SwitchDatabases({"local", ""}));
    const auto stored = [] {
        return *host::stores::ReadAccountDatabase(host::stores::AccountDatabase::kAlias);
    };
    const auto change = [&](AliasTable& table) -> std::string {
        {
            SQLite::Transaction transaction(table.database());
            if (!table.draft().Store()) return "refused";
            transaction.commit();
        }
        AliasTable again(stored());
        return host::stores::AliasText(again);
    };

    AliasTable table(stored());
    const std::string first = "a: bob, x@y.example\nb: a, %staff\nc:\n";
    ASSERT_EQ(Imported(table, first), first);
    EXPECT_EQ(change(table), first);

    // Names change places, which a store of one row after the other could not take.
    AliasTable again(stored());
    EXPECT_TRUE(again.Rename("a", "t"));
    EXPECT_TRUE(again.Rename("c", "A"));
    EXPECT_TRUE(again.Rename("t", "c"));
    EXPECT_TRUE(again.Add("d", {{"dora", 0}}));
    const std::string second = "c: bob, x@y.example\nb: c, %staff\nA:\nd: dora\n";
    EXPECT_EQ(change(again), second);

    // More is new than stays, which is stored another way.
    AliasTable most(stored());
    const std::string many = "x: bob, y\nB: z, %staff\ny:\nz: x, Y, y, z\nA: a\n";
    const std::string third =
        "c: bob, x@y.example\nb: z, %staff\nA: A\nd: dora\nx: bob, y\ny:\nz: x, y, z\n";
    EXPECT_EQ(Imported(most, many), third);
    EXPECT_EQ(change(most), third);

    AliasTable late(stored());
    EXPECT_TRUE(late.Add("late", {}));
    AliasTable sooner(stored());
    sooner.Delete({"x"});
    const std::string fourth = change(sooner);
    EXPECT_EQ(change(late), "refused");
    AliasTable unchanged(stored());
    EXPECT_EQ(host::stores::AliasText(unchanged), fourth);
}

}  // namespace
