// Access lists, rules of blind copies, sender quotas, attachment types, and the files made of them;
// domains and blocklists.
#include <algorithm>
#include <memory>
#include <tuple>

#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/names/login_key.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/stores/sender_quota_table.h"
#include "platform/mailvane/attachment_filter.h"
#include "platform/mailvane/bcc.h"
#include "platform/mailvane/postfix.h"
#include "platform/mailvane/sender_quota.h"
#include "tests/host/libmailvane/lists/machine.h"
#include "tools/rate_policy/counters.h"

namespace {

class Lists : public ListMachine {
protected:
    void SetUp() override
    {
        ListMachine::SetUp();
        access.reset(Access::getInstance());
        ASSERT_NE(nullptr, access);
    }

    int ImportAccess(Type type, const std::string& text)
    {
        Write(File(), text);
        return access->importAccess(type, File());
    }

    std::string ImportBcc(const std::string& text)
    {
        Write(File(), text);
        bool done = false;
        {
            auto store = Store();
            SQLite::Transaction change(store);
            done = bool(host::stores::ImportRules(store, host::stores::kBccRules, BCC_SENDER,
                                                  File(), true));
            if (done) change.commit();
        }
        EXPECT_EQ(0, BCC::getInstance()->exportBCC(BCC_SENDER, File()));
        return (done ? "" : "refused, ") + Contents(File());
    }

    static SQLite::Database Store()
    {
        return *host::stores::ChangeAccountDatabase(host::stores::AccountDatabase::kMailvane);
    }

    /// Text of one of the files that a list fills.
    static std::string FileOf(const host::render::List& list, const std::string& name)
    {
        const auto files = host::save::StoredListFiles({&list}, {});
        for (const host::generation::ListFile& file : *files) {
            if (file.name == name) return Whole(file.text);
        }
        return "no such file";
    }

    std::unique_ptr<Access> access;
};

}  // namespace

TEST_F(Lists, ALongTextIsAsItWasWritten)
{
    host::generation::LongText text;
    std::string want;
    for (int line = 0; line < 20000; ++line) {
        want += std::to_string(line) + "\n";
        text += std::to_string(line) + "\n";
    }
    EXPECT_EQ(Whole(text), want);
    EXPECT_EQ(Whole(text), want) << "it is read more than once";
}

TEST(ListNames, AreStoredInOneSpelling)
{
    const std::tuple<NameType, const char*, const char*> rows[] = {
        {NAME_ADDRESS, "A.b+C@X.Example", "a.b+c@x.example"},
        {NAME_ADDRESS, "bob", "none"},
        {NAME_ADDRESS, "@x.example", "none"},
        {NAME_ADDRESS, "a@192.0.2.1", "none"},
        {NAME_ADDRESS,
         "A@B\xc3\x9c"
         "CHER.Example",
         "a@xn--bcher-kva.example"},
        {NAME_DOMAIN,
         "bu\xcc\x88"
         "cher.example",
         "xn--bcher-kva.example"},
        {NAME_DOMAIN, "\xc3\xbc..example", "none"},
        {NAME_DOMAIN,
         "stra\xc3\x9f"
         "e.example",
         "xn--strae-oqa.example"},
        {NAME_DOMAIN, "\xef\xbc\x91\xef\xbc\x90.0.0.1", "none"},  // wide digits
        {NAME_DOMAIN_TREE, ".\xd0\xbf\xd1\x80\xd0\xb8.test", "xn--h1and.test"},
        {NAME_DOMAIN, "X.Example", "x.example"},
        {NAME_DOMAIN, ".x.example", "none"},
        {NAME_DOMAIN, "10.0.0.1", "none"},
        {NAME_DOMAIN_TREE, ".X.example", "x.example"},
        {NAME_DOMAIN_TREE, "..x.example", "none"},
        {NAME_IP, "10.0.0.01", "none"},
        {NAME_IP, "2001:DB8:0:0::1", "2001:db8::1"},
        {NAME_IP, "::ffff:10.0.0.1", "10.0.0.1"},
        {NAME_IP, "fe80::1%eth0", "none"},
        {NAME_IP, "[2001:db8::1]", "none"},
        {NAME_IP, "2001:db8::1/128", "none"},
        {NAME_DOMAIN, "2001:db8::1", "none"},
        {NAME_NETWORK, "10.1.2.3/12", "10.0.0.0/12"},
        {NAME_NETWORK, "10.0.0.0/0", "0.0.0.0/0"},
        {NAME_NETWORK, "10.0.0.1/32", "10.0.0.1/32"},
        {NAME_NETWORK, "2001:DB8::1/33", "2001:db8::/33"},
        {NAME_NETWORK, "::ffff:10.1.2.3/112", "10.1.0.0/16"},
        {NAME_NETWORK, "[2001:db8::]/64", "none"},
        {NAME_NETWORK, "2001:db8::/129", "none"},
        {NAME_NETWORK, "10.0.0.0/33", "none"},
        {NAME_NETWORK, "10.0.0.0/-1", "none"},
    };
    for (const auto& [kind, text, want] : rows) {
        EXPECT_EQ(host::names::StoredName(kind, text).value_or("none"), want) << text;
    }
    EXPECT_FALSE(host::names::IsNameOfKind(NAME_DOMAIN, std::string("x.example\0y", 11)));
}

