// Parsing log lines of Postfix into events.
#include "tools/maillog_collector/log_event.h"

#include <algorithm>
#include <string>

#include "host/libmailvane/names/relay_probe.h"
#include "tools/maillog_collector/log_fields.h"

namespace collector {
namespace {

using Result = std::optional<Event>;

// The scanner's address when it works as a content filter between two queues.
constexpr std::string_view kScanner = "[127.0.0.1]:10024";

Event Make(EventKind kind, std::string_view id)
{
    Event event;
    event.kind = kind;
    event.id = id;
    return event;
}

Event MakeJoined(std::string_view id, std::string_view other)
{
    Event event = Make(EventKind::kJoined, id);
    event.other = other;
    return event;
}

/// Parses `client=localhost[127.0.0.1], orig_queue_id=ID, ...`. `orig_queue_id` counts only from
/// this machine.
Event ParseClient(std::string_view id, std::string_view text)
{
    const std::size_t end = text.find(", ");
    if (end == std::string_view::npos) return Make(EventKind::kAccepted, id);

    const std::string_view client = text.substr(0, end);
    const bool neighbour = EndsWith(client, "[127.0.0.1]") || EndsWith(client, "[::1]");
    std::string_view rest = text.substr(end + 2);
    if (!neighbour || !SkipPrefix(rest, "orig_queue_id=")) return Make(EventKind::kAccepted, id);

    const std::string_view other = rest.substr(0, rest.find(','));
    return IsQueueId(other) ? MakeJoined(id, other) : Make(EventKind::kAccepted, id);
}

/// Parses `uid=N from=<F>`; a requeued message also has ` orig_id=ID`.
Event ParsePickup(std::string_view id, std::string_view text)
{
    const std::size_t from = text.find(" from=<");
    std::string_view rest = from == std::string_view::npos ? text : text.substr(from + 6);
    std::string_view address;
    if (!TakeAddress(rest, address) || !SkipPrefix(rest, " orig_id=") || !IsQueueId(rest))
        return Make(EventKind::kAccepted, id);

    Event event = MakeJoined(id, rest);
    event.requeued = true;
    return event;
}

/// Parses `from=<F>, size=N, nrcpt=N (queue active)`, `from=<F>, status=expired, ...` or `removed`.
Result ParseQueue(std::string_view id, std::string_view text)
{
    if (text == "removed") return Make(EventKind::kRemoved, id);

    Event event = Make(EventKind::kQueued, id);
    if (!SkipPrefix(text, "from=") || !TakeAddress(text, event.from)) return std::nullopt;
    if (SkipPrefix(text, ", status=")) {
        event.kind = EventKind::kExpired;
        return event;
    }
    std::int64_t recipients = 0;
    if (!SkipPrefix(text, ", size=") || !TakeNumber(text, event.size) ||
        !SkipPrefix(text, ", nrcpt=") || !TakeNumber(text, recipients))
        return std::nullopt;
    event.recipients = static_cast<int>(recipients);
    return event;
}

/// Parses `message-id=<...>`; the id is without brackets.
Result ParseMessageId(std::string_view id, std::string_view text)
{
    if (!SkipPrefix(text, "message-id=")) return std::nullopt;

    Event event = Make(EventKind::kMessageId, id);
    if (text.size() >= 2 && text.front() == '<' && text.back() == '>')
        text = text.substr(1, text.size() - 2);
    event.messageId = text;
    return event;
}

/// Parses the scanner's reply, `250 OK: queued as ID`, which is the only one trusted to name
/// another id.
void JudgeScan(Event& event, std::string_view reply)
{
    constexpr std::string_view kQueuedAs = "queued as ";
    event.kind = EventKind::kScanned;
    if (reply.find("discarded") != std::string_view::npos) event.kind = EventKind::kKept;

    const std::size_t found = reply.rfind(kQueuedAs);
    if (found == std::string_view::npos) return;
    const std::string_view rest = reply.substr(found + kQueuedAs.size());
    const std::string_view other = rest.substr(0, rest.find_first_of(") ;,"));
    if (IsQueueId(other)) event.other = other;
}

/// Determines the kind of a delivery with `status=sent`.
void JudgeSent(Event& event, const LogLine& line, std::string_view relay, std::string_view reply)
{
    event.kind = EventKind::kSent;
    event.local = line.daemon != "smtp";
    if ((line.daemon == "smtp" || line.daemon == "lmtp") && EndsWith(relay, kScanner)) {
        JudgeScan(event, reply);
    } else if (line.daemon == "local" && SkipPrefix(reply, "(forwarded as ")) {
        const std::string_view other = reply.substr(0, reply.find(')'));
        if (!IsQueueId(other)) return;
        event.kind = EventKind::kPassedOn;
        event.other = other;
    }
}

/// Parses `to=<T>, orig_to=<O>, relay=R, ..., status=W (TEXT)`.
Result ParseDelivery(const LogLine& line, std::string_view id, std::string_view text)
{
    Event event = Make(EventKind::kSent, id);
    std::string_view original;
    if (!SkipPrefix(text, "to=") || !TakeAddress(text, event.to)) return std::nullopt;
    if (SkipPrefix(text, ", orig_to=") && !TakeAddress(text, original)) return std::nullopt;
    // Its own recipient is a name for nobody.
    if (line.daemon == "discard" && !original.empty()) event.to = original;
    if (!SkipPrefix(text, ", relay=")) return std::nullopt;

    const std::string_view relay = text.substr(0, text.find(", "));
    const std::size_t found = text.find(", status=");
    if (found == std::string_view::npos) return std::nullopt;
    std::string_view reply = text.substr(found + 9);
    const std::string_view status = TakeUntil(reply, ' ');
    if (status == "sent") {
        JudgeSent(event, line, relay, reply);
    } else if (status == "bounced") {
        event.kind = EventKind::kBounced;
    } else if (status == "deferred" || status == "SOFTBOUNCE") {
        event.kind = EventKind::kDeferred;
    } else if (status == "deliverable" || status == "undeliverable") {
        event.kind = EventKind::kProbed;
    } else {
        return std::nullopt;
    }
    return event;
}

/// Where the part of a verdict that names the envelope begins, `; from=<F> to=<T> proto=...`;
/// nowhere when there are several. Whoever is refused may have put such a text into the name that
/// it greets with, or into a header: what it says for itself is not to be told from the real one.
std::size_t FindEnvelope(std::string_view text)
{
    constexpr std::string_view kEnvelope = "; from=";
    // Verdicts on a step of the dialogue quote names in angle brackets; content may hold anything.
    const bool isContent = !text.empty() && text.front() >= 'a';
    std::size_t found = std::string_view::npos;
    for (std::size_t i = 0; i < text.size();) {
        std::string_view rest = text.substr(i);
        std::string_view quoted;
        if (rest.substr(0, kEnvelope.size() + 1) == "; from=<") {
            if (found != std::string_view::npos) return std::string_view::npos;
            found = i + kEnvelope.size();
            i = found;
        } else if (!isContent && TakeAddress(rest, quoted)) {
            i = text.size() - rest.size();
        } else {
            ++i;
        }
    }
    return found;
}

/// Parses `reject: WHAT from CLIENT: REASON; from=<F> to=<T> proto=...` and similar verdicts.
Result ParseVerdict(std::string_view id, std::string_view text)
{
    EventKind kind = EventKind::kRefused;
    if (!SkipPrefix(text, "reject: ") && !SkipPrefix(text, "milter-reject: ")) {
        kind = EventKind::kKept;
        if (!SkipPrefix(text, "hold: ") && !SkipPrefix(text, "milter-hold: ") &&
            !SkipPrefix(text, "discard: ") && !SkipPrefix(text, "milter-discard: "))
            return std::nullopt;
    }
    Event event = Make(kind, id);
    const std::size_t envelope = FindEnvelope(text);
    if (envelope == std::string_view::npos) return event;

    std::string_view rest = text.substr(envelope);
    if (!TakeAddress(rest, event.from)) return event;
    (void)SkipPrefix(rest, ",");  // as postscreen writes it
    if (SkipPrefix(rest, " to=")) (void)TakeAddress(rest, event.to);
    return event;
}

/// Whether a verdict is one on a message. A client that is refused before it names a sender, or
/// that asks for a user's name, has none.
bool IsOnMessage(std::string_view verdict)
{
    (void)TakeUntil(verdict, ' ');
    const std::string_view step = verdict.substr(0, verdict.find_first_of(" :"));
    for (const std::string_view command : {"MAIL", "RCPT", "DATA", "BDAT", "END-OF-MESSAGE"}) {
        if (step == command) return true;
    }
    return false;
}

/// Whether this is the refusal of the self-check's test for an open relay. Decided by the client's
/// address and the whole envelope, since a client can put any text into its host name or HELO.
bool IsOwnProbe(std::string_view text)
{
    static const std::string envelope = std::string("; from=<> to=<") +
                                        host::names::kProbeRecipient + "> proto=ESMTP helo=<" +
                                        host::names::kProbeName + ">";
    if (!SkipPrefix(text, "reject: RCPT from ")) return false;

    const std::string_view client = text.substr(0, text.find(": "));
    for (const std::string address : {host::names::kProbeAddress, host::names::kProbeAddress6}) {
        if (!EndsWith(client, "[" + address + "]")) continue;
        return text.substr(std::min(text.find("; from=<"), text.size())) == envelope;
    }
    return false;
}

/// Parses a line that does not begin with a queue id.
Result ParseWithoutId(const LogLine& line)
{
    std::string_view text = line.text;
    const bool isServer = line.daemon == "smtpd" || line.daemon == "postscreen";
    if (isServer && SkipPrefix(text, "NOQUEUE: ")) {
        // A message that is to be held has an id later on.
        const bool isHeld = text.substr(0, text.find(':')).find("hold") != std::string_view::npos;
        return isHeld || IsOwnProbe(text) || !IsOnMessage(text) ? std::nullopt
                                                                : ParseVerdict({}, text);
    }
    if (line.daemon == "smtpd" && SkipPrefix(text, "proxy-")) {
        const bool isRefusal = text.substr(0, 8) == "reject: " && IsOnMessage(text);
        return isRefusal ? ParseVerdict({}, text) : std::nullopt;
    }
    if (SkipPrefix(text, "warning: ")) {
        const std::string_view id = TakeUntil(text, ':');
        if (IsQueueId(id) && text == " queue file size limit exceeded")
            return Make(EventKind::kRefused, id);
    }
    return std::nullopt;
}

bool IsDeliveryAgent(std::string_view daemon)
{
    for (const std::string_view agent :
         {"lmtp", "smtp", "local", "virtual", "pipe", "error", "discard"}) {
        if (daemon == agent) return true;
    }
    return false;
}

}  // namespace

std::optional<Event> ParseEvent(const LogLine& line)
{
    const std::size_t colon = line.text.find(": ");
    const std::string_view id = line.text.substr(0, colon);
    if (colon == std::string_view::npos || !IsQueueId(id)) return ParseWithoutId(line);

    std::string_view text = line.text.substr(colon + 2);
    if (IsDeliveryAgent(line.daemon)) return ParseDelivery(line, id, text);
    if (line.daemon == "qmgr") return ParseQueue(id, text);
    if (line.daemon == "pickup") return ParsePickup(id, text);
    if (line.daemon == "postsuper") {
        return text == "removed" ? Result(Make(EventKind::kDeleted, id)) : std::nullopt;
    }
    if (line.daemon == "smtpd" && SkipPrefix(text, "client=")) return ParseClient(id, text);
    if (line.daemon == "cleanup") {
        if (const Result event = ParseMessageId(id, text)) return event;
    }
    return line.daemon == "cleanup" || line.daemon == "smtpd" ? ParseVerdict(id, text)
                                                              : std::nullopt;
}

}  // namespace collector
