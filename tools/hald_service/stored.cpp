// The stored settings that decide which daemons run and on which ports.
#include "tools/hald_service/stored.h"

#include <cstdio>
#include <cstdlib>

#include "host/libhaldcore/mail_services.h"
#include "host/libhaldcore/paths.h"

namespace service {

using host::daemons::Daemon;
using host::daemons::NextWord;

Stored Stored::Read()
{
    auto file = host::KeyValueFile::Read(host::PackagePath("etc/mailvane.conf"));
    return Stored(file ? std::move(*file) : host::KeyValueFile::Parse(""));
}

std::string Stored::Text(std::string_view name) const
{
    return file_.Get(std::string(name)).value_or("");
}

bool Stored::HasAllOf(const Daemon& daemon) const
{
    for (std::string_view names : {daemon.switches, daemon.settings}) {
        while (!names.empty()) {
            const std::string name(NextWord(names));
            if (file_.Get(name)) continue;
            Tell(daemon.service, "no " + name + " in " + host::PackagePath("etc/mailvane.conf"));
            return false;
        }
    }
    return true;
}

Ports PortsOf(const Daemon& daemon, const Stored& stored)
{
    Ports ports;
    const bool isSmtp = daemon.name == host::daemons::kPostfix.name;
    for (const host::MailService& service : host::kMailServices) {
        if (service.isSmtp != isSmtp || !stored.Bool(service.enabledKey)) continue;
        const int port = std::atoi(stored.Text(service.portKey).c_str());
        (service.isTls ? ports.tls : ports.plain).push_back(port);
    }
    return ports;
}

void Tell(std::string_view who, const std::string& what)
{
    (void)std::fprintf(stderr, "%.*s: %s\n", static_cast<int>(who.size()), who.data(),
                       what.c_str());
}

}  // namespace service
