// Healing of the data kept per account combination: after every step of a switch that was not
// completed, after a kill at any moment of the healing itself, and from damaged files.
#include "host/libmailvane/stores/account_data.h"

#include <dlfcn.h>
#include <unistd.h>

#include <memory>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libmailvane/stores/account_databases.h"
#include "host/libmailvane/stores/account_record.h"
#include "tests/host/machine.h"

namespace {

/// Calls that change a directory until the process is gone before one; 0 for never.
int callsUntilDeath = 0;

template <typename Function>
Function OriginalOf(const char* name)
{
    if (callsUntilDeath > 0 && --callsUntilDeath == 0) ::_exit(9);
    return reinterpret_cast<Function>(::dlsym(RTLD_NEXT, name));
}

}  // namespace

// Every library of this process finds these two before the C library's own.
extern "C" int rename(const char* from, const char* to) noexcept
{
    return OriginalOf<int (*)(const char*, const char*)>("rename")(from, to);
}
extern "C" int unlink(const char* path) noexcept
{
    return OriginalOf<int (*)(const char*)>("unlink")(path);
}

namespace {

namespace fs = std::filesystem;
using host::settings::AccountCombination;
using host::stores::AccountDatabase;
using host::stores::StoreOf;

const AccountCombination kOld{"local", ""};
const AccountCombination kNew{"ldap", "example.com"};
const AccountCombination kEvil{"local", "../../../etc/evil"};
constexpr auto kAlias = AccountDatabase::kAlias;
constexpr auto kRest = AccountDatabase::kMailvane;

std::string Live(AccountDatabase which)
{
    return host::PackagePath(StoreOf(which).live);
}

std::string Parking()
{
    return host::PackagePath("target/etc/alias_bkp");
}

std::string Parked(const AccountCombination& owner, const char* suffix)
{
    return Parking() + "/" + owner.type + "_" + owner.domain + suffix;
}

std::string Parked(const AccountCombination& owner, AccountDatabase which)
{
    return Parked(owner, StoreOf(which).parkedSuffix);
}

/// Makes a database of `owner` that can be told from every other by `mark`.
void MakeDatabase(const std::string& path, const AccountCombination& owner, const std::string& mark)
{
    const host::system::Schema schema = StoreOf(kAlias).schema;
    ASSERT_TRUE(host::stores::CreateAccountDatabase(path, schema, owner));
    ASSERT_TRUE(host::stores::Stamp(path, schema, owner));
    SQLite::Database(path, SQLite::OPEN_READWRITE)
        .exec("CREATE TABLE mark (text TEXT); INSERT INTO mark VALUES ('" + mark + "')");
}

/// The mark of a database, "" for one without, "missing" or "damaged".
std::string MarkOf(const std::string& path)
{
    if (!fs::exists(path)) return "missing";
    try {
        SQLite::Database database(path);
        if (!database.tableExists("mark")) return "";
        return database.execAndGet("SELECT text FROM mark").getString();
    } catch (const SQLite::Exception&) {
        return "damaged";
    }
}

std::string ReadBcc(const std::string& path)
{
    const auto file = host::KeyValueFile::Read(path);
    return file ? file->Get("always_bcc").value_or("") : "";
}

void WriteBcc(const std::string& path, const std::string& value)
{
    auto file = host::KeyValueFile::Read(path).value_or(host::KeyValueFile::Parse(""));
    ASSERT_TRUE(file.Set("always_bcc", value) && file.Write(path, 0600));
}

/// Runs `operation` in a process that is killed before its `calls`th change of a directory; true
/// when it got to its end.
bool RunUntilKilled(int calls, const std::function<void()>& operation)
{
    return StatusOf(InChild([&] {
               callsUntilDeath = calls;
               operation();
               return 0;
           })) == 0;
}

class AccountData : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        fs::create_directories(Parking());
        lock = std::make_unique<host::ScopedLock>();
        ASSERT_TRUE(lock->held());
        settings = host::PackagePath("etc/mailvane.conf");
        Write(settings, "smtp_port=\"25\"\nalways_bcc=\"old@a\"\n");
    }

    void TearDown() override
    {
        lock.reset();
        Machine::TearDown();
    }

    /// An empty machine again, for the next case.
    void StartOver()
    {
        TearDown();
        SetUp();
    }

    /// The old combination is live; the new one is parked, if it has been used before.
    static void Prepare(bool usedBefore)
    {
        MakeDatabase(Live(kAlias), kOld, "old alias");
        MakeDatabase(Live(kRest), kOld, "old rest");
        if (!usedBefore) return;
        MakeDatabase(Parked(kNew, kAlias), kNew, "new alias");
        MakeDatabase(Parked(kNew, kRest), kNew, "new rest");
        WriteBcc(Parked(kNew, "_alwaysBCC"), "new@a");
    }

    /// What the program does to change the combination, step by step.
    std::vector<std::function<void()>> Switch(const AccountCombination& from,
                                              const AccountCombination& to)
    {
        std::vector<std::function<void()>> steps;
        for (const AccountDatabase which : {kAlias, kRest}) {
            steps.emplace_back([=] { fs::rename(Live(which), Parked(from, which)); });
            steps.emplace_back([=] {
                if (fs::exists(Parked(to, which))) fs::rename(Parked(to, which), Live(which));
            });
        }
        steps.emplace_back([=] { WriteBcc(Parked(from, "_alwaysBCC"), ReadBcc(settings)); });
        steps.emplace_back([=] { WriteBcc(settings, ReadBcc(Parked(to, "_alwaysBCC"))); });
        return steps;
    }

    void SwitchAndSave(const AccountCombination& from, const AccountCombination& to)
    {
        for (const auto& step : Switch(from, to)) step();
        EXPECT_TRUE(host::stores::ForgetParkedAlwaysBcc(to));
        EXPECT_TRUE(host::stores::SwitchDatabases(to));
        Heal(to);
    }

    /// Heals where it is needed, and checks that nothing is left to do then.
    static void Heal(const AccountCombination& stored)
    {
        if (!host::stores::AccountDataIsSound(stored)) {
            EXPECT_TRUE(host::stores::HealAccountData(stored));
        }
        EXPECT_TRUE(host::stores::AccountDataIsSound(stored));
    }

    std::string LiveMarks() const
    {
        return MarkOf(Live(kAlias)) + ", " + MarkOf(Live(kRest)) + ", " + ReadBcc(settings);
    }

    std::unique_ptr<host::ScopedLock> lock;
    std::string settings;
};

