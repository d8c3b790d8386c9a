// hald_login_guard: blocks addresses in the packet filter for ten minutes when too many of their
// logins to the web fail, or when they hold too many connections. Failed logins are read from the
// web server's log; successful requests are not logged there. The guarded port is
// MAILVANE_WEB_TLS_PORT, from the environment or /etc/default/mailvane.
#include <poll.h>
#include <sys/stat.h>

#include <csignal>
#include <cstdlib>
#include <exception>
#include <map>
#include <set>
#include <string>
#include <utility>

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/daemons/sockets.h"
#include "host/libmailvane/daemons/web_ports.h"
#include "tools/login_guard/failures.h"
#include "tools/login_guard/packet_filter.h"
#include "tools/maillog_collector/log_tail.h"
#include "tools/maillog_collector/log_watch.h"

namespace {

constexpr int kMostConnections = 100;  // a browser has six
constexpr std::chrono::seconds kBetweenLooks{2};
constexpr int kRetryMs = 1000;

volatile std::sig_atomic_t ended = 0;

void End(int)
{
    ended = 1;
}

void EndOnSignals()
{
    struct sigaction action {};
    action.sa_handler = End;
    for (const int signal : {SIGTERM, SIGINT}) (void)sigaction(signal, &action, nullptr);
}

/// The current end of a log. Lines before it are not read.
collector::LogPosition EndOf(const std::string& path)
{
    struct stat status {};
    collector::LogPosition end;
    if (stat(path.c_str(), &status) < 0) return end;
    end.inode = static_cast<std::int64_t>(status.st_ino);
    end.offset = static_cast<std::int64_t>(status.st_size);
    return end;
}

class Guard {
public:
    explicit Guard(int port) : port_(port), filter_(port) {}

    void Take(std::string_view lines)
    {
        while (!lines.empty()) {
            const std::size_t end = lines.find('\n');
            const auto source = guard::FailedLogin(lines.substr(0, end));
            if (source && failures_.Add(*source, guard::Clock::now()))
                filter_.Block(*source, "too many failed logins");
            lines.remove_prefix(end == std::string_view::npos ? lines.size() : end + 1);
        }
    }

    /// Blocks the sources with too many connections. A source blocked at the last look is not
    /// blocked again, since its connections stay open until the web server closes idle ones.
    void LookAtConnections()
    {
        if (guard::Clock::now() < nextLook_) return;
        nextLook_ = guard::Clock::now() + kBetweenLooks;
        std::map<guard::Source, int> connections;
        std::set<guard::Source> crowds;
        const auto clients = host::daemons::TcpClients(port_);
        if (!host::Succeeded(clients)) return;
        for (const std::string& address : *clients) {
            const auto source = guard::SourceOf(address);
            if (source && ++connections[*source] == kMostConnections) crowds.insert(*source);
        }
        for (const guard::Source& source : crowds) {
            if (crowds_.count(source) == 0) filter_.Block(source, "too many connections at once");
        }
        crowds_ = std::move(crowds);
    }

private:
    int port_;
    guard::PacketFilter filter_;
    guard::Failures failures_;
    guard::Clock::time_point nextLook_;
    std::set<guard::Source> crowds_;  ///< seen at the last look
};

/// Reads the log as it grows, until a signal ends the program. Throws on failure.
void Follow(Guard& guard)
{
    const std::string path = host::Path("/var/log/mailvane/web.log");
    collector::LogWatch watch(path.substr(0, path.rfind('/')));
    collector::LogTail tail(path, EndOf(path));
    while (ended == 0) {
        guard.LookAtConnections();
        const std::string_view lines = tail.Read();
        guard.Take(lines);
        if (lines.empty()) watch.Wait();
    }
}

}  // namespace

int main()
{
    EndOnSignals();
    Guard guard(host::daemons::WebPortOfNetwork());
    while (ended == 0) {
        try {
            Follow(guard);
        } catch (const std::exception& failure) {
            host::Log(LOG_ERR, "web login: %s", failure.what());
            (void)::poll(nullptr, 0, kRetryMs);
        }
    }
    return EXIT_SUCCESS;
}
