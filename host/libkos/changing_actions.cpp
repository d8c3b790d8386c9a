// The actions that change something although they come as plain parameters. Reads
// /var/packages/Mailvane/target/etc/web.conf.
#include "host/libkos/changing_actions.h"

#include <cerrno>
#include <cstring>

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/log.h"
#include "host/libhaldcore/paths.h"

namespace kos {

namespace {

constexpr char kFile[] = "target/etc/web.conf";
constexpr char kKey[] = "state_changing_actions";

// As packaging/web.conf has it. Without this a damaged file would open these actions to forged
// requests, and refusing every read instead would lock the administrator out.
constexpr char kBuiltIn[] =
    "apply_access_setting fresh_clam apply_spam_blackwhite generate_dkim_key";

std::string ReadNames()
{
    const auto file = host::KeyValueFile::Read(host::PackagePath(kFile));
    if (!file && errno != ENOENT)
        host::Log(LOG_ERR, "%s cannot be read: %s", kFile, strerror(errno));
    return file ? file->Get(kKey).value_or(kBuiltIn) : kBuiltIn;
}

}  // namespace

ChangingActions ChangingActions::Read()
{
    ChangingActions actions;
    actions.names_ = " " + ReadNames() + " ";
    return actions;
}

bool ChangingActions::Contains(const std::string& action) const
{
    return !action.empty() && names_.find(" " + action + " ") != std::string::npos;
}

}  // namespace kos
