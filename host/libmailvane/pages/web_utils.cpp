// Functions for the settings pages: port conflicts, joining texts.
#include "platform/mailvane/web_utils.h"

#include "host/libmailvane/daemons/listening_ports.h"

int WebUtils::IsPortConflict(const char* services, int from, int to)
{
    const host::Result<bool> conflict =
        host::daemons::PortsConflict(services == nullptr ? "" : services, from, to);
    return host::Succeeded(conflict) && *conflict ? 1 : 0;
}

std::string StringJoin(const std::list<std::string>& texts, const char* separator)
{
    std::string joined;
    for (const std::string& text : texts) {
        if (&text != &texts.front()) joined += separator;
        joined += text;
    }
    return joined;
}
