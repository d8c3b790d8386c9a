// The files made from the black and white list. The scanner's have one name a line; "!" marks a
// name of the opposite list. The most specific entry decides: a white address in a black domain is
// white. The mail server's files refuse black entries, also while the spam check is off.
#include "host/libmailvane/render/black_white_files.h"

#include "host/libmailvane/names/map_text.h"
#include "host/libmailvane/render/scanner.h"
#include "host/libmailvane/stores/black_white_store.h"
#include "host/libmailvane/stores/list_store.h"

namespace host::render {
namespace {

using Entries = std::list<BlackWhite>;

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

generation::ListFile ScannerFile(const char* name, const Entries& entries, BlackWhiteType list)
{
    return {std::string("amavis/") + name, ScannerText(entries, list), false};
}

std::vector<generation::ListFile> FilesOf(SQLite::Database& store)
{
    const Entries senders = stores::ReadBlackWhite(store, TYPE_SENDER);
    const Entries recipients = stores::ReadBlackWhite(store, TYPE_RECIPIENT);
    const Entries clients = stores::ReadBlackWhite(store, TYPE_CLIENT);
    return {{"black_senders", names::NamesText(senders, Answer)},
            {"black_recipients", names::NamesText(recipients, Answer)},
            {generation::kBlackClientsFile, ClientsText(clients), false},
            ScannerFile("white_senders", senders, WHITE_LIST),
            ScannerFile("black_recipients", recipients, BLACK_LIST),
            ScannerFile("white_recipients", recipients, WHITE_LIST),
            ScannerFile("black_clients", clients, BLACK_LIST),
            ScannerFile("white_clients", clients, WHITE_LIST)};
}

}  // namespace

Result<std::vector<generation::ListFile>> BlackWhiteFiles()
{
    return stores::ReadLists("black and white list", FilesOf);
}

}  // namespace host::render
