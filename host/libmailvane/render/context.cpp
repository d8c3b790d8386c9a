// The render context. Reads etc/local.d, /etc/resolv.conf, /etc/default/mailvane and the
// administrators' group.
#include "host/libmailvane/render/context.h"

#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <map>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/hash.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/settings/shared_counters.h"
#include "platform/hald/account.h"
#include "platform/hlib/string_list.h"

namespace host::render {

namespace {

namespace fs = std::filesystem;

const char kAdministrators[] = "administrators";

std::string ReadFragment(const char* name)
{
    std::string text;
    if (!ReadFile(PackagePath(std::string("etc/local.d/") + name), text)) return "";

    if (!text.empty() && text.back() != '\n') text += '\n';
    return text;
}

/// A checksum of the names and texts of etc/local.d/*.dovecot.conf.
std::string SumOfMailboxFragments()
{
    const std::string end = ".dovecot.conf";
    std::map<std::string, std::string> texts;
    std::error_code error;
    for (const auto& entry : fs::directory_iterator(PackagePath("etc/local.d"), error)) {
        const std::string name = entry.path().filename().string();
        const bool isIncluded = name.front() != '.' && name.size() >= end.size() &&
                                name.compare(name.size() - end.size(), end.size(), end) == 0;
        if (isIncluded) (void)ReadFile(entry.path().string(), texts[name]);
    }
    std::uint64_t sum = Fnv64("");
    for (const auto& [name, text] : texts) sum = Fnv64(text, Fnv64(name + '\n', sum));
    std::ostringstream digits;
    digits << std::hex << sum;
    return digits.str();
}

/// Whether a text looks like an IP address. A link-local one has its interface after a percent
/// sign: fe80::1%eth0.
bool LooksLikeAddress(const std::string& text)
{
    constexpr char kAddress[] = "0123456789abcdefABCDEF.:";
    constexpr char kInterface[] =
        "0123456789abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ.-_";
    const auto end = std::min(text.find('%'), text.size());
    return end > 0 && text.find_first_not_of(kAddress) >= end &&
           text.find_first_not_of(kInterface, end + 1) == std::string::npos;
}

/// Addresses of the name servers in /etc/resolv.conf.
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

}  // namespace

RenderContext ReadRenderContext(const CertificateFiles& tls)
{
    RenderContext context;
    context.hasIpv6 = KernelHasIpv6();
    context.administrator = FirstAdministrator();
    context.certificate = tls.certificate;
    context.privateKey = tls.privateKey;
    context.mainFragment = ReadFragment("main.cf");
    context.masterFragment = ReadFragment("master.cf");
    context.updaterFragment = ReadFragment("freshclam.conf");
    context.mailboxFragments = SumOfMailboxFragments();
    context.nameServers = NameServers();
    const auto defaults = KeyValueFile::Read(Path("/etc/default/mailvane"));
    const auto says = [&defaults](const char* name, const char* value) {
        return defaults && defaults->Get(name) == value;
    };
    context.provesOwnSenders = says("MAILVANE_OWN_SENDERS", "proven");
    context.refusesClosedArchives = says("MAILVANE_CLOSED_ARCHIVES", "refuse");
    context.filesJunk = says("MAILVANE_JUNK_FOLDER", "yes");
    context.learnsFromMoves = says("MAILVANE_LEARN_FROM_MOVES", "yes");
    const auto counters = settings::SharedCounters();
    if (counters) context.sharedCounters = *counters;  // else the validation refuses it
    context.asksNetwork = says("MAILVANE_SPAM_NETWORK", "yes") && !context.nameServers.empty();
    return context;
}

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

}  // namespace host::render
