// Checks of the self-check that look at the mail services from outside: their ports, what they show
// there, whom they let through, and what stands before them.
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "host/libmailvane/checks.h"
#include "host/libmailvane/line_client.h"

namespace host {

namespace {

using Clock = std::chrono::steady_clock;

const char kNft[] = "/usr/sbin/nft";
const char kOurTable[] = "table inet mailvane ";
constexpr std::chrono::seconds kSlow{2};

bool StartsWith(const std::string& text, const char* start)
{
    return text.compare(0, std::strlen(start), start) == 0;
}

/// What opens and what ends a conversation with a mail service.
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

std::string LocalPort(int port)
{
    return "127.0.0.1:" + std::to_string(port);
}

/// The first certificate (PEM) in a text; empty when there is none.
std::string FirstCertificate(const std::string& text)
{
    const std::string last = "-----END CERTIFICATE-----";
    const auto start = text.find("-----BEGIN CERTIFICATE-----");
    const auto end = text.find(last, start);
    return end == std::string::npos ? "" : text.substr(start, end + last.size() - start);
}

/// What the packet filter's list of chains says: tables of others that drop what comes in unless a
/// rule takes it.
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

}  // namespace

ProgramOptions CheckOptions()
{
    ProgramOptions options;
    options.limit = std::chrono::seconds(3);
    options.capture = true;
    return options;
}

Finding CheckGreeting(const StoredSettings& settings, const char* subject)
{
    const Protocol protocol = ProtocolOf(subject);
    const auto start = Clock::now();
    LineClient client(settings.Int(subject), "127.0.0.1");
    if (!client.connected()) return Failed("takes no connection");

    const auto line = client.ReadLine();
    if (!line) return Failed("does not greet");

    client.Send(protocol.farewell);
    return JudgeGreeting(*line, protocol, start);
}

Finding CheckTlsGreeting(const StoredSettings& settings, const char* subject)
{
    const Protocol protocol = ProtocolOf(subject);
    const auto start = Clock::now();
    ProgramOptions options = CheckOptions();
    options.input = std::string(protocol.farewell) + "\r\n";
    const ProgramResult result = RunProgram(
        {kOpenssl, "s_client", "-quiet", "-connect", LocalPort(settings.Int(subject))}, options);
    if (result.output.empty()) return Failed("takes no connection with TLS");

    return JudgeGreeting(result.output.substr(0, result.output.find('\r')), protocol, start);
}

Finding CheckServedCertificate(const StoredSettings& settings, const char* /*subject*/)
{
    ProgramOptions options = CheckOptions();
    options.input = "QUIT\r\n";
    const auto results =
        RunPrograms({{kOpenssl, "s_client", "-starttls", "smtp", "-connect",
                      LocalPort(settings.Int("smtp_port"))},
                     {kPostconf, "-c", kPostfixFiles, "-h", "smtpd_tls_cert_file"}},
                    options);
    const std::string served = FirstCertificate(results[0].output);
    if (results[0].status < 0) return {CheckWord::kUnknown, "SMTP takes too long to show one"};
    if (served.empty()) return Failed("SMTP shows no certificate");

    const std::string path = results[1].output.substr(0, results[1].output.find('\n'));
    const ProgramResult configured = RunProgram({kOpenssl, "x509", "-in", path}, options);
    if (served == FirstCertificate(configured.output)) return {};
    return Failed("SMTP shows another certificate than " + path);
}

Finding CheckOpenRelay(const StoredSettings& settings, const char* /*subject*/)
{
    // The mail server trusts 127.0.0.1 at most: other addresses of the loopback are strangers.
    LineClient client(settings.Int("smtp_port"), "127.0.0.2");
    if (!client.connected() || !client.ReadLine()) {
        return {CheckWord::kUnknown, "SMTP does not greet"};
    }

    (void)client.Ask("EHLO self-check.invalid");
    (void)client.Ask("MAIL FROM:<>");
    const std::string reply =
        client.Ask("RCPT TO:<somebody@self-check.invalid>").value_or("no reply");
    client.Send("QUIT");
    if (StartsWith(reply, "2")) return Failed("a stranger may send to strangers");
    if (StartsWith(reply, "5")) return {};
    return {CheckWord::kUnknown, "SMTP answers " + reply};
}

Finding CheckPacketFilter(const StoredSettings& /*settings*/, const char* /*subject*/)
{
    if (access(kNft, X_OK) != 0) return {CheckWord::kOff, ""};

    const ProgramResult chains = RunProgram({kNft, "list", "chains"}, CheckOptions());
    if (!chains.Succeeded()) return {CheckWord::kUnknown, "the packet filter cannot be read"};

    const std::string names = DroppingTables(chains.output);
    if (names.empty()) return {};
    return {CheckWord::kWarning, "the mail ports must be open in " + names};
}

}  // namespace host
