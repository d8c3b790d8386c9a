// Puts the files that follow from the settings into the next generation.
#include "host/libmailvane/render.h"

#include <unistd.h>

#include <algorithm>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/certificate.h"
#include "host/libmailvane/list_maps.h"
#include "host/libmailvane/mail_filters.h"
#include "host/libmailvane/scanner_files.h"
#include "platform/hald/account.h"
#include "platform/hlib/string_list.h"

namespace host {

namespace {

const char kAdministrators[] = "administrators";

/// Maps that other lists fill; empty until they do.
const char* const kListMaps[] = {"aliases",
                                 "login_aliases",
                                 "sender_bcc",
                                 "recipient_bcc",
                                 "sender_access",
                                 "recipient_access",
                                 "client_access",
                                 "client_addresses",
                                 "discarded_recipients",
                                 "recipient_transport",
                                 "black_senders",
                                 "black_recipients"};

/// Files that other lists fill and that are read as they are.
const char* const kListFiles[] = {kQuotaFile, kClientNetworksFile, kBlackClientsFile,
                                  kAttachmentChecksFile};

std::string ReadFragment(const char* name)
{
    std::string text;
    if (!ReadFile(PackagePath(std::string("etc/local.d/") + name), text)) return "";

    if (!text.empty() && text.back() != '\n') text += '\n';
    return text;
}

/// Whether a text looks like an address. One of the link, as a router announces it, has its
/// interface behind a percent sign.
bool LooksLikeAddress(const std::string& text)
{
    constexpr char kAddress[] = "0123456789abcdefABCDEF.:";
    constexpr char kInterface[] =
        "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-_";
    const auto end = std::min(text.find('%'), text.size());
    return end > 0 && text.find_first_not_of(kAddress) >= end &&
           text.find_first_not_of(kInterface, end + 1) == std::string::npos;
}

/// Addresses of the name servers that programs of this machine ask.
std::vector<std::string> NameServers()
{
    std::string text;
    std::vector<std::string> addresses;
    (void)ReadFile(Path("/etc/resolv.conf"), text);
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        std::string address;
        words >> word >> address;
        if (word == "nameserver" && LooksLikeAddress(address)) addresses.push_back(address);
    }
    return addresses;
}

Surroundings LookAround(NextGeneration& next, const StoredSettings& settings)
{
    const CertificateFiles tls = ChooseCertificate(next, settings.Text("smtp_hostname"));
    Surroundings around;
    around.hasIpv6 = KernelHasIpv6();
    around.administrator = FirstAdministrator();
    around.certificate = tls.certificate;
    around.privateKey = tls.privateKey;
    around.mainFragment = ReadFragment("main.cf");
    around.masterFragment = ReadFragment("master.cf");
    around.updaterFragment = ReadFragment("freshclam.conf");
    around.nameServers = NameServers();
    return around;
}

}  // namespace

bool KernelHasIpv6()
{
    return access("/proc/net/if_inet6", R_OK) == 0;
}

std::string FirstAdministrator()
{
    const auto system = KeyValueFile::Read(Path("/etc/haldinfo.conf"));
    const std::string group =
        system ? system->Get("admin_group").value_or(kAdministrators) : kAdministrators;
    HLIBCSzList* members = HLIBCSzListAlloc(1);
    std::string name;
    if (members != nullptr && HALDGroupListMember(group.c_str(), &members) >= 0 &&
        members->count > 0) {
        name = HLIBCSzListGet(members, 0);
    }
    HLIBCSzListFree(members);
    return name;
}

void PutSettingsFiles(NextGeneration& next, const StoredSettings& settings)
{
    const Surroundings around = LookAround(next, settings);
    next.Put("mailvane.conf", settings.SettingsText(), 0600);
    next.Put("domains", settings.DomainsText(), 0644);
    next.Put("dnsbl", settings.BlocklistsText(), 0644);
    next.Put("postfix/main.cf", RenderPostfixMain(settings, around), 0644);
    next.Put("postfix/master.cf", RenderPostfixMaster(settings, around), 0644);
    next.Put("postfix/maps/own_names", RenderOwnNames(settings), 0644);
    next.Put("postfix/maps/login_rule", RenderLoginRule(settings), 0644);
    next.PutMap("roles", RenderRoles(around));
    next.PutMap("relay_password", RenderRelayPassword(settings), 0600);
    next.Put("dovecot/dovecot.conf", RenderDovecot(settings, around), 0644);
    PutFilterFiles(next, settings, around);
    PutScannerFiles(next, settings, around);
    for (const char* map : kListMaps) {
        if (!next.Has(std::string("postfix/maps/") + map)) next.PutMap(map, "");
    }
    for (const char* file : kListFiles) {
        if (!next.Has(file)) next.Put(file, "", 0644);
    }
}

}  // namespace host