TEST_F(AccountData, SurvivesASwitchThatStopsAfterAnyStep)
{
    for (const bool usedBefore : {false, true}) {
        const std::string newMarks = usedBefore ? "new alias, new rest, new@a" : ", , ";
        for (size_t stop = 0; stop <= 6; ++stop) {
            SCOPED_TRACE((usedBefore ? "used before, step " : "new, step ") + std::to_string(stop));
            StartOver();
            Prepare(usedBefore);
            const auto steps = Switch(kOld, kNew);
            ASSERT_EQ(6U, steps.size());
            for (size_t step = 0; step < stop; ++step) steps[step]();

            Heal(kOld);
            EXPECT_EQ("old alias, old rest, old@a", LiveMarks());
            SwitchAndSave(kOld, kNew);
            EXPECT_EQ(newMarks, LiveMarks());
            SwitchAndSave(kNew, kOld);
            EXPECT_EQ("old alias, old rest, old@a", LiveMarks());
        }
    }
}

TEST_F(AccountData, SurvivesAKillAtAnyMomentOfTheHealing)
{
    const std::string elsewhere = OtherFileSystem();
    const auto heal = [] { (void)host::stores::HealAccountData(kOld); };
    for (const bool otherDisk : {false, true}) {
        bool finished = false;
        for (int calls = 1; !finished; ++calls) {
            SCOPED_TRACE("before change " + std::to_string(calls) +
                         (otherDisk ? ", two disks" : ""));
            StartOver();
            Prepare(true);
            for (const auto& step : Switch(kOld, kNew)) step();
            if (otherDisk) {
                fs::remove_all(elsewhere);
                fs::copy(Parking(), elsewhere);
                fs::remove_all(Parking());
                fs::create_directory_symlink(elsewhere, Parking());
            }
            finished = RunUntilKilled(calls, heal);
            Heal(kOld);
            EXPECT_EQ("old alias, old rest, old@a", LiveMarks());
            EXPECT_EQ("new alias", MarkOf(Parked(kNew, kAlias)));
            EXPECT_EQ("new rest", MarkOf(Parked(kNew, kRest)));
            ASSERT_LT(calls, 100);
        }
    }
    fs::remove_all(elsewhere);
}

/// Makes what a row of the table below names: nothing, a file that is no good, or a database of the
/// combination whose first letter the text begins with, marked with the text.
void Make(const std::string& path, const std::string& what)
{
    if (what == "nothing") return;
    if (what == "empty") return std::ofstream(path).close();
    if (what == "garbage") return void(std::ofstream(path) << std::string(8192, 'x'));

    MakeDatabase(path, what[0] == 'o' ? kOld : what[0] == 'n' ? kNew : kEvil, what);
    if (what != "new, torn") return;
    // From the third page to the last one, which holds the mark.
    const auto torn = static_cast<std::size_t>(fs::file_size(path)) - 8192;
    std::fstream(path, std::ios::in | std::ios::out).seekp(8192) << std::string(torn, 'x');
}

/// The mark of the file that was kept under another name.
std::string MarkKeptAside()
{
    for (const auto& entry : fs::recursive_directory_iterator(host::PackagePath(""))) {
        if (entry.path().string().find(".kept-") != std::string::npos) return MarkOf(entry.path());
    }
    return "nothing";
}