TEST_F(Lists, AnAccessListSurvivesExportAndImport)
{
    const std::string text =
        "10.0.0.0/8 DISCARD\n10.0.0.1 OK\n2001:db8::1 OK\nhost.example OK\n.tree.example REJECT\n";
    const std::string asWritten =
        "\xef\xbb\xbf# clients\r\n\r\n10.1.1.1/8\tdiscard\r\n10.0.0.1   OK\r"
        "2001:DB8:0::1 ok\nHost.Example Ok\n.tree.example REJECT\n10.0.0.1 OK\n";
    ASSERT_EQ(0, ImportAccess(TYPE_CLIENT, asWritten));
    EXPECT_EQ(0, access->exportAccess(TYPE_CLIENT, File()));
    EXPECT_EQ(Contents(File()), text);
    EXPECT_EQ(0, ImportAccess(TYPE_CLIENT, "10.0.0.1 REJECT\n"));  // gives it another permission
    EXPECT_EQ(5, access->getTotalAccessNum({}));
    const char name[] =
        "b\xc3\xbc"
        "cher.example";
    EXPECT_EQ(0, access->addAccess(TYPE_CLIENT, NAME_DOMAIN, name, ACCESS_OK));
    EXPECT_EQ(1, access->getTotalAccessNum({0, 9, "name",
                                            "B\xc3\x9c"
                                            "CHER"}));
    EXPECT_EQ(0, access->deleteAccess({{name, ACCESS_OK, TYPE_CLIENT, NAME_DOMAIN}}));
    EXPECT_EQ(5, access->getTotalAccessNum({}));
    for (const char* bad : {"new.example OK\na@b.example OK\n", "new.example\n",
                            "new.example OK\nnew.example REJECT\n", "x\x01 OK\n", "\xff OK\n"}) {
        EXPECT_EQ(-1, ImportAccess(TYPE_CLIENT, bad)) << bad;
    }
    EXPECT_EQ(5, access->getTotalAccessNum({}));
}

TEST_F(Lists, AreSearchedByTheFieldAskedForAndPaged)
{
    ASSERT_EQ(
        0, ImportAccess(TYPE_SENDER, "b.example OK\nreject.example DISCARD\nz.example REJECT\n"));
    const std::pair<Filter, const char*> rows[] = {
        {{0, 9, "all", "reject"}, "reject.example z.example "},
        {{0, 9, "name", "reject"}, "reject.example "},
        {{0, 9, "status", "reject"}, "z.example "},
        {{0, 9, "other", "reject"}, ""},
        {{0, 9, "name", "rej_ct"}, ""},
        {{1, 1, "all", ""}, "reject.example "},
        {{0, -1, "all", ""}, ""},
    };
    for (const auto& [filter, want] : rows) {
        std::string names;
        for (const AccessInfo& entry : access->getAllAccessList(filter)) names += entry.name + " ";
        EXPECT_EQ(names, want) << filter.searchType;
    }
    (void)ImportBcc("ann copies\n");
    EXPECT_EQ(1, BCC::getInstance()->getTotalBccNum({0, 9, "bcc_to", "copies"}));
    EXPECT_EQ(0, BCC::getInstance()->getTotalBccNum({0, 9, "bcc_to", "ann"}));
}

