// Checks of the self-check that connect to the mail services as a client does: ports, certificate,
// relaying, packet filter.
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <sstream>

#include "host/libhaldcore/pem.h"
#include "host/libhaldcore/programs.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/daemons/sockets.h"
#include "host/libmailvane/daemons/web_ports.h"
#include "host/libmailvane/names/relay_probe.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/system/line_client.h"

namespace host::selfcheck {

namespace {

using Clock = std::chrono::steady_clock;

const char kOurTable[] = "table inet mailvane ";
constexpr std::chrono::seconds kSlow{2};

bool StartsWith(const std::string& text, const char* start)
{
    return text.compare(0, std::strlen(start), start) == 0;
}

/// The start of a service's greeting, and the command that ends the connection.
struct Protocol {
    const char* greeting;
    const char* farewell;
};

/// The protocol of the service whose port a setting names.
Protocol ProtocolOf(const char* portSetting)
{
    if (StartsWith(portSetting, "imap")) return {"* OK", "a LOGOUT"};
    if (StartsWith(portSetting, "pop3")) return {"+OK", "QUIT"};
    return {"220 ", "QUIT"};
}

Finding Failed(const std::string& detail)
{
    return {CheckWord::kFailed, detail};
}

Finding JudgeGreeting(const std::string& line, const Protocol& protocol, Clock::time_point start)
{
    if (!StartsWith(line, protocol.greeting)) return Failed("greets with \"" + line + "\"");
    if (Clock::now() - start > kSlow) return {CheckWord::kWarning, "greets slowly"};
    return {};
}

/// Services are tested by IPv4 and IPv6. Where one listens on only one of them, connections by the
/// other fail, which is no fault.
constexpr char kIpv6[] = "::1";

/// The server's output to a TLS client at a port, by IPv4 and IPv6; empty where nothing answers.
std::vector<ProgramResult> AskWithTls(int port, const std::vector<std::string>& options,
                                      const std::string& input)
{
    const std::string number = std::to_string(port);
    std::vector<std::vector<std::string>> commands;
    for (const std::string& address : {"127.0.0.1:" + number, "[::1]:" + number}) {
        commands.push_back({programs::kOpenssl, "s_client", "-connect", address});
        commands.back().insert(commands.back().end(), options.begin(), options.end());
    }
    ProgramOptions how = CheckOptions();
    how.input = input + "\r\n";
    return RunPrograms(commands, how);
}

std::string FirstCertificate(const std::string& text)
{
    return std::string(PemBlock(text, "CERTIFICATE"));
}

/// Whether the service at a port greets a client that connects from `from`; nothing when it does
/// not accept the connection.
std::optional<Finding> GreetingTo(const char* from, int port, const Protocol& protocol)
{
    const auto start = Clock::now();
    system::LineClient client(port, from);
    if (!client.connected()) return std::nullopt;

    const auto line = client.ReadLine();
    if (!line) return Failed("does not greet");

    client.Send(protocol.farewell);
    return JudgeGreeting(*line, protocol, start);
}

/// Whether a client that may not relay is refused; nothing when it cannot connect.
std::optional<Finding> RelayFor(const char* stranger, int port)
{
    system::LineClient client(port, stranger);
    if (!client.connected() || !client.ReadLine()) return std::nullopt;

    (void)client.Ask(std::string("EHLO ") + names::kProbeName);
    (void)client.Ask("MAIL FROM:<>");
    const std::string recipient = std::string("<") + names::kProbeRecipient + ">";
    const std::string reply = client.Ask("RCPT TO:" + recipient).value_or("no reply");
    client.Send("QUIT");
    if (StartsWith(reply, "2")) return Failed("a stranger may send to strangers");
    if (StartsWith(reply, "5")) return Finding();
    return Finding{CheckWord::kUnknown, "SMTP answers " + reply};
}

/// The value of a parameter of the mail server in the files in force.
std::string PostfixParameter(const char* name)
{
    const ProgramResult value =
        RunProgram({programs::kPostconf, "-c", kPostfixFiles, "-h", name}, CheckOptions());
    return value.output.substr(0, value.output.find('\n'));
}

/// The names of tables in the packet filter's listing that drop incoming packets by default and are
/// not the package's.
std::string DroppingTables(const std::string& chains)
{
    std::string names;
    std::string table;
    std::string::size_type start = 0;
    while (start < chains.size()) {
        const auto end = std::min(chains.find('\n', start), chains.size());
        const std::string line = chains.substr(start, end - start);
        start = end + 1;
        if (StartsWith(line, "table ")) table = line.substr(0, line.find('{'));
        const bool drops = line.find("hook input") != std::string::npos &&
                           line.find("policy drop") != std::string::npos;
        if (drops && table != kOurTable) names += table;
    }
    return names;
}

/// Whether the login guard runs and its table is in the packet filter.
bool IsGuarded()
{
    const daemons::Daemon& guard = daemons::kGuard;
    if (daemons::DaemonProcess(std::string(guard.pidFile), std::string(guard.program)).empty())
        return false;
    std::vector<std::string> command = {programs::kNft, "list", "table"};
    std::istringstream words(daemons::kWebGuardTable);
    for (std::string word; words >> word;) command.push_back(word);
    return RunProgram(command, CheckOptions()).Succeeded();
}

}  // namespace

ProgramOptions CheckOptions()
{
    ProgramOptions options;
    options.limit = std::chrono::seconds(3);
    options.capture = true;
    return options;
}

Finding CheckGreeting(const settings::StoredSettings& settings, const char* subject)
{
    const Protocol protocol = ProtocolOf(subject);
    Finding last = Failed("takes no connection");
    for (const char* from : {"127.0.0.1", kIpv6}) {
        const auto finding = GreetingTo(from, settings.Int(subject), protocol);
        if (finding) last = *finding;
        if (finding && finding->word != CheckWord::kOk) break;
    }
    return last;
}

Finding CheckTlsGreeting(const settings::StoredSettings& settings, const char* subject)
{
    const Protocol protocol = ProtocolOf(subject);
    const auto start = Clock::now();
    Finding last = Failed("takes no connection with TLS");
    for (const auto& result : AskWithTls(settings.Int(subject), {"-quiet"}, protocol.farewell)) {
        if (result.output.empty()) continue;

        last = JudgeGreeting(result.output.substr(0, result.output.find('\r')), protocol, start);
        if (last.word != CheckWord::kOk) break;
    }
    return last;
}

Finding CheckRelayLogin(const settings::StoredSettings& settings, const char* /*subject*/)
{
    if (!settings.Bool("smtp_relay_enabled")) return {CheckWord::kOff, ""};
    if (settings.Text("smtp_relay_password").empty()) return Failed("it has no password");
    if (!settings.Bool("smtp_relay_tls")) {
        return {CheckWord::kWarning, "it may cross the network in the clear"};
    }

    const std::string level = PostfixParameter("smtp_tls_security_level");
    for (const char* verifying : {"secure", "verify", "fingerprint", "dane-only"}) {
        if (level == verifying) return {};
    }
    return {CheckWord::kWarning, "with smtp_tls_security_level = " + level +
                                     " the host need not prove its name; a save of the relay's "
                                     "settings changes that, but not what is in local.d"};
}

Finding CheckServedCertificate(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const auto results = AskWithTls(settings.Int("smtp_port"), {"-starttls", "smtp"}, "QUIT");
    std::string served = FirstCertificate(results[0].output);
    if (served.empty()) served = FirstCertificate(results[1].output);
    if (served.empty() && results[0].status < 0) {
        return {CheckWord::kUnknown, "SMTP takes too long to show one"};
    }
    if (served.empty()) return Failed("SMTP shows no certificate");

    const std::string path = PostfixParameter("smtpd_tls_cert_file");
    const ProgramResult configured =
        RunProgram({programs::kOpenssl, "x509", "-in", path}, CheckOptions());
    if (served == FirstCertificate(configured.output)) return {};
    return Failed("SMTP shows another certificate than " + path);
}

Finding CheckOpenRelay(const settings::StoredSettings& settings, const char* /*subject*/)
{
    // Postfix trusts at most 127.0.0.1, so 127.0.0.2 is unknown to it. IPv6 has only one loopback
    // address; it is unknown only when local programs need a login too.
    std::vector<const char*> strangers = {names::kProbeAddress};
    if (settings.Bool("smtp_auth_required")) strangers.push_back(names::kProbeAddress6);
    Finding last = {CheckWord::kUnknown, "SMTP does not greet"};
    for (const char* stranger : strangers) {
        const auto finding = RelayFor(stranger, settings.Int("smtp_port"));
        if (finding) last = *finding;
        if (finding && finding->word != CheckWord::kOk) break;
    }
    return last;
}

Finding CheckPacketFilter(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    if (access(programs::kNft, X_OK) != 0) return {CheckWord::kOff, ""};

    const ProgramResult chains = RunProgram({programs::kNft, "list", "chains"}, CheckOptions());
    if (!chains.Succeeded()) return {CheckWord::kUnknown, chains.done.reason().text};

    const std::string names = DroppingTables(chains.output);
    if (names.empty()) return {};
    return {CheckWord::kWarning, "the mail ports must be open in " + names};
}

Finding CheckWebLogin(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const int port = daemons::WebPortOfNetwork();
    const auto listeners = daemons::TcpListeners();
    if (!listeners) return {CheckWord::kUnknown, listeners.reason().text};
    const bool isOpen =
        std::any_of(listeners->begin(), listeners->end(),
                    [port](const daemons::Listener& listener) { return listener.port == port; });
    if (!isOpen) return {CheckWord::kOff, ""};
    if (IsGuarded() || daemons::ListensAt("/run/fail2ban/fail2ban.sock")) return {};
    return {CheckWord::kWarning,
            "port " + std::to_string(port) + " is open, and nobody counts failed logins there"};
}

}  // namespace host::selfcheck
