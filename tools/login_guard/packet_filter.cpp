// The guard's own table of the packet filter. Runs nft.
#include "tools/login_guard/packet_filter.h"

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/web_ports.h"

namespace guard {

namespace {

using host::daemons::kWebGuardTable;

bool Tell(const std::string& commands)
{
    host::ProgramOptions options;
    options.capture = true;
    options.input = commands;
    return host::RunProgram({host::Path(host::programs::kNft), "-f", "-"}, options).Succeeded();
}

std::string Table()
{
    return std::string("table ") + kWebGuardTable;
}

/// A set of sources, each of which leaves it by itself.
std::string Set(const char* name, const char* type)
{
    return std::string("    set ") + name + " {\n        type " + type +
           "\n        size 65536\n        flags timeout\n        timeout 10m\n    }\n";
}

}  // namespace

PacketFilter::PacketFilter(int port) : port_(port)
{
    if (!Load()) host::Log(LOG_WARNING, "web login: the packet filter takes no rules");
}

PacketFilter::~PacketFilter()
{
    (void)Tell("delete " + Table() + "\n");
}

bool PacketFilter::Load() const
{
    const std::string rule = "        tcp dport " + std::to_string(port_) + " ";
    return Tell(Table() + "\ndelete " + Table() + "\n" + Table() + " {\n" +
                Set("failed4", "ipv4_addr") + Set("failed6", "ipv6_addr") +
                "    chain input {\n"
                "        type filter hook input priority filter - 1; policy accept;\n" +
                rule + "ip saddr @failed4 reject with tcp reset\n" + rule +
                "ip6 saddr & ffff:ffff:ffff:ffff:: @failed6 reject with tcp reset\n    }\n}\n");
}

void PacketFilter::Block(const Source& source, const char* reason)
{
    const std::string command = std::string("add element ") + kWebGuardTable +
                                (source.isIpv6 ? " failed6" : " failed4") + " { " + source.address +
                                " }\n";
    // What else reloads the packet filter may have taken the table away.
    const bool isDone = Tell(command) || (Load() && Tell(command));
    host::Log(isDone ? LOG_NOTICE : LOG_ERR, "web login: %s %s%s: %s", source.address.c_str(),
              isDone ? "is kept away" : "cannot be kept away",
              source.isIpv6 ? ", with its /64" : "", reason);
}

}  // namespace guard