TEST_F(Lists, TheNearestEntryComesFirstInTheMaps)
{
    ASSERT_EQ(0, ImportAccess(TYPE_RECIPIENT,
                              ".x.example DISCARD\nx.example REJECT\n"
                              "a@x.example DISCARD\nb@x.example OK\n"));
    ASSERT_EQ(0, ImportAccess(TYPE_CLIENT,
                              "10.0.0.0/8 OK\n10.1.0.0/16 REJECT\n::/0 DISCARD\n"
                              "10.0.0.1 OK\n.x.example REJECT\n"));
    const host::render::List& files = host::render::kAccessList;
    EXPECT_EQ(FileOf(files, "recipient_access"),
              "a@x.example DUNNO\nb@x.example OK\nx.example REJECT\n.x.example DUNNO\n");
    EXPECT_EQ(FileOf(files, "recipient_transport"),
              "discarded.invalid discard:\na@x.example discard:\nb@x.example :\nx.example :\n"
              ".x.example discard:\n");
    EXPECT_EQ(FileOf(files, "discarded_recipients"), "a@x.example discarded@discarded.invalid\n");
    EXPECT_EQ(FileOf(files, "client_addresses"), "10.0.0.1 OK\n");
    EXPECT_EQ(FileOf(files, host::generation::kClientNetworksFile),
              "10.1.0.0/16 REJECT\n10.0.0.0/8 OK\n::/0 DISCARD\n");
    EXPECT_EQ(FileOf(files, "client_access"), "x.example REJECT\n.x.example REJECT\n");
}

TEST_F(Lists, RulesOfCopiesSurviveExportAndImport)
{
    EXPECT_EQ(ImportBcc("Ann Copies\r\n@X.example a@b.example\n"),
              "@x.example a@b.example\nann Copies\n");
    for (const char* bad : {"bob\n", "a b c\n", "@ bob\n", "ann one\nANN two\n"}) {
        EXPECT_EQ(ImportBcc(bad), "refused, @x.example a@b.example\nann Copies\n") << bad;
    }
    EXPECT_EQ(FileOf(host::render::kCopyList, "sender_bcc"),
              "@x.example a@b.example\nann Copies\n");
}

TEST_F(Lists, AChangeOfCopiesThatDoesNotComeInForceIsTakenBack)
{
    // There is no mail server here whose tables could be made.
    ASSERT_EQ(ImportBcc("ann one\nbob two\n"), "ann one\nbob two\n");
    EXPECT_EQ(-1, BCC::getInstance()->addBCC(BCC_SENDER, "carl", "three"));
    EXPECT_EQ(-1, BCC::getInstance()->deleteBCC({{"ANN", "", BCC_SENDER}}));
    EXPECT_EQ(ImportBcc(""), "ann one\nbob two\n");
}

TEST_F(Lists, AQuotaIsFoundByTheLoginInAnySpelling)
{
    auto store = Store();
    host::stores::ChangeQuotas(store, {{"Bob", 7}, {"bob", 4294967295U}, {"ann", 0}});
    EXPECT_EQ(FileOf(host::render::kQuotaList, host::generation::kQuotaFile),
              "0 ann\n4294967295 bob\n");
    std::list<SenderQuota::Setting> page;
    EXPECT_EQ(2, SenderQuota::GetSettingList(page, 0, 1));
    EXPECT_EQ(1U, page.size());
    host::stores::ChangeQuotas(store, {{"BOB", std::nullopt}, {"nobody", std::nullopt}});
    EXPECT_EQ(1, SenderQuota::GetSettingList(page, 0, 1));
    for (const std::string bad : {"a\nb", "\xff", "", "@x"})
        EXPECT_EQ(-1, SenderQuota::Set(bad, 1));
    for (const char* login : {"bob", "BOB", "bob@x.example", "DOM\\Bob"}) {
        EXPECT_EQ(host::names::LoginKey(login), "bob");
    }
}

