// The table of the packet filter that blocks sources. Runs nft.
#include "tools/login_guard/packet_filter.h"

#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libmailvane/daemons/web_ports.h"

namespace guard {

namespace {

using host::daemons::kWebGuardTable;

host::Result<void> Tell(const std::string& commands)
{
    host::ProgramOptions options;
    options.capture = true;
    options.input = commands;
    return host::RunProgram({host::Path(host::programs::kNft), "-f", "-"}, options).done;
}

std::string Table()
{
    return std::string("table ") + kWebGuardTable;
}

/// A set of sources, each with a timeout.
std::string Set(const char* name, const char* type)
{
    return std::string("    set ") + name + " {\n        type " + type +
           "\n        size 65536\n        flags timeout\n        timeout 10m\n    }\n";
}

}  // namespace

PacketFilter::PacketFilter(int port) : port_(port)
{
    (void)host::Succeeded(Load().Prefixed("web login: the packet filter takes no rules: "));
}

PacketFilter::~PacketFilter()
{
    (void)Tell("delete " + Table() + "\n");
}

host::Result<void> PacketFilter::Load() const
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
    // Another program that reloads the packet filter may have removed the table.
    host::Result<void> done = Tell(command);
    if (!done) {
        done = Load();
        if (done) done = Tell(command);
    }
    const bool isDone = host::Succeeded(std::move(done).Prefixed("web login: "));
    host::Log(isDone ? LOG_NOTICE : LOG_ERR, "web login: %s %s%s: %s", source.address.c_str(),
              isDone ? "is kept away" : "cannot be kept away",
              source.isIpv6 ? ", with its /64" : "", reason);
}

}  // namespace guard
