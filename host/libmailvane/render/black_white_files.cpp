// The files made from the black and white list. The scanner's have one name a line; "!" marks a
// name of the opposite list. The most specific entry decides: a white address in a black domain is
// white. The mail server's files refuse black entries, also while the spam check is off.
#include "host/libmailvane/names/list_names.h"
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/render/rule_texts.h"
#include "platform/mailvane/access.h"

namespace host::render {
namespace {

using generation::LongText;
using stores::kBlackWhiteRules;
using stores::Rule;

std::string Answer(const Rule& rule)
{
    return ValueAsNumber(rule) == BLACK_LIST ? "REJECT" : "DUNNO";
}

std::string ScannerLine(const Rule& rule, BlackWhiteType list)
{
    const std::string name = names::NameInText(static_cast<NameType>(rule.nameType), rule.name);
    return (ValueAsNumber(rule) == list ? "" : "!") + name + "\n";
}

/// Text of a scanner's file, with the smallest networks first: the first match decides. The scanner
/// sorts names itself.
LongText ScannerText(SQLite::Database& store, int type, BlackWhiteType list)
{
    LongText text;
    const auto take = [&text, list](const Rule& rule) { text += ScannerLine(rule, list); };
    if (type == TYPE_CLIENT) {
        EachNetwork(store, kBlackWhiteRules, type, take);
    } else {
        EachRule(store, kBlackWhiteRules, type, take);
    }
    return text;
}

LongText ClientsText(SQLite::Database& store)
{
    LongText text;
    EachNetwork(store, kBlackWhiteRules, TYPE_CLIENT,
                [&text](const Rule& rule) { text += TableLine(rule.name, Answer(rule)); });
    return text;
}

}  // namespace

ListTexts BlackWhiteTexts(const ListSources& sources)
{
    SQLite::Database& store = sources.database;
    auto texts =
        TextsOf(NamesText(store, kBlackWhiteRules, TYPE_SENDER, Answer),
                NamesText(store, kBlackWhiteRules, TYPE_RECIPIENT, Answer), ClientsText(store));
    // The scanner never sees black senders: the mail server refuses them.
    texts.push_back(ScannerText(store, TYPE_SENDER, WHITE_LIST));
    for (const int type : {TYPE_RECIPIENT, TYPE_CLIENT}) {
        texts.push_back(ScannerText(store, type, BLACK_LIST));
        texts.push_back(ScannerText(store, type, WHITE_LIST));
    }
    return texts;
}

}  // namespace host::render
