// Checks of the self-check on daemons, the mail queue and the account directory.
#include <algorithm>
#include <cstdint>
#include <ctime>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libmailvane/daemons/daemon_process.h"
#include "host/libmailvane/daemons/daemons.h"
#include "host/libmailvane/names/socket_address.h"
#include "host/libmailvane/selfcheck/checks.h"
#include "host/libmailvane/settings/shared_counters.h"
#include "host/libmailvane/system/line_client.h"
#include "host/libmailvane/system/mail_queue.h"
#include "platform/hlib/accounts.h"
#include "platform/hlib/string_list.h"

namespace host::selfcheck {

namespace {

constexpr int kManyDeferred = 50;
constexpr int kTooManyDeferred = 500;
constexpr std::int64_t kOld = 14400;  // seconds

constexpr int kFaultsOfChildren = 11;  // field of /proc/PID/stat

/// The deferred messages: number, and age of the oldest.
struct Deferred {
    int count = 0;
    std::int64_t oldest = 0;  ///< seconds
};

Finding JudgeQueue(const Deferred& deferred)
{
    const std::string detail = std::to_string(deferred.count) + " messages wait, the oldest for " +
                               std::to_string(deferred.oldest / 60) + " minutes";
    if (deferred.count > kTooManyDeferred) return {CheckWord::kFailed, detail};
    if (deferred.count >= kManyDeferred || deferred.oldest >= kOld) {
        return {CheckWord::kWarning, detail};
    }
    return {};
}

/// Whether child processes of a daemon have died. The kernel adds the page faults of waited-for
/// children to `cminflt` (proc(5)); it is 0 as long as none has ended.
bool LostChildren(const std::string& process)
{
    std::string text;
    if (!ReadFile(process + "/stat", text)) return false;

    // The process name, in parentheses, may have blanks, so fields are counted after it.
    std::istringstream fields(text.substr(text.rfind(')') + 1));
    std::string field;
    for (int number = 3; number <= kFaultsOfChildren; ++number) fields >> field;
    return fields && field != "0";
}

}  // namespace

Finding CheckProcess(const settings::StoredSettings& /*settings*/, const char* subject)
{
    const daemons::Daemon& daemon = daemons::DaemonOf(subject);
    const std::string program(daemon.program);
    if (!daemons::DaemonProcess(std::string(daemon.pidFile), program).empty()) return {};
    return {CheckWord::kFailed, program + " does not run"};
}

Finding CheckMilter(const settings::StoredSettings& /*settings*/, const char* subject)
{
    // The milter's option negotiation: length, command, version, actions, steps.
    constexpr char kOptions[] = "\0\0\0\x0dO\0\0\0\x06\0\0\x01\xff\0\x1f\xff\xff";
    constexpr std::size_t kLength = 4;
    system::LineClient client(subject);
    client.SendBytes({kOptions, sizeof kOptions - 1});
    const std::string answer = client.ReadBytes(kLength + 1);
    if (answer.size() == kLength + 1 && answer.back() == 'O') return {};
    return {CheckWord::kFailed, std::string(subject) + " does not answer"};
}

Finding CheckFilter(const settings::StoredSettings& settings, const char* subject)
{
    const daemons::Daemon& daemon = daemons::DaemonOf(subject);
    Finding finding = CheckMilter(settings, daemon.socket.data());
    if (finding.word != CheckWord::kOk) return finding;

    const std::string program(daemon.program);
    if (!LostChildren(daemons::DaemonProcess(std::string(daemon.pidFile), program))) return {};
    return {CheckWord::kWarning, program + " died and was started again; the mail log says when"};
}

Finding CheckCounters(const settings::StoredSettings& /*settings*/, const char* subject)
{
    const auto tellsVersion = [](system::LineClient client) {
        return client.Ask("version").value_or("").compare(0, 8, "VERSION ") == 0;
    };
    if (!tellsVersion(system::LineClient(subject))) {
        return {CheckWord::kFailed, std::string(subject) + " does not answer"};
    }
    const auto shared = settings::SharedCounters();
    if (!shared) return {CheckWord::kWarning, shared.reason().text};
    const auto server = names::ParseSocketAddress(*shared);
    if (!server || tellsVersion(system::LineClient(*server))) return {};
    return {CheckWord::kWarning, *shared + " does not answer, this machine counts for itself"};
}

Finding CheckQueue(const settings::StoredSettings& /*settings*/, const char* /*subject*/)
{
    const auto queue = system::ReadMailQueue(CheckOptions().limit);
    if (!queue) return {CheckWord::kUnknown, queue.reason().text};

    Deferred deferred;
    const auto now = static_cast<std::int64_t>(std::time(nullptr));
    for (const system::QueuedMessage& message : queue->messages) {
        if (!message.deferred) continue;
        ++deferred.count;
        deferred.oldest = std::max(deferred.oldest, now - message.arrival);
    }
    return JudgeQueue(deferred);
}

Finding CheckDirectoryAccounts(const settings::StoredSettings& settings, const char* /*subject*/)
{
    const bool isLdap = settings.Text("account_type") == "ldap";
    HLIBCSzList* users = HLIBCSzListAlloc(64);
    const int count = isLdap ? HLIBUserEnum(&users, HLIB_ACCOUNT_LDAP, nullptr)
                             : HLIBUserEnum(&users, HLIB_ACCOUNT_DOMAIN,
                                            settings.Text("win_domain_short_name").c_str());
    HLIBCSzListFree(users);
    if (count < 0) return {CheckWord::kFailed, "the directory does not answer"};
    if (count == 0) return {CheckWord::kWarning, "the directory lists no accounts"};
    return {};
}

}  // namespace host::selfcheck
