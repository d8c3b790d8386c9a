// What the names and files of the mail server's queue say, also those that nobody should have made.
#include <fcntl.h>

#include "host/libhaldcore/utf8.h"
#include "tests/host/machine.h"
#include "upkeep/queue/defer_log.h"
#include "upkeep/queue/queued_mail.h"
#include "upkeep/queue/spool.h"

namespace {

using namespace upkeep;

const char kSpool[] = "/var/spool/postfix";
const char kId[] = "4fXqQv0c0Cz9tCy";  // of 1,759 … seconds; the time is in its first ten digits

/// A record of a queue file.
std::string Record(char kind, const std::string& text)
{
    std::string record(1, kind);
    std::size_t length = text.size();
    for (; length > 0x7f; length >>= 7) record += static_cast<char>(0x80 | (length & 0x7f));
    return record + static_cast<char>(length) + text;
}

std::string Padded(std::size_t number)
{
    const std::string digits = std::to_string(number);
    return std::string(15 - digits.size(), ' ') + digits;
}

struct Mail {
    std::string sender = "ann@far.example";
    std::vector<std::string> recipients = {"bob@mv.test"};
    std::string header = Record('N', "Subject: Hello") + Record('N', "");
    std::size_t arrival = 1700000000;
    std::size_t room = 0;  // bytes that its text has more
};

/// The file of a message, complete.
std::string FileOf(const Mail& mail)
{
    const auto sizes = [](std::size_t size, std::size_t content) {
        return Record('C', Padded(size) + " " + Padded(content) + " " + Padded(1));
    };
    std::string envelope = Record('T', Padded(mail.arrival) + " 5") + Record('S', mail.sender);
    for (const std::string& one : mail.recipients) envelope += Record('R', one);
    envelope += Record('M', "");
    const std::string content = mail.header + Record('N', std::string(mail.room, 'x'));
    return sizes(content.size(), sizes(0, 0).size() + envelope.size()) + envelope + content +
           Record('X', "") + Record('E', "");
}

class QueueTest : public Machine {
protected:
    static void Put(const std::string& place, const std::string& bytes)
    {
        Write(std::string(kSpool) + "/" + place, bytes, 0700);
    }

    std::optional<Envelope> Read(const std::string& bytes)
    {
        Put("active/AB", bytes);
        const host::Descriptor file(
            open(host::Path(std::string(kSpool) + "/active/AB").c_str(), O_RDONLY));
        const auto envelope = ReadEnvelope(file.get(), 10);
        if (envelope) header = ReadHeader(file.get(), *envelope);
        return envelope;
    }

    /// The ids of a page, separated by blanks.
    static std::string Ids(const QueueQuery& query)
    {
        const auto page = ReadQueuePage(host::Path(kSpool), query, std::chrono::seconds(60));
        if (!page) return host::WordOf(page.reason().code);
        std::string ids;
        for (const QueuedMail& mail : page->mail) ids += mail.name.id + " ";
        return ids + "of " + std::to_string(page->total);
    }

