// The maps of the access lists: what the SMTP server answers to senders, recipients and clients.
//
// The most specific entry decides: user@a.example before a.example, before the tree .example; an IP
// address before its networks, a small network before a larger one, both before the host name.
//
// Mail for a discarded recipient is accepted and then dropped by a transport. If the SMTP server
// answered DISCARD itself, all recipients of the message would lose it.
#include "host/libmailvane/render/access_maps.h"

#include <algorithm>
#include <optional>

#include "host/libmailvane/names/map_text.h"
#include "host/libmailvane/stores/access_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::render {
namespace {

/// The domain of the transport and of addresses for discarded mail; no domain of this name can
/// exist.
const char kNowhere[] = "discarded.invalid";

using Entries = std::list<AccessInfo>;

std::string Answer(const AccessInfo& entry)
{
    return Access::StatusToStr(entry.status);
}

/// The answer for a recipient. A discarded one is accepted: its transport drops the mail.
std::string RecipientAnswer(const AccessInfo& entry)
{
    return entry.status == ACCESS_DISCARD ? "DUNNO" : Answer(entry);
}

bool IsDiscarded(const AccessInfo& entry)
{
    return entry.status == ACCESS_DISCARD;
}

/// The transport map: the discard transport for discarded recipients, the usual one for all others.
std::string TransportText(const Entries& recipients)
{
    if (std::none_of(recipients.begin(), recipients.end(), IsDiscarded)) return "";

    return std::string(kNowhere) + " discard:\n" +
           names::NamesText(recipients, [](const AccessInfo& entry) {
               return IsDiscarded(entry) ? "discard:" : ":";
           });
}

/// The map of discarded recipients. One that is an alias must not be expanded to its members.
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

/// The table of networks, the smallest first, since Postfix takes the first that matches.
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
