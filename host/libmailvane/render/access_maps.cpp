// The maps of the access lists: what the SMTP server answers to senders, recipients and clients.
//
// The most specific entry decides: user@a.example before a.example, before the tree .example; an IP
// address before its networks, a small network before a larger one, both before the host name.
//
// Mail for a discarded recipient is accepted and then dropped by a transport. If the SMTP server
// answered DISCARD itself, all recipients of the message would lose it.
#include "host/libmailvane/render/lists.h"
#include "host/libmailvane/render/rule_texts.h"

namespace host::render {
namespace {

using generation::LongText;
using stores::kAccessRules;
using stores::Rule;

/// The domain of the transport and of addresses for discarded mail; no domain of this name can
/// exist.
const char kNowhere[] = "discarded.invalid";

std::string Answer(const Rule& rule)
{
    return Access::StatusToStr(static_cast<AccessStatus>(ValueAsNumber(rule)));
}

bool IsDiscarded(const Rule& rule)
{
    return ValueAsNumber(rule) == ACCESS_DISCARD;
}

/// The answer for a recipient. A discarded one is accepted: its transport drops the mail.
std::string RecipientAnswer(const Rule& rule)
{
    return IsDiscarded(rule) ? "DUNNO" : Answer(rule);
}

/// The transport map: the discard transport for discarded recipients, the usual one for all others.
/// Empty when none is discarded.
LongText TransportText(SQLite::Database& store)
{
    bool discards = false;
    const auto transport = [&discards](const Rule& rule) {
        discards = discards || IsDiscarded(rule);
        return IsDiscarded(rule) ? "discard:" : ":";
    };
    LongText text =
        NamesText(store, kAccessRules, TYPE_RECIPIENT, transport, TableLine(kNowhere, "discard:"));
    return discards ? std::move(text) : LongText();
}

/// The map of discarded recipients. One that is an alias must not be expanded to its members.
LongText DiscardedText(SQLite::Database& store)
{
    LongText text;
    EachRuleOfKind(store, kAccessRules, TYPE_RECIPIENT, NAME_ADDRESS, [&text](const Rule& rule) {
        if (!IsDiscarded(rule)) return;
        text += TableLine(rule.name, std::string("discarded@") + kNowhere);
    });
    return text;
}

LongText AddressesText(SQLite::Database& store)
{
    LongText text;
    EachRuleOfKind(store, kAccessRules, TYPE_CLIENT, NAME_IP,
                   [&text](const Rule& rule) { text += TableLine(rule.name, Answer(rule)); });
    return text;
}

/// The table of networks, the smallest first, since Postfix takes the first that matches.
LongText NetworksText(SQLite::Database& store)
{
    LongText text;
    EachNetwork(store, kAccessRules, TYPE_CLIENT, [&text](const Rule& rule) {
        if (rule.nameType == NAME_NETWORK) text += TableLine(rule.name, Answer(rule));
    });
    return text;
}

}  // namespace

ListTexts AccessTexts(const ListSources& sources)
{
    SQLite::Database& store = sources.database;
    return TextsOf(NamesText(store, kAccessRules, TYPE_SENDER, Answer),
                   NamesText(store, kAccessRules, TYPE_RECIPIENT, RecipientAnswer),
                   DiscardedText(store), TransportText(store),
                   NamesText(store, kAccessRules, TYPE_CLIENT, Answer), AddressesText(store),
                   NetworksText(store));
}

}  // namespace host::render
