// Loads the packet filter's rules. Reads etc/mailvane.conf of the package, writes etc/firewall.nft
// (also loaded at boot), and runs nft.
#include "platform/firewall/firewall.h"

#include <unistd.h>

#include <cerrno>
#include <optional>
#include <string>

#include "host/libhaldcore/error.h"
#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/lock.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libhaldcore/programs.h"
#include "host/libhaldcore/run_program.h"
#include "host/libhaldfirewall/firewall_rules.h"

namespace {

constexpr mode_t kRulesMode = 0644;

/// The stored settings; empty, that is all defaults, when there is no file.
std::optional<host::KeyValueFile> Settings()
{
    std::optional<host::KeyValueFile> settings =
        host::KeyValueFile::Read(host::PackagePath("etc/mailvane.conf"));
    if (!settings && errno == ENOENT) settings.emplace();
    return settings;
}

void PutBack(const std::string& file, const std::optional<std::string>& rules)
{
    const bool done =
        rules ? host::ReplaceFile(file, *rules, kRulesMode) : unlink(file.c_str()) == 0;
    if (!done) host::Log(LOG_ERR, "cannot put %s back: %s", file.c_str(), host::ErrnoText());
}

/// Writes the rules and loads them; when loading fails, the old file is restored.
int Install(const std::string& rules)
{
    const std::string file = host::PackagePath("etc/firewall.nft");
    std::optional<std::string> before(std::in_place);
    if (!host::ReadFile(file, *before)) before.reset();
    if (!host::ReplaceFile(file, rules, kRulesMode)) {
        host::Log(LOG_ERR, "cannot write %s: %s", file.c_str(), host::ErrnoText());
        return host::FailWithErrno();
    }

    const std::string nft = host::Path(host::programs::kNft);
    if (access(nft.c_str(), X_OK) < 0) {
        host::Log(LOG_NOTICE, "the packet filter stays as it is: nft is not installed");
        return 0;
    }
    if (host::RunProgram({nft, "-f", file}).Succeeded()) return 0;
    PutBack(file, before);
    return host::Fail(EIO);
}

}  // namespace

int HALDFwRuleHup()
{
    const host::ScopedLock lock;
    if (!lock.held()) return host::Fail(EBUSY);

    const std::optional<host::KeyValueFile> settings = Settings();
    if (settings) return Install(host::FirewallRules(*settings));
    host::Log(LOG_ERR, "cannot read the settings for the packet filter: %s", host::ErrnoText());
    return host::FailWithErrno();
}
