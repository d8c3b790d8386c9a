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
#include "host/libhaldcore/result.h"
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

host::Result<void> PutBack(const std::string& file, const std::optional<std::string>& rules)
{
    const bool done =
        rules ? host::ReplaceFile(file, *rules, kRulesMode) : unlink(file.c_str()) == 0;
    if (done) return {};
    return host::SystemReason(file, "cannot put " + file + " back");
}

/// Writes the rules and loads them; when loading fails, the old file is restored.
host::Result<void> Install(const std::string& rules)
{
    const std::string file = host::PackagePath("etc/firewall.nft");
    std::optional<std::string> before(std::in_place);
    if (!host::ReadFile(file, *before)) before.reset();
    if (!host::ReplaceFile(file, rules, kRulesMode)) {
        return host::SystemReason(file, "cannot write " + file);
    }

    const std::string nft = host::Path(host::programs::kNft);
    if (access(nft.c_str(), X_OK) < 0) {
        host::Log(LOG_NOTICE, "the packet filter stays as it is: nft is not installed");
        return {};
    }
    host::Result<void> loaded = host::RunProgram({nft, "-f", file}).done;
    if (loaded) return loaded;

    host::Result<void> restored = PutBack(file, before);
    if (restored) return loaded;
    host::Reason reason = std::move(restored).reason();
    reason.causes.push_back(std::move(loaded).reason());
    return reason;
}

host::Result<void> Reload()
{
    const std::optional<host::KeyValueFile> settings = Settings();
    if (settings) return Install(host::FirewallRules(*settings));
    return host::SystemReason("firewall", "cannot read the settings for the packet filter");
}

}  // namespace

int HALDFwRuleHup()
{
    const host::ScopedLock lock;
    if (!host::Succeeded(lock.ready())) return host::Fail(EBUSY);

    return host::Succeeded(Reload().About(host::Subject::Service("firewall"))) ? 0
                                                                               : host::Fail(EIO);
}
