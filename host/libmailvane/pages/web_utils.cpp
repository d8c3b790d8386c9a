// Functions for the settings pages: port conflicts, joining texts.
#include "platform/mailvane/web_utils.h"

#include "host/libhaldcore/noted_reasons.h"
#include "host/libmailvane/daemons/listening_ports.h"

int WebUtils::IsPortConflict(const char* services, int from, int to)
{
    const std::string names = services == nullptr ? "" : services;
    const auto held = host::daemons::PortsInConflict(names, from, to);
    if (!host::Succeeded(held) || held->empty()) return 0;

    // The page says that it refuses the port, and which; who holds it is known here alone.
    host::NoteReason(
        host::daemons::PortIsHeld(held->front(), host::daemons::NamedService(names), ""));
    return 1;
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
