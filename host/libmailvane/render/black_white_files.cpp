// The files made from the black and white list. The scanner's have one name a line; "!" marks a
// name of the opposite list. The most specific entry decides: a white address in a black domain is
// white. The mail server's files refuse black entries, also while the spam check is off.
#include "host/libmailvane/names/map_text.h"
#include "host/libmailvane/render/lists.h"
#include "platform/mailvane/access.h"

namespace host::render {
namespace {

using Entries = std::list<BlackWhite>;

Entries EntriesOf(SQLite::Database& database, int type)
{
    return stores::BlackWhiteEntries(stores::ReadRules(database, stores::kBlackWhiteRules, type));
}

std::string Answer(const BlackWhite& entry)
{
    return entry.blackWhite == BLACK_LIST ? "REJECT" : "DUNNO";
}

std::string ScannerLine(const BlackWhite& entry, BlackWhiteType list)
{
    const std::string name = names::NameInText(static_cast<NameType>(entry.nameType), entry.name);
    return (entry.blackWhite == list ? "" : "!") + name + "\n";
}

/// Text of a scanner's file, with the smallest networks first: the first match decides. The scanner
/// sorts names itself.
std::string ScannerText(const Entries& entries, BlackWhiteType list)
{
    std::string text;
    for (const BlackWhite* entry : names::SmallestFirst(entries, {NAME_IP, NAME_NETWORK})) {
        text += ScannerLine(*entry, list);
    }
    for (const BlackWhite& entry : entries) {
        if (entry.type != TYPE_CLIENT) text += ScannerLine(entry, list);
    }
    return text;
}

std::string ClientsText(const Entries& clients)
{
    std::string text;
    for (const BlackWhite* entry : names::SmallestFirst(clients, {NAME_IP, NAME_NETWORK})) {
        text += entry->name + " " + Answer(*entry) + "\n";
    }
    return text;
}

}  // namespace

ListTexts BlackWhiteTexts(const ListSources& sources)
{
    const Entries senders = EntriesOf(sources.database, TYPE_SENDER);
    const Entries recipients = EntriesOf(sources.database, TYPE_RECIPIENT);
    const Entries clients = EntriesOf(sources.database, TYPE_CLIENT);
    std::vector<std::string> texts{names::NamesText(senders, Answer),
                                   names::NamesText(recipients, Answer), ClientsText(clients)};
    // The scanner never sees black senders: the mail server refuses them.
    texts.push_back(ScannerText(senders, WHITE_LIST));
    for (const Entries* entries : {&recipients, &clients}) {
        texts.push_back(ScannerText(*entries, BLACK_LIST));
        texts.push_back(ScannerText(*entries, WHITE_LIST));
    }
    return texts;
}

}  // namespace host::render
