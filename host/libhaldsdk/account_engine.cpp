// Selects engines by /etc/nsswitch.conf.
#include "host/libhaldsdk/account_engine.h"

#include <algorithm>
#include <cstring>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/file_version.h"
#include "platform/hlib/accounts.h"

namespace host {

namespace {

constexpr char kConfiguration[] = "/etc/nsswitch.conf";
constexpr char kLocalService[] = "files";
constexpr char kDomainService[] = "winbind";
constexpr const char* kLdapServices[] = {"sss", "ldap"};
constexpr char kDatabase[] = "passwd:";

/// The text after "passwd:" in nsswitch.conf.
std::string PasswdLine()
{
    std::string text;
    if (!ReadFile(Path(kConfiguration), text)) return "";

    for (std::size_t start = 0; start < text.size();) {
        const std::size_t end = std::min(text.find('\n', start), text.size());
        const std::size_t first = text.find_first_not_of(" \t", start);
        if (first != std::string::npos && text.compare(first, strlen(kDatabase), kDatabase) == 0) {
            const std::size_t value = first + strlen(kDatabase);
            return text.substr(value, std::min(text.find('#', value), end) - value);
        }
        start = end + 1;
    }
    return "";
}

/// The services of a line without the actions in brackets, such as [NOTFOUND=return].
std::vector<std::string> ServicesIn(const std::string& line)
{
    std::vector<std::string> services;
    std::string word;
    bool inBrackets = false;
    for (const char byte : line + ' ') {
        if (byte == '[' || byte == ']') inBrackets = byte == '[';
        if (!inBrackets && strchr(" \t]", byte) == nullptr) {
            word += byte;
        } else if (!word.empty()) {
            services.push_back(std::move(word));
            word.clear();
        }
    }
    return services;
}

/// The services of nsswitch.conf; none when it cannot be read.
const std::vector<std::string>& ConfiguredServices()
{
    static FileVersion version;
    static std::vector<std::string> services;
    switch (version.LookAt(Path(kConfiguration))) {
        case FileVersion::Look::kSame:
            break;
        case FileVersion::Look::kMissing:
            services.clear();
            version.Forget();
            break;
        default:
            services = ServicesIn(PasswdLine());
    }
    return services;
}

bool IsRemote(const std::string& service)
{
    return service == kDomainService ||
           std::find(std::begin(kLdapServices), std::end(kLdapServices), service) !=
               std::end(kLdapServices);
}

/// The first service of nsswitch.conf for a source; empty when there is none.
std::string ServiceOf(int source)
{
    for (const std::string& service : ConfiguredServices()) {
        if (!IsRemote(service)) continue;
        const int kind = service == kDomainService ? HLIB_ACCOUNT_DOMAIN : HLIB_ACCOUNT_LDAP;
        if (kind == source) return service;
    }
    return "";
}

}  // namespace

bool IsNamedSource(int source)
{
    return source == HLIB_ACCOUNT_LOCAL || !ServiceOf(source).empty();
}

Result<EnginePointer> EngineOf(int source)
{
    if (source == HLIB_ACCOUNT_LOCAL) return LocalAccounts();

    const std::string service = ServiceOf(source);
    if (!service.empty()) return EngineOfService(service);
    const std::string about = "account source " + std::to_string(source);
    return Reason{ReasonCode::kMissing, Subject::Service(kAccountSource),
                  about + ": /etc/nsswitch.conf names no service for it"};
}

std::vector<Result<EnginePointer>> RemoteEngines()
{
    std::vector<Result<EnginePointer>> engines;
    for (const std::string& service : ConfiguredServices()) {
        if (IsRemote(service)) engines.push_back(EngineOfService(service));
    }
    return engines;
}

std::vector<Result<EnginePointer>> OtherEngines()
{
    std::vector<Result<EnginePointer>> engines;
    for (const std::string& service : ConfiguredServices()) {
        if (service == kLocalService || IsRemote(service)) continue;
        engines.push_back(EngineOfService(service));
    }
    return engines;
}

}  // namespace host
