"""Prints what the mail server of the demonstration would have logged in the last month.

The same on every day, but for the dates: strangers write to its people and they answer; some mail waits
and passes, some comes back, some is refused. It ends an hour ago."""
import random
import sys
import time
from collections.abc import Iterator

DAYS = 31
OWN = ("alice@mv.test", "bob@mv.test", "carol@mv.test")
# The names and addresses that documents may use. Host, its address, and who writes from there.
STRANGERS = (
    ("mx.partner.example", "192.0.2.25", ("miller@partner.example", "sales@partner.example")),
    ("out.paper.example", "192.0.2.40", ("news@paper.example",)),
    ("mail.clinic.example", "198.51.100.7", ("office@clinic.example", "j.ford@clinic.example")),
    ("smtp.shop.example", "203.0.113.80", ("orders@shop.example",)),
)
ROBOT = ("unknown", "203.0.113.199", ("winner@lottery.example",))
# How busy each hour of a working day is.
HOURS = (1, 1, 1, 1, 1, 2, 4, 9, 16, 20, 18, 15, 10, 14, 17, 15, 12, 8, 6, 5, 4, 3, 2, 1)
DIGITS = "0123456789BCDFGHJKLMNPQRSTVWXYZbcdfghjklmnpqrstvwxyz"  # of a queue id
SAVED = "250 2.0.0 Saved"
NO_USER = "550 5.1.1 <%s>: Recipient address rejected: User unknown"
GREY = "450 4.2.0 <%s>: Recipient address rejected: Greylisted, see again in 5 minutes"

Line = tuple[float, str]  # when, and what


def in_digits(value: int, length: int) -> str:
    text = ""
    while value or len(text) < length:
        value, digit = divmod(value, len(DIGITS))
        text = DIGITS[digit] + text
    return text


class Message:
    """A message in the queue, and the lines about it."""

    def __init__(self, chance: random.Random, when: float, sender: str) -> None:
        self.chance, self.sender = chance, sender
        self.id = "%s%sz%s" % (in_digits(int(when), 6), in_digits(chance.randrange(10 ** 6), 4),
                               in_digits(chance.randrange(10 ** 6), 4))
        self.size = int(chance.lognormvariate(9, 1.2)) + 600
        self.when = when

    def queued(self, client: str, daemon: str = "smtpd") -> Iterator[Line]:
        host = self.sender.partition("@")[2]
        yield self.when, "%s[412]: %s: client=%s" % (daemon, self.id, client)
        yield self.when, "cleanup[418]: %s: message-id=<%x.%x@%s>" % (
            self.id, int(self.when), self.chance.randrange(1 << 32), host)
        yield self.when, "qmgr[407]: %s: from=<%s>, size=%d, nrcpt=1 (queue active)" % (
            self.id, self.sender, self.size)

    def tried(self, agent: str, recipient: str, relay: str, how: tuple[str, str, str],
              after: float) -> Iterator[Line]:
        """The line of an attempt: what became of it, its code, what was said."""
        status, code, said = how
        yield self.when + after, (
            "%s[431]: %s: to=<%s>, relay=%s, delay=%.1f, delays=0.1/0/0/%.1f, dsn=%s, status=%s (%s)" % (
                agent, self.id, recipient, relay, after, after - .1, code, status, said))

    def removed(self, after: float) -> Iterator[Line]:
        yield self.when + after, "qmgr[407]: %s: removed" % self.id


def received(chance: random.Random, when: float) -> Iterator[Line]:
    host, address, senders = chance.choice(STRANGERS)
    message, recipient = Message(chance, when, chance.choice(senders)), chance.choice(OWN)
    yield from message.queued("%s[%s]" % (host, address))
    yield from message.tried("lmtp", recipient, "mv.test[private/dovecot-lmtp]", ("sent", "2.0.0", SAVED), .4)
    yield from message.removed(.4)


def sent(chance: random.Random, when: float) -> Iterator[Line]:
    """Most of it passes at once, some at the second attempt, some comes back."""
    host, address, recipients = chance.choice(STRANGERS)
    sender, recipient = chance.choice(OWN), chance.choice(recipients)
    relay = "%s[%s]:25" % (host, address)
    said = "host %s[%s] said: " % (host, address)
    message = Message(chance, when, sender)
    yield from message.queued("desk[192.0.2.130], sasl_method=PLAIN, sasl_username=" + sender, "submission/smtpd")
    fate = chance.random()
    last = 1.2
    if fate < .06:
        unknown = "former." + recipient
        yield from message.tried("smtp", unknown, relay, ("bounced", "5.1.1", said + NO_USER % unknown), last)
    else:
        if fate < .14:
            yield from message.tried("smtp", recipient, relay, ("deferred", "4.2.0", said + GREY % recipient), last)
            last = 640
        yield from message.tried("smtp", recipient, relay, ("sent", "2.0.0", "250 2.0.0 Ok: queued"), last)
    yield from message.removed(last)


def refused(chance: random.Random, when: float) -> Iterator[Line]:
    host, address, senders = ROBOT
    recipient = "%s@mv.test" % chance.choice(("info", "admin1", "sales", "test"))
    yield when, "smtpd[412]: NOQUEUE: reject: RCPT from %s[%s]: %s; from=<%s> to=<%s> proto=ESMTP helo=<%s>" % (
        host, address, NO_USER % recipient, chance.choice(senders), recipient, address)


def history(now: float) -> Iterator[Line]:
    chance = random.Random(1)
    for day in range(DAYS, -1, -1):
        date = time.localtime(now - day * 86400)
        midnight = time.mktime((*date[:3], 0, 0, 0, 0, 0, -1))
        works = date.tm_wday < 5
        for hour, busy in enumerate(HOURS):
            for _ in range(chance.randint(busy // 3, busy // 2 + 1) if works else chance.randint(0, 1)):
                kind = chance.choices((received, sent, refused), (6, 4, 1))[0]
                yield from kind(chance, midnight + hour * 3600 + chance.random() * 3600)


def main() -> None:
    end = time.time() - 3600
    for when, text in sorted((line for line in history(end) if line[0] < end), key=lambda line: line[0]):
        stamp = time.strftime("%b %e %H:%M:%S", time.localtime(when))
        sys.stdout.write("%s mv postfix/%s\n" % (stamp, text))


main()
