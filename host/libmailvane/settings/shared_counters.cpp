// Counters of what senders send that several machines share. Reads /etc/default/mailvane.
#include "host/libmailvane/settings/shared_counters.h"

#include "host/libhaldcore/key_value_file.h"
#include "host/libhaldcore/paths.h"
#include "host/libmailvane/names/socket_address.h"

namespace host::settings {

namespace {

constexpr char kDefaults[] = "/etc/default/mailvane";
constexpr char kName[] = "MAILVANE_SENDER_COUNTERS";

}  // namespace

Result<std::string> SharedCounters()
{
    const auto defaults = KeyValueFile::Read(Path(kDefaults));
    const std::string value = defaults ? defaults->Get(kName).value_or("") : "";
    if (value.empty() || names::ParseSocketAddress(value)) return value;
    return Reason{ReasonCode::kDaemonRefuses, Subject::Service("memcached"),
                  std::string(kName) + " in " + kDefaults +
                      " is no address with a port, such as 10.1.0.1:11211"};
}

}  // namespace host::settings
