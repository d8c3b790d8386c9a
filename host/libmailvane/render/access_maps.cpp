// The maps of the access lists: what the SMTP server answers to senders, recipients and clients.
//
// The most specific entry decides: user@a.example before a.example, before the tree .example; an IP
// address before its networks, a small network before a larger one, both before the host name.
//
// Mail for a discarded recipient is accepted and then dropped by a transport. If the SMTP server
// answered DISCARD itself, all recipients of the message would lose it.
#include <algorithm>

#include "host/libmailvane/names/map_text.h"
#include "host/libmailvane/render/lists.h"

namespace host::render {
namespace {

/// The domain of the transport and of addresses for discarded mail; no domain of this name can
/// exist.
const char kNowhere[] = "discarded.invalid";

using Entries = std::list<AccessInfo>;

Entries EntriesOf(SQLite::Database& database, Type type)
{
    return stores::AccessEntries(stores::ReadRules(database, stores::kAccessRules, type));
}

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

}  // namespace

ListTexts AccessTexts(const ListSources& sources)
{
    const Entries senders = EntriesOf(sources.database, TYPE_SENDER);
    const Entries recipients = EntriesOf(sources.database, TYPE_RECIPIENT);
    const Entries clients = EntriesOf(sources.database, TYPE_CLIENT);
    return std::vector<std::string>{names::NamesText(senders, Answer),
                                    names::NamesText(recipients, RecipientAnswer),
                                    DiscardedText(recipients),
                                    TransportText(recipients),
                                    names::NamesText(clients, Answer),
                                    AddressesText(clients),
                                    NetworksText(clients)};
}

}  // namespace host::render
