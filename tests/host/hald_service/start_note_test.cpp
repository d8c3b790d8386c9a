// Whether a daemon runs with what is in force, and by what it takes that up.
#include "tools/hald_service/start_note.h"

#include "tests/host/machine.h"
#include "tools/hald_service/own_files.h"

namespace {

using service::StartNote;

const char kMain[] = "/var/packages/Mailvane/etc/generated/current/postfix/main.cf";
const char kTable[] = "/var/packages/Mailvane/etc/generated/current/postfix/maps/table";
const char kNote[] = "/run/mailvane/postfix.started";

class Notes : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        Write(kMain, "inet_interfaces = all\nmyhostname = one\n");
        Write(kTable, std::string(100000, 'x'));
        Write(kNote, "");
    }

    /// What a start would be with now.
    static StartNote Now() { return {host::daemons::kPostfix, service::Stored::Read(), {}}; }
};

TEST_F(Notes, TellWhatAReloadIsEnoughFor)
{
    EXPECT_FALSE(Now().Stands("1")) << "nobody knows";
    EXPECT_FALSE(Now().NeedsAStart("1")) << "nobody knows";
    const struct {
        const char* file;
        std::string text;
        bool needsAStart;
    } changes[] = {{kMain, "inet_interfaces = all\nmyhostname = two\n", false},
                   {kMain, "inet_interfaces = loopback-only\nmyhostname = two\n", true},
                   {kMain, "inet_interfaces=loopback-only\nqueue_directory = /queue\n", true},
                   {kTable, std::string(100001, 'x'), false}};
    for (const auto& change : changes) {
        ASSERT_TRUE(Now().Write("1"));
        EXPECT_TRUE(Now().Stands("1"));
        Write(change.file, change.text);
        EXPECT_FALSE(Now().Stands("1")) << change.text.substr(0, 60);
        EXPECT_EQ(Now().NeedsAStart("1"), change.needsAStart) << change.text.substr(0, 60);
        EXPECT_FALSE(Now().NeedsAStart("2")) << "that one began with it";
    }
    ASSERT_TRUE(Now().Write("1"));
    EXPECT_FALSE(Now().Stands("2"));
    Now().Forget();
    EXPECT_FALSE(Now().Stands("1"));
}

TEST_F(Notes, SeeTheOwnFilesThatAConfigurationNames)
{
    const std::string folder = root + "/own";
    Write("/own/cert.pem", "one");
    Write("/own/table", "one");
    Write("/own/more.dovecot.conf", "ssl_cert = <" + folder + "/cert.pem\n");
    Write("/main", "access = cidr:" + folder + "/table, reject\n!include " + folder +
                       "/*.dovecot.conf\n# " + folder + "/missing " + root + "/var/log/server\n");
    std::string before;
    for (const char* file : {"/own/cert.pem", "/own/table", "/own/more.dovecot.conf"}) {
        const std::string state = service::StateOfNamedFiles({root + "/main"});
        EXPECT_NE(state, before) << file;
        before = state;
        Write(file, Contents(file) + "\n");
    }
    const std::string state = service::StateOfNamedFiles({root + "/main"});
    EXPECT_NE(state, before);
    Write("/var/log/server", "one");
    EXPECT_EQ(service::StateOfNamedFiles({root + "/main"}), state) << "a log grows";
}

}  // namespace