TEST(RateCounters, HaveNamesThatMemcachedTakesWhateverTheLogin)
{
    using rate_policy::Counters;
    for (const std::string& login : {std::string("a b\r\nflush_all"), std::string(2000, '\xff')}) {
        const std::string key = Counters::KeyOf(login);
        EXPECT_LE(key.size(), 250U);
        EXPECT_TRUE(std::all_of(key.begin(), key.end(), [](char c) { return c > ' ' && c < 127; }));
    }
    EXPECT_NE(Counters::KeyOf("a b"), Counters::KeyOf("a%20b"));
}

TEST_F(Lists, AttachmentTypesAreTakenAllOrNone)
{
    const auto wanted = [] {
        std::list<std::string> types;
        EXPECT_LE(0, AttachmentFilter::GetList(types, ""));
        return types;
    };
    EXPECT_EQ(0, AttachmentFilter::Add({".EXE", "*.tar.gz", "exe"}));
    EXPECT_EQ(wanted(), (std::list<std::string>{"exe", "tar.gz"}));
    std::list<std::string> found;
    EXPECT_EQ(1, AttachmentFilter::GetList(found, "gz")) << "by any part";
    for (const char* bad : {"", ".", "a b", "a/", "$1", "a..b", "\xc3\xa9"}) {
        EXPECT_EQ(-1, AttachmentFilter::Add({"zip", bad})) << bad;
    }
    EXPECT_EQ(0, AttachmentFilter::Delete({"EXE", "zip", "a b"}));
    EXPECT_EQ(wanted(), std::list<std::string>{"tar.gz"});
    // There is no mail server here that would take them.
    EXPECT_EQ(-1, AttachmentFilter::GenerateConfig());
    EXPECT_TRUE(host::stores::AttachmentTypes()->empty());
}

TEST(MailServerLists, HaveADomainOnceAndABlocklistOnceOfEachType)
{
    using Names = std::list<std::string>;
    Postfix postfix;
    for (const char* domain : {"A.example", "a.example", "b.example"}) {
        EXPECT_EQ(0, postfix.AddDomain(domain));
    }
    EXPECT_EQ(postfix.GetAdditionDomain(), (Names{"a.example", "b.example"}));
    EXPECT_EQ(0, postfix.DeleteDomain("B.example"));
    EXPECT_EQ(postfix.GetAdditionDomain(), Names{"a.example"});

    for (const char* type : {"rbl_client", "rhsbl_helo"}) {
        EXPECT_EQ(0, postfix.AddDNSBL({"zone.example", type}));
    }
    EXPECT_EQ(0, postfix.DeleteDNSBL({"Zone.example", "rbl_client"}));
    ASSERT_EQ(1U, postfix.GetDNSBLList().size());
    EXPECT_EQ("rhsbl_helo", postfix.GetDNSBLList().front().type);
}

TEST_F(Lists, ImportsTellEachRefusedLineAndWhy)
{
    const auto evens = [](const std::string& line) -> host::Result<void> {
        if (line.size() % 2 == 0) return {};
        return host::Reason{host::ReasonCode::kTaken, line, "is odd"};
    };
    Write(File(), "# odd\r\nodd\r\neven\n\n\tb\xff\nodd");
    const auto read = host::names::ReadListText(File(), evens);
    ASSERT_FALSE(read);
    ASSERT_EQ(read.reason().causes.size(), 3U);
    EXPECT_EQ(read.reason().causes[0].about.text(), "line 2");
    EXPECT_EQ(read.reason().causes[0].code, host::ReasonCode::kTaken);
    EXPECT_EQ(read.reason().causes[0].text, "list to import, line 2: is odd");
    EXPECT_EQ(read.reason().causes[1].text,
              "list to import, line 5: holds what is no text in UTF-8");
    EXPECT_EQ(read.reason().causes[2].about.text(), "line 6");
    EXPECT_EQ(read.reason().text, "");

    std::string flood;
    for (int i = 0; i < 30; ++i) flood += "odd\n";
    EXPECT_EQ(ImportAccess(TYPE_SENDER, flood), -1);
    EXPECT_TRUE(WasLogged("list to import, line 20: is not a name and its permission"));
    EXPECT_FALSE(WasLogged("line 21:"));
    EXPECT_TRUE(WasLogged("list to import: 30 lines refused"));
}
