// The maps of the access lists: what the SMTP server answers to senders, recipients and clients.
//
// The nearest entry counts: an address before its domain, a domain before the tree it is in, a tree
// before one above it; an IP address before its networks, a small network before one around it,
// both before the client's host name.
//
// Mail for a discarded recipient is taken in and then thrown away by its transport, since DISCARD
// as an answer of the SMTP server would throw it away for all recipients of the message.
#include "host/libmailvane/render/access_maps.h"

#include <algorithm>
#include <optional>

#include "host/libmailvane/names/map_text.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::render {
namespace {

/// Where the mail for discarded addresses goes; no domain of this name can exist.
const char kNowhere[] = "discarded.invalid";

using Entries = std::list<AccessInfo>;

std::string Answer(const AccessInfo& entry)
{
    return Access::StatusToStr(entry.status);
}

/// As `Answer`, for recipients: those that are discarded are no reason to refuse.
std::string RecipientAnswer(const AccessInfo& entry)
{
    return entry.status == ACCESS_DISCARD ? "DUNNO" : Answer(entry);
}

bool IsDiscarded(const AccessInfo& entry)
{
    return entry.status == ACCESS_DISCARD;
}

/// Transports: those of discarded recipients, and none of their own for the rest.
std::string TransportText(const Entries& recipients)
{
    if (std::none_of(recipients.begin(), recipients.end(), IsDiscarded)) return "";

    return std::string(kNowhere) + " discard:\n" +
           names::NamesText(recipients, [](const AccessInfo& entry) {
               return IsDiscarded(entry) ? "discard:" : ":";
           });
}

/// Discarded addresses, which may be those of aliases: they must not be followed to their members.
std::string DiscardedText(const Entries& recipients)
{
    names::MapText map;
    for (const AccessInfo& entry : recipients) {
        if (entry.nameType == NAME_ADDRESS && IsDiscarded(entry)) {
            map.Add({entry.name}, std::string("discarded@") + kNowhere);
        }
    }
    return map.Take();
}

std::string AddressesText(const Entries& clients)
{
    names::MapText map;
    for (const AccessInfo& entry : clients) {
        if (entry.nameType == NAME_IP) map.Add({entry.name}, Answer(entry));
    }
    return map.Take();
}

/// Networks, the small ones first: the first that holds an address counts.
std::string NetworksText(const Entries& clients)
{
    std::string text;
    for (const AccessInfo* entry : names::SmallestFirst(clients, {NAME_NETWORK})) {
        text += entry->name + " " + Answer(*entry) + "\n";
    }
    return text;
}

std::vector<generation::ListFile> FilesOf(SQLite::Database& store)
{
    const Entries senders = stores::ReadAccess(store, TYPE_SENDER);
    const Entries recipients = stores::ReadAccess(store, TYPE_RECIPIENT);
    const Entries clients = stores::ReadAccess(store, TYPE_CLIENT);
    return {{"sender_access", names::NamesText(senders, Answer)},
            {"recipient_access", names::NamesText(recipients, RecipientAnswer)},
            {"discarded_recipients", DiscardedText(recipients)},
            {"recipient_transport", TransportText(recipients)},
            {"client_access", names::NamesText(clients, Answer)},
            {"client_addresses", AddressesText(clients)},
            {generation::kClientNetworksFile, NetworksText(clients), false}};
}

}  // namespace

Result<std::vector<generation::ListFile>> AccessFiles()
{
    return stores::ReadLists("access lists", FilesOf);
}

}  // namespace host::render