    HeaderBlock header;
};

TEST_F(QueueTest, AnEnvelopeIsReadAndTheMessageLeftOut)
{
    Mail mail;
    mail.recipients = {"bob@mv.test", "carol@mv.test"};
    mail.room = 100;
    mail.header = Record('N', "Subject: one") + Record('L', " and") + Record('N', " more") +
                  Record('N', "R") + Record('N', "");
    const auto envelope = Read(FileOf(mail));
    ASSERT_TRUE(envelope);
    EXPECT_EQ(envelope->arrival, 1700000000);
    EXPECT_EQ(envelope->sender, "ann@far.example");
    EXPECT_EQ(envelope->recipients, mail.recipients);
    ASSERT_EQ(header.fields().size(), 1u);
    EXPECT_EQ(header.fields()[0].value, "one and more");
}

TEST_F(QueueTest, AMessageThatNobodyHasTakenUpYetIsOneToo)
{
    const auto envelope =
        Read(Record('T', "1700000000 0") + Record('S', "bob") + Record('R', "ann@far.example") +
             Record('M', "") + Record('N', "Subject: x") + Record('N', "") + Record('E', ""));
    ASSERT_TRUE(envelope);
    EXPECT_EQ(envelope->waiting, 1u);
    EXPECT_EQ(header.Value("subject"), "x");
}

TEST_F(QueueTest, WhatIsNoQueueFileEndsSoon)
{
    const std::string good = FileOf({});
    for (std::size_t size = 0; size < good.size(); ++size) {
        (void)Read(good.substr(0, size));  // cut anywhere
    }
    const std::string huge = "9223372036854775807";
    for (const std::string& bytes :
         {std::string(), std::string(70000, '\xff'), std::string(70000, '\0'),
          Record('p', Padded(0)) + Record('p', "1"),  // in the middle of itself
          Record('p', " 0 ") + "p", Record('p', huge), Record('p', "-5"),
          Record('C', huge + " " + huge) + Record('M', ""), Record('C', "x y") + Record('M', ""),
          Record('N', std::string(16385, 'x'))}) {
        EXPECT_FALSE(Read(bytes));
    }
    // A pointer to itself.
    const std::string before = Record('T', "1 1");
    EXPECT_FALSE(Read(before + Record('p', Padded(before.size()))));
}

TEST_F(QueueTest, ALongIdSaysWhenTheMessageCame)
{
    EXPECT_EQ(ArrivalOf("0000020000z1"), 2);
    EXPECT_EQ(ArrivalOf("00001z0000z1"), 52 + 51);
    EXPECT_FALSE(ArrivalOf("3F2A81C0B7"));
    EXPECT_FALSE(ArrivalOf("000002000Az1"));
    for (const char* text : {"", "A", "../x", "a b", "ALL-", "0123456789012345678901234567890"}) {
        EXPECT_FALSE(IsQueueId(text)) << text;
    }
    EXPECT_TRUE(IsQueueId(kId));
}

TEST_F(QueueTest, PagesHaveTheOldestFirstOrWhatIsAskedFor)
{
    Mail mail;
    Put("deferred/0/0000030000z1", FileOf(mail));
    mail.sender = "Zoe@far.example";
    mail.arrival = 1600000000;
    Put("active/0000020000z1", FileOf(mail));
    Put("hold/0000020000z1", FileOf(mail));  // was moved while the folders were read
    mail.sender = "";
    mail.room = 5000;
    mail.recipients.assign(60, "x@far.example");
    mail.recipients.push_back("last@far.example");
    Put("incoming/0000010000z1", FileOf(mail));
    Put("deferred/F/notes.txt", "");
    Put("incoming/0000000000z1", "");  // not complete

    EXPECT_EQ(Ids({}), "0000010000z1 0000020000z1 0000030000z1 of 4");
    EXPECT_EQ(Ids({"", QueueOrder::kArrival, true, 1, 1}), "0000020000z1 of 4");
    EXPECT_EQ(Ids({"", QueueOrder::kArrival, false, 9, 1}), "of 4");
    EXPECT_EQ(Ids({"", QueueOrder::kSize, true, 0, 1}), "0000010000z1 of 3");
    EXPECT_EQ(Ids({"", QueueOrder::kSender, true, 0, 1}), "0000030000z1 of 3");
    EXPECT_EQ(Ids({"zOE@"}), "0000020000z1 of 1");
    EXPECT_EQ(Ids({"last@"}), "0000010000z1 of 1");

    // A short id says nothing of its age: the files do.
    mail.arrival = 1650000000;
    Put("deferred/A/AB3F2A81C0B7", FileOf(mail));
    EXPECT_EQ(Ids({"", QueueOrder::kArrival, false, 0, 3}),
              "0000010000z1 0000020000z1 AB3F2A81C0B7 of 4");
}

TEST_F(QueueTest, ASearchThatTakesTooLongIsRefused)
{
    Put("active/0000020000z1", FileOf({}));
    const auto page = ReadQueuePage(host::Path(kSpool), {"far"}, std::chrono::milliseconds(-1));
    ASSERT_FALSE(page);
    EXPECT_EQ(page.reason().code, host::ReasonCode::kTooMany);
    EXPECT_EQ(page.reason().about, host::Subject::Setting("query"));
}

TEST_F(QueueTest, AMessageIsFoundInWhateverQueueItIs)
{
    Put("deferred/F/00000Z9999z1", FileOf({}));
    Put("hold/3F2A81C0B7", FileOf({}));
    const std::string spool = host::Path(kSpool);
    EXPECT_FALSE(FindQueued(spool, "00000Z0000z1"));
    EXPECT_EQ(FindQueued(spool, "3F2A81C0B7")->queue, Queue::kHold);
    EXPECT_FALSE(FindQueued(spool, "00000Z9999z1"));
    // The number of a folder: the first of five hexadecimal digits of the microseconds.
    Put("deferred/2/00000Z0z00z1", FileOf({}));
    EXPECT_EQ(FindQueued(spool, "00000Z0z00z1")->queue, Queue::kDeferred);
}

TEST_F(QueueTest, ReasonsStandWithTheirRecipients)
{
    Put("defer/A/AB3F",
        "recipient=bob@mv.test\nstatus=4.4.1\nreason=no route\n\n"
        "reason=of nobody\n\nrecipient=carol@mv.test\nreason=first\nreason=\x1b[2Jlast\xff\n"
        "recipient=cut@mv.test\nreason=" +
            std::string(300000, 'x'));
    const auto reasons = ReadDeferLog(DeferLogOf(host::Path(kSpool), "AB3F"));
    EXPECT_EQ(reasons.size(), 3u);
    EXPECT_EQ(reasons.at("bob@mv.test"), "no route");
    EXPECT_EQ(host::ShownText(reasons.at("carol@mv.test"), 100), " [2Jlast\xef\xbf\xbd");
    EXPECT_EQ(host::ShownText(reasons.at("cut@mv.test"), 10), "xxxxxxxxxx");
    EXPECT_TRUE(ReadDeferLog("/nowhere").empty());
}

TEST_F(QueueTest, ShownTextHasNothingThatChangesWhatIsAroundIt)
{
    const std::string unknown = "\xef\xbf\xbd";
    EXPECT_EQ(host::ShownText("a\tb\r\n\x7f\xc2\x85z", 99), "a b    z");
    EXPECT_EQ(host::ShownText("\xe2\x80\xaetxt\xe2\x81\xa6\xc3\xa4\xc0\xaf", 99),
              unknown + "txt" + unknown + "\xc3\xa4" + unknown + unknown);
    EXPECT_EQ(host::ShownText("\xc3\xa4\xc3\xa4", 3), "\xc3\xa4");
}

TEST_F(QueueTest, TheQueueIsWhereTheConfigurationInForceSays)
{
    const std::string file = "/var/packages/Mailvane/etc/generated/current/postfix/main.cf";
    EXPECT_EQ(MailSpool(), host::Path("/var/spool/postfix"));
    Write(file,
          "queue_directory=/old\n# queue_directory = /no\n queue_directory = /no\n"
          "queue_directory = /srv/queue \n");
    EXPECT_EQ(MailSpool(), host::Path("/srv/queue"));
}

}  // namespace
