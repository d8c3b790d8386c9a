// The self-check: its table, how checks are run, and what they find at servers that misbehave.
#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <tuple>

#include "host/libhaldcore/descriptor.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/settings/settings_table.h"

namespace {

using host::selfcheck::Check;
using host::selfcheck::CheckWord;
using host::selfcheck::Finding;
using host::settings::StoredSettings;
using std::chrono::seconds;

TEST(SelfCheckTable, StandsInTheDocumentRowByRow)
{
    std::ifstream document(SELF_CHECK_DOCUMENT);
    std::vector<std::string> rows;
    std::vector<std::string> wanted;
    for (std::string line; std::getline(document, line);) {
        if (line.rfind("| `", 0) == 0) rows.push_back(line);
    }
    for (const Check& check : host::selfcheck::AllChecks()) {
        std::istringstream names(check.settings == nullptr ? "" : check.settings);
        std::string off;
        for (std::string name; names >> name;) {
            EXPECT_NE(nullptr, host::settings::FindSetting(name)) << check.key;
            off += (off.empty() ? "`" : ", `") + name + "`";
        }
        wanted.push_back("| `" + std::string(check.key) + "` | " + check.meaning + " | " + off +
                         " |");
    }
    EXPECT_EQ(wanted, rows);
}

using Run = Finding (*)(const StoredSettings&, const char*);

const Run kFine = [](const auto&, auto) { return Finding(); };
const Run kFails = [](const auto&, auto subject) { return Finding{CheckWord::kFailed, subject}; };
const Run kHangs = [](const auto&, auto) -> Finding {
    for (;;) pause();
};
const Run kHangsAndTakesNoSignal = [](const auto& settings, auto subject) {
    signal(SIGTERM, SIG_IGN);
    return kHangs(settings, subject);
};
int begun[2];  ///< a pipe that tells when the next one has begun
const Run kBeginsAndHangs = [](const auto& settings, auto subject) {
    (void)alarm(30);
    (void)!write(begun[1], "x", 1);
    return kHangs(settings, subject);
};
const Run kCrashes = [](const auto&, auto) -> Finding { std::abort(); };
const Run kThrows = [](const auto&, auto) -> Finding {
    throw std::runtime_error("a check throws");
};
const Run kTalksALot = [](const auto&, auto) {
    return Finding{CheckWord::kWarning, std::string(1 << 20, 'x')};
};

constexpr seconds kPatience{30};  // no check that answers takes that long, on a busy machine either

Check Row(Run run, const char* settings = nullptr, seconds limit = kPatience)
{
    return {"key", settings, run, "subject", limit, ""};
}

/// What is found at the default settings.
std::vector<Finding> FindingsOf(const std::vector<Check>& checks)
{
    return host::selfcheck::RunChecks(checks, StoredSettings());
}

std::vector<std::string> Words(const std::vector<Finding>& findings)
{
    std::vector<std::string> words;
    for (const Finding& finding : findings)
        words.emplace_back(host::selfcheck::Spelling(finding.word));
    return words;
}

TEST(SelfCheckRunner, KeepsTheOrderRunsNothingThatIsOffAndSurvivesCrashes)
{
    const auto findings =
        FindingsOf({Row(kFails), Row(kThrows), Row(kCrashes, "pop3_enabled"),
                    Row(kFine, "imap_enabled"), Row(kCrashes, "account_type enable_dkim"),
                    Row(kFails, "enable_dkim imap_enabled"), Row(kTalksALot), Row(kCrashes)});
    EXPECT_EQ((std::vector<std::string>{"FAILED", "UNKNOWN", "OFF", "OK", "OFF", "FAILED",
                                        "WARNING", "UNKNOWN"}),
              Words(findings));
    EXPECT_EQ("subject", findings[0].detail);
    EXPECT_GE(findings[6].detail.size(), 500U);
}

TEST(SelfCheckRunner, EndsWhatHangsAtItsLimitAndLeavesNoProcess)
{
    const auto start = std::chrono::steady_clock::now();
    std::vector<Check> checks(20, Row(kHangs, nullptr, seconds(1)));
    checks.push_back(Row(kHangsAndTakesNoSignal, nullptr, seconds(1)));
    checks.push_back(Row(kFine));
    const auto findings = FindingsOf(checks);
    EXPECT_LT(std::chrono::steady_clock::now() - start, seconds(15)) << "they hang side by side";
    EXPECT_EQ("OK", Words(findings).back());
    EXPECT_EQ("UNKNOWN", Words(findings).front());
    EXPECT_EQ("took too long", findings[20].detail);
    EXPECT_EQ(-1, waitpid(-1, nullptr, WNOHANG));
    EXPECT_EQ(ECHILD, errno);
}

TEST(SelfCheckRunner, LeavesNoCheckBehindWhenItIsKilledItself)
{
    (void)prctl(PR_SET_CHILD_SUBREAPER, 1);  // what it leaves is found here
    ASSERT_EQ(0, pipe(begun));
    const pid_t request = fork();
    if (request == 0) {
        (void)FindingsOf({Row(kBeginsAndHangs)});
        _exit(0);
    }
    char byte = 0;
    EXPECT_EQ(1, read(begun[0], &byte, 1));
    (void)kill(request, SIGKILL);
    int status = 0;
    EXPECT_EQ(request, waitpid(request, &status, 0));
    EXPECT_GT(waitpid(-1, &status, 0), 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
    (void)close(begun[0]);
    (void)close(begun[1]);
}

/// A server on a port of its own that greets one client, with nothing for silence, and answers each
/// of its lines with the same reply.
class Server {
public:
    Server(std::string greeting, std::string reply = "", int family = AF_INET)
        : greeting_(greeting), reply_(reply), socket_(socket(family, SOCK_STREAM, 0))
    {
        const int alone = 1;
        (void)setsockopt(socket_.get(), IPPROTO_IPV6, IPV6_V6ONLY, &alone, sizeof alone);
        sockaddr_in6 name = {};  // an IPv4 name has its port in the same place
        name.sin6_family = static_cast<sa_family_t>(family);
        socklen_t size = family == AF_INET6 ? sizeof(sockaddr_in6) : sizeof(sockaddr_in);
        auto* const address = reinterpret_cast<sockaddr*>(&name);
        EXPECT_EQ(0, bind(socket_.get(), address, size));
        EXPECT_EQ(0, listen(socket_.get(), 1));
        EXPECT_EQ(0, getsockname(socket_.get(), address, &size));
        port_ = ntohs(name.sin6_port);
        thread_ = std::thread([this] { Serve(); });
    }

    ~Server() { thread_.join(); }

    /// The default settings with this server in the place of `portSetting`.
    StoredSettings At(const char* portSetting) const
    {
        StoredSettings settings;
        settings.Set(portSetting, std::to_string(port_));
        return settings;
    }

private:
    void Serve()
    {
        const host::Descriptor client(accept(socket_.get(), nullptr, nullptr));
        (void)send(client.get(), greeting_.data(), greeting_.size(), MSG_NOSIGNAL);
        char line[1000];
        while (recv(client.get(), line, sizeof line, 0) > 0) {
            (void)send(client.get(), reply_.data(), reply_.size(), MSG_NOSIGNAL);
        }
    }

    std::string greeting_;
    std::string reply_;
    host::Descriptor socket_;
    int port_ = 0;
    std::thread thread_;
};

TEST(SelfCheckGreeting, TellsAMailServiceFromOthers)
{
    const std::tuple<const char*, const char*, CheckWord> rows[] = {
        {"smtp_port", "220 mv.test ESMTP\r\n", CheckWord::kOk},
        {"smtp_tls_port", "421 too busy\r\n", CheckWord::kFailed},
        {"imap_port", "* OK ready\r\n", CheckWord::kOk},
        {"imap_port", "* BYE\r\n", CheckWord::kFailed},
        {"pop3_port", "+OK ready\r\n", CheckWord::kOk},
        {"pop3_port", "", CheckWord::kFailed},
    };
    for (const auto& [setting, greeting, want] : rows) {
        const Server server(greeting);
        EXPECT_EQ(want, host::selfcheck::CheckGreeting(server.At(setting), setting).word)
            << greeting;
    }
}

TEST(SelfCheckOpenRelay, FailsWhenAStrangerIsLetThrough)
{
    const std::pair<const char*, CheckWord> rows[] = {
        {"250-long\r\n250 reply\r\n", CheckWord::kFailed},
        {"554 5.7.1 no\r\n", CheckWord::kOk},
        {"450 later\r\n", CheckWord::kUnknown}};
    for (const auto& [reply, want] : rows) {
        for (const int family : {AF_INET, AF_INET6}) {
            const Server server("220 hello\r\n", reply, family);
            EXPECT_EQ(want, host::selfcheck::CheckOpenRelay(server.At("smtp_port"), nullptr).word)
                << reply << family;
        }
    }
}

TEST(SelfCheckSignatures, CountsWhatTheEngineFindsVirusesWithAlone)
{
    namespace fs = std::filesystem;
    std::string folder = fs::temp_directory_path() / "signatures-XXXXXX";
    ASSERT_NE(nullptr, mkdtemp(folder.data()));
    const auto now = fs::file_time_type::clock::now();
    const std::tuple<const char*, const char*, int, CheckWord> rows[] = {
        {"freshclam.dat", "state", 0, CheckWord::kFailed},
        {"mirrors.dat", "state", 0, CheckWord::kFailed},
        {"local.ign2", "no virus", 0, CheckWord::kFailed},
        {"empty.ndb", "", 0, CheckWord::kFailed},
        {"daily.cld", "x", 8, CheckWord::kFailed},
        {"main.cvd", "x", 3, CheckWord::kWarning},
        {"local.ndb", "x", 1, CheckWord::kOk},
    };
    for (const auto& [name, text, days, want] : rows) {  // each beside those before it
        const fs::path file = fs::path(folder) / name;
        std::ofstream(file) << text;
        fs::last_write_time(file, now - std::chrono::hours(24 * days + 1));
        const Finding found = host::selfcheck::CheckSignatures(StoredSettings(), folder.c_str());
        EXPECT_EQ(want, found.word) << name << ": " << found.detail;
    }
    fs::remove_all(folder);
}

}  // namespace
