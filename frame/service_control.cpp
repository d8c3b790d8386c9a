// Bringing the mail services in line: control scripts, maps, held mail, packet filter.
#include "frame/service_control.h"

#include "frame/log.h"
#include "platform/firewall/firewall.h"
#include "platform/hlib/process.h"
#include "platform/mailvane/access.h"
#include "platform/mailvane/bcc.h"
#include "platform/mailvane/sender_quota.h"

namespace {

const char kOpenDkimScript[] = "/var/packages/Mailvane/target/scripts/opendkim.sh";
const char kOpenDmarcScript[] = "/var/packages/Mailvane/target/scripts/opendmarc.sh";
const char kMemcachedScript[] = "/var/packages/Mailvane/target/scripts/memcached.sh";
const char kPostsuper[] = "/var/packages/Mailvane/target/sbin/postsuper";
const char kLoginMapTool[] = "/var/packages/Mailvane/target/bin/hald_gen_login_map";
const char kMove[] = "/bin/mv";

int RunScript(const char* script, const std::string& verb)
{
    return HLIBCExec(script, verb.c_str(), nullptr, nullptr, nullptr);
}

}  // namespace

int RunOpenDkimScript(const std::string& verb)
{
    return RunScript(kOpenDkimScript, verb);
}

int RunMemcachedScript(const std::string& verb)
{
    return RunScript(kMemcachedScript, verb);
}

int RunOpenDmarcScript(const std::string& verb)
{
    return RunScript(kOpenDmarcScript, verb);
}

int RequeueHold(const std::string& /*unused*/)
{
    return HLIBCExec(kPostsuper, "-r", "ALL", "hold", nullptr);
}

int GenerateLoginMap(const std::string& /*unused*/)
{
    return HLIBCExec(kLoginMapTool, nullptr, nullptr, nullptr, nullptr);
}

int HupFirewall(const std::string& /*unused*/)
{
    return HALDFwRuleHup();
}

int RegenerateMapFiles(const std::string& /*unused*/)
{
    if (BCC::GenerateBccMap() < 0) {
        LogError(Here(), "generate bcc file fail");
        return -1;
    }

    if (Access::GenerateAccessMap() < 0) {
        LogError(Here(), "generate access file fail");
        return -1;
    }

    if (SenderQuota::GenerateConfig() < 0) {
        LogError(Here(), "generate sender quota fail");
        return -1;
    }

    return 0;
}

int MoveFile(const std::string& source, const std::string& target)
{
    if (source.empty() || target.empty()) return -1;

    return HLIBCExec(kMove, source.c_str(), target.c_str(), nullptr, nullptr);
}
