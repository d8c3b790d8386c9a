// Who holds a port, by the tables of a made-up machine.
#include <algorithm>
#include <cstdio>
#include <map>

#include "host/libhaldcore/noted_reasons.h"
#include "host/libmailvane/daemons/listening_ports.h"
#include "platform/mailvane/web_utils.h"
#include "tests/host/machine.h"

namespace {

constexpr char kSmtp[] = "mail_smtp ,mail_haproxy_smtp";
constexpr char kImap[] = "mail_imap";

class Ports : public Machine {
protected:
    void AddSocket(const char* table, int port, const char* state, int inode)
    {
        char line[200];
        (void)snprintf(line, sizeof line,
                       "   0: 0100007F:%04X 00000000:0000 %s 00000000:00000000 00:00000000 00000000"
                       "  1000        0 %d 1 0000000051e228a7 100 0 0 10 0\n",
                       static_cast<unsigned>(port), state, inode);
        tables[table] += line;
        Write(root + "/proc/net/" + table,
              "  sl  local_address rem_address   st\n" + tables[table]);
    }

    void AddProcess(const std::string& pid, const std::string& program, int inode)
    {
        const std::string folder = root + "/proc/" + pid;
        std::filesystem::create_directories(folder + "/fd");
        std::filesystem::create_symlink(program, folder + "/exe");
        std::filesystem::create_symlink("socket:[" + std::to_string(inode) + "]", folder + "/fd/9");
    }

    std::map<std::string, std::string> tables;
};

TEST_F(Ports, TellOurServersFromOthers)
{
    AddSocket("tcp", 25, "0A", 100);    // our Postfix
    AddSocket("tcp", 143, "0A", 200);   // our Dovecot
    AddSocket("tcp", 587, "0A", 300);   // somebody
    AddSocket("tcp", 2525, "01", 301);  // a connection, nobody listens
    AddSocket("tcp6", 465, "0A", 0);    // an owner that cannot be found
    AddSocket("tcp", 8080, "0A", 400);  // our web server
    AddProcess("3", "/usr/sbin/lighttpd", 400);
    Write(root + "/run/mailvane/web/lighttpd.pid", "3\n");
    AddProcess("1", "/usr/lib/postfix/sbin/master", 100);
    AddProcess("2", "/usr/sbin/dovecot (deleted)", 200);
    Write(root + "/var/spool/postfix/pid/master.pid", "             1\n");
    Write(root + "/run/dovecot/master.pid", "2\n");

    const struct {
        const char *name, *services;
        int from, to;
        bool conflict;
    } cases[] = {
        {"our own port, blanks in the list", kSmtp, 25, 25, false},
        {"a part of a name is no name", "mail_smt", 25, 25, true},
        {"mail server's port for the mailbox server", kImap, 25, 25, true},
        {"mailbox server's port for the mail server", kSmtp, 143, 143, true},
        {"mailbox server's own, program replaced", kImap, 143, 143, false},
        {"nobody's", kSmtp, 26, 26, false},
        {"the near end of a connection", kSmtp, 2525, 2525, false},
        {"only in the table of IPv6", "mail_smtps ,mail_haproxy", 465, 465, true},
        {"ours and somebody's in a range", kSmtp, 20, 600, true},
        {"only ours in a range", kSmtp, 20, 30, false},
        {"beyond the last port", kSmtp, 25, 70000, false},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(row.conflict, WebUtils::IsPortConflict(row.services, row.from, row.to) != 0)
            << row.name;
    }
    const auto others = host::daemons::PortsHeldByOthers({25, 26, 143, 465, 587, 2525, 8080});
    ASSERT_TRUE(others);
    std::string owners;
    for (const auto& held : *others) {
        owners += std::to_string(held.port) + " ";
        owners += std::string(held.owner == nullptr ? "other" : held.owner->name) + "; ";
    }
    EXPECT_EQ(owners, "465 other; 587 other; 8080 web; ");

    const host::Subject setting = host::Subject::Setting("smtps_port");
    const auto& told = host::NotedReasons();
    EXPECT_TRUE(std::any_of(told.begin(), told.end(), [&setting](const host::NotedReason& one) {
        return one.about == setting && one.code == host::ReasonCode::kPortInUse;
    })) << "who is asked for a service's port tells which setting it is";
}

}  // namespace
