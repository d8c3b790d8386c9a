// The maps of the access lists: what the SMTP server answers to senders, recipients and clients.
//
// The nearest entry counts: an address before its domain, a domain before the tree it is in, a tree
// before one above it; an IP address before its networks, a small network before one around it,
// both before the client's host name.
//
// Mail for a discarded recipient is taken in and then thrown away by its transport, since DISCARD
// as an answer of the SMTP server would throw it away for all recipients of the message.
#include <algorithm>
#include <optional>
#include <unordered_set>

#include "host/libmailvane/access_store.h"
#include "host/libmailvane/account_databases.h"
#include "host/libmailvane/list_maps.h"
#include "host/libmailvane/list_names.h"

namespace host {
namespace {

/// Where the mail for discarded addresses goes; no domain of this name can exist.
const char kNowhere[] = "discarded.invalid";

using Entries = std::list<AccessInfo>;

/// Text of a map in which each key stands once: what is added first counts.
class MapText {
public:
    void Add(const std::vector<std::string>& keys, const std::string& value)
    {
        for (const std::string& key : keys) {
            if (keys_.insert(key).second) text_.append(key).append(" ").append(value).append("\n");
        }
    }

    std::string Take() { return std::move(text_); }

private:
    std::unordered_set<std::string> keys_;
    std::string text_;
};

/// A map of names, `valueOf` each entry's value. A domain's own entry comes before that of its
/// tree, which has the domain as a key too.
template <typename ValueOf>
std::string NamesText(const Entries& entries, ValueOf valueOf)
{
    MapText map;
    for (const NameType kind : {NAME_ADDRESS, NAME_DOMAIN, NAME_DOMAIN_TREE}) {
        for (const AccessInfo& entry : entries) {
            if (entry.nameType == kind) map.Add(AccessKeys(kind, entry.name), valueOf(entry));
        }
    }
    return map.Take();
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
           NamesText(recipients,
                     [](const AccessInfo& entry) { return IsDiscarded(entry) ? "discard:" : ":"; });
}

/// Discarded addresses, which may be those of aliases: they must not be followed to their members.
std::string DiscardedText(const Entries& recipients)
{
    MapText map;
    for (const AccessInfo& entry : recipients) {
        if (entry.nameType == NAME_ADDRESS && IsDiscarded(entry)) {
            map.Add({entry.name}, std::string("discarded@") + kNowhere);
        }
    }
    return map.Take();
}

std::string AddressesText(const Entries& clients)
{
    MapText map;
    for (const AccessInfo& entry : clients) {
        if (entry.nameType == NAME_IP) map.Add({entry.name}, Answer(entry));
    }
    return map.Take();
}

/// Networks, the small ones first: the first that holds an address counts.
std::string NetworksText(const Entries& clients)
{
    std::vector<const AccessInfo*> networks;
    for (const AccessInfo& entry : clients) {
        if (entry.nameType == NAME_NETWORK) networks.push_back(&entry);
    }
    std::stable_sort(networks.begin(), networks.end(),
                     [](const AccessInfo* left, const AccessInfo* right) {
                         return PrefixLength(left->name) > PrefixLength(right->name);
                     });
    std::string text;
    for (const AccessInfo* entry : networks) text += entry->name + " " + Answer(*entry) + "\n";
    return text;
}

}  // namespace

std::vector<ListFile> AccessFiles()
{
    Entries senders;
    Entries recipients;
    Entries clients;
    if (auto store = ReadAccountDatabase(AccountDatabase::kMailvane)) {
        senders = ReadAccess(*store, TYPE_SENDER);
        recipients = ReadAccess(*store, TYPE_RECIPIENT);
        clients = ReadAccess(*store, TYPE_CLIENT);
    }
    return {{"sender_access", NamesText(senders, Answer)},
            {"recipient_access", NamesText(recipients, RecipientAnswer)},
            {"discarded_recipients", DiscardedText(recipients)},
            {"recipient_transport", TransportText(recipients)},
            {"client_access", NamesText(clients, Answer)},
            {"client_addresses", AddressesText(clients)},
            {kClientNetworksFile, NetworksText(clients), false}};
}

}  // namespace host