TEST_F(AccountData, ComesFromTheParkedCopyOrIsLostUntilASwitchMakesItAnew)
{
    const struct {
        const char *live, *parked, *parkedOther;  ///< before; parked of the old and the new one
        const char *want, *aside;                 ///< live then, and kept under another name
    } cases[] = {
        {"garbage", "nothing", "nothing", "", "damaged"},
        {"new, torn", "old", "nothing", "old", "damaged"},
        {"empty", "old", "nothing", "old", ""},
        {"nothing", "garbage", "nothing", "", "damaged"},
        {"nothing", "new", "nothing", "", "new"},
        {"evil", "nothing", "nothing", "", "evil"},
        {"old", "old, stale", "nothing", "old", "nothing"},
        {"new", "old", "new, earlier", "old", "new, earlier"},
    };
    for (const auto& row : cases) {
        SCOPED_TRACE(std::string(row.live) + " live, parked " + row.parked);
        StartOver();
        Make(Live(kAlias), row.live);
        Make(Parked(kOld, kAlias), row.parked);
        Make(Parked(kNew, kAlias), row.parkedOther);
        Make(Live(kRest), "old");
        const std::string before = MarkOf(Live(kAlias));
        const bool isLost = *row.want == '\0';
        EXPECT_EQ(static_cast<bool>(host::stores::HealAccountData(kOld)), !isLost);
        if (isLost) {
            EXPECT_EQ(before + "nothing", MarkOf(Live(kAlias)) + MarkKeptAside());
        }

        EXPECT_TRUE(host::stores::SwitchDatabases(kOld));
        EXPECT_EQ(row.want, MarkOf(Live(kAlias)));
        EXPECT_EQ(row.aside, MarkKeptAside());
        EXPECT_FALSE(fs::exists(host::PackagePath("etc/evil")));
    }
}

TEST_F(AccountData, FollowsADomainThatIsSpelledOtherwise)
{
    const AccountCombination small{"local", "mv.test"};
    const AccountCombination large{"local", "MV.test"};
    for (const bool hasItsOwn : {false, true}) {
        StartOver();
        MakeDatabase(Live(kAlias), small, "small alias");
        MakeDatabase(Live(kRest), small, "small rest");
        if (hasItsOwn) MakeDatabase(Parked(large, kAlias), large, "large alias");
        for (const auto& step : Switch(small, large)) step();
        EXPECT_TRUE(host::stores::SwitchDatabases(large));
        EXPECT_EQ(hasItsOwn ? "large alias, small rest, " : "small alias, small rest, ",
                  LiveMarks());
        EXPECT_EQ(host::stores::ParkedAlwaysBcc(large).value_or("none"),
                  hasItsOwn ? "none" : "old@a");
        // Where the save fails, it is taken back.
        Heal(small);
        EXPECT_EQ("small alias, small rest, old@a", LiveMarks());
    }
}

/// A writer that is killed when part of its transaction is already in the file.
void LeaveHalfATransaction(const std::string& path)
{
    (void)RunUntilKilled(0, [&] {
        SQLite::Database database(path, SQLite::OPEN_READWRITE);
        database.exec("PRAGMA cache_size = 1; BEGIN; UPDATE mark SET text = 'torn'");
        database.exec("CREATE TABLE big (b)");
        for (int row = 0; row < 50; ++row) database.exec("INSERT INTO big VALUES (zeroblob(4000))");
        ::_exit(0);
    });
    ASSERT_TRUE(fs::exists(path + "-journal"));
}

TEST_F(AccountData, NeverMixesAJournalWithAnotherDatabase)
{
    const std::string live = Live(kAlias);
    Prepare(false);
    LeaveHalfATransaction(live);
    EXPECT_FALSE(host::stores::AccountDataIsSound(kOld))
        << "moved as it is, it would lose its journal";
    Heal(kOld);
    EXPECT_EQ("old alias", MarkOf(live));

    LeaveHalfATransaction(live);
    fs::remove(live);
    MakeDatabase(Parked(kOld, kAlias), kOld, "parked");
    Heal(kOld);
    EXPECT_EQ("parked", MarkOf(live));
}

TEST_F(AccountData, BringsBackTheCopyAddressAlone)
{
    Prepare(false);
    WriteBcc(Parked(kOld, "_alwaysBCC"), "true@a");
    EXPECT_FALSE(host::stores::AccountDataIsSound(kOld));
    EXPECT_TRUE(host::stores::HealAccountData(kOld));
    EXPECT_EQ("smtp_port=\"25\"\nalways_bcc=\"true@a\"\n", Contents(settings));
}

TEST_F(AccountData, IsLeftAloneWithoutTheLockOrASafeName)
{
    Prepare(false);
    for (const char* domain : {"a/b", "a\nb", ".."}) {
        EXPECT_FALSE(host::stores::HealAccountData({"local", domain})) << domain;
    }
    lock.reset();
    EXPECT_FALSE(host::stores::HealAccountData(kNew));
    EXPECT_EQ("old alias, old rest, old@a", LiveMarks());
}

}  // namespace
