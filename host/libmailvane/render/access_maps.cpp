// The maps of the access lists: what the SMTP server answers to senders, recipients and clients.
//
// The nearest entry counts: an address before its domain, a domain before the tree it is in, a tree
// before one above it; an IP address before its networks, a small network before one around it,
// both before the client's host name.
//
// Mail for a discarded recipient is taken in and then thrown away by its transport, since DISCARD
// as an answer of the SMTP server would throw it away for all recipients of the message.
#include <algorithm>

#include "host/libmailvane/names/map_text.h"
#include "host/libmailvane/render/lists.h"

namespace host::render {
namespace {

/// Where the mail for discarded addresses goes; no domain of this name can exist.
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
