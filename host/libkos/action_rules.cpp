// The rules of the actions' requests. Reads /var/packages/Mailvane/target/etc/web.conf.
#include "host/libkos/action_rules.h"

#include <algorithm>
#include <cerrno>
#include <string_view>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"
#include "host/libkos/text.h"

namespace kos {

namespace {

constexpr char kFile[] = "target/etc/web.conf";
constexpr char kKey[] = "state_changing_actions";

// The same list as in packaging/web.conf. Without it, a damaged file would leave these actions open
// to forged requests, or would have to lock the administrator out.
constexpr char kBuiltIn[] =
    "apply_access_setting fresh_clam apply_spam_blackwhite generate_dkim_key";

std::string ReadNames()
{
    const auto file = host::KeyValueFile::Read(host::PackagePath(kFile));
    if (!file && errno != ENOENT)
        host::Log(LOG_ERR, "%s cannot be read: %s", kFile, host::ErrnoText());
    return file ? file->Get(kKey).value_or(kBuiltIn) : kBuiltIn;
}

}  // namespace

ActionRules::ActionRules()
{
    std::string names = ReadNames();
    std::replace(names.begin(), names.end(), '\t', ' ');
    std::string_view rest = names;
    while (!rest.empty()) {
        const std::string_view name = CutAt(rest, ' ');
        if (!name.empty()) changing_.emplace_back(name);
    }
}

const char* ActionRules::NameMember() const
{
    return "action";
}

RequestDemands ActionRules::DemandsOf(const std::string& name, bool hasBody) const
{
    RequestDemands demands;
    demands.changes =
        hasBody || std::find(changing_.begin(), changing_.end(), name) != changing_.end();
    demands.proof = demands.changes;
    demands.lock = demands.changes;
    return demands;
}

}  // namespace kos
