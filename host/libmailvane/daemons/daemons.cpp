// Compile-time checks of the table of daemons.
#include "host/libmailvane/daemons/daemons.h"

namespace host::daemons {

namespace {

constexpr bool IsPath(std::string_view text)
{
    return !text.empty() && text[0] == '/';
}

constexpr bool IsPathOrNone(std::string_view text)
{
    return text.empty() || IsPath(text);
}

constexpr bool EndsWith(std::string_view text, std::string_view end)
{
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

/// Whether a text can be put between double quotes unchanged, with its words one blank apart.
constexpr bool IsPlain(std::string_view text)
{
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] < ' ' || text[i] > '~' || text[i] == '"' || text[i] == '\\') return false;
        if (text[i] == ' ' && (i == 0 || i + 1 == text.size() || text[i + 1] == ' ')) return false;
    }
    return true;
}

constexpr bool IsWhole(const Daemon& daemon)
{
    return !daemon.name.empty() && !daemon.service.empty() && !daemon.label.empty() &&
           IsPath(daemon.program) && IsPath(daemon.command) && IsPath(daemon.pidFile) &&
           IsPathOrNone(daemon.pidLink) && IsPathOrNone(daemon.socket) &&
           EndsWith(daemon.unit, ".service") && (!daemon.startsAsUser || !daemon.user.empty());
}

constexpr bool AllPlain(const Daemon& daemon)
{
    for (const std::string_view text :
         {daemon.name, daemon.service, daemon.switches, daemon.program, daemon.command, daemon.user,
          daemon.group, daemon.pidFile, daemon.pidLink, daemon.socket, daemon.unit, daemon.bootUnit,
          daemon.files, daemon.settings, daemon.label, daemon.check}) {
        if (!IsPlain(text)) return false;
    }
    return true;
}

/// Whether a daemon's socket, if it has one, is /run/mailvane/NAME/socket, and its user and group
/// are given.
constexpr bool HasItsFolder(const Daemon& daemon)
{
    constexpr std::string_view kFolder = "/run/mailvane/";
    if (daemon.socket.empty()) return true;
    return !daemon.user.empty() && !daemon.group.empty() &&
           daemon.socket.substr(0, kFolder.size()) == kFolder &&
           daemon.socket.substr(kFolder.size(), daemon.name.size()) == daemon.name &&
           daemon.socket.substr(kFolder.size() + daemon.name.size()) == "/socket";
}

constexpr bool AllRows(bool (*holds)(const Daemon&))
{
    for (const Daemon& daemon : kDaemons) {
        if (!holds(daemon)) return false;
    }
    return true;
}

constexpr bool AllPairs(bool (*holds)(const Daemon&, const Daemon&))
{
    for (const Daemon& one : kDaemons) {
        for (const Daemon& other : kDaemons) {
            if (&one != &other && !holds(one, other)) return false;
        }
    }
    return true;
}

constexpr bool AreApart(const Daemon& one, const Daemon& other)
{
    return one.name != other.name && one.pidFile != other.pidFile && one.unit != other.unit &&
           (one.socket.empty() || one.socket != other.socket);
}

/// Whether two daemons, if they are of one service, have the same switches and label.
constexpr bool AgreeInAService(const Daemon& one, const Daemon& other)
{
    return one.service != other.service ||
           (one.switches == other.switches && one.label == other.label);
}

static_assert(AllRows(IsWhole), "a name, path or unit is missing");
static_assert(AllRows(AllPlain), "a text needs quoting, or has blanks too many");
static_assert(AllRows(HasItsFolder), "a socket lies elsewhere than the others");
static_assert(AllPairs(AreApart), "two daemons share a name, pid file, unit or socket");
static_assert(AllPairs(AgreeInAService), "two daemons of a service run at different times");

}  // namespace

}  // namespace host::daemons
