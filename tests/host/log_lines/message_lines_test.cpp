// The lines of one message: which of the log's lines are its own, and where they are looked for.
#include "tools/log_lines/message_lines.h"

#include <gtest/gtest.h>
#include <zlib.h>

#include <filesystem>
#include <fstream>

#include "tests/host/machine.h"

namespace {

namespace fs = std::filesystem;
using log_lines::Bounds;
using log_lines::FindLines;
using log_lines::Found;

const std::string kId = "4jWf5tbbbbz1000";

class MessageLines : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        log = host::Path("/var/log/mailvane/maillog");
        fs::create_directories(fs::path(log).parent_path());
    }

    static std::string Line(const std::string& text, int second = 0)
    {
        const std::string digits = std::to_string(100 + second).substr(1);
        return "2026-11-21T04:16:" + digits + "Z mail postfix/" + text;
    }

    /// Writes the log, or an older part of it that was changed so many seconds before.
    void Write(const std::vector<std::string>& lines, const std::string& suffix = "", int age = 0)
    {
        std::string text;
        for (const std::string& line : lines) text += line + "\n";
        const std::string path = log + suffix;
        if (path.substr(path.size() - 3) == ".gz") {
            const gzFile file = gzopen(path.c_str(), "wb");
            (void)gzwrite(file, text.data(), static_cast<unsigned>(text.size()));
            (void)gzclose(file);
        } else {
            std::ofstream(path, std::ios::binary) << text;
        }
        fs::last_write_time(path, fs::file_time_type::clock::now() - std::chrono::seconds(age));
    }

    Found Find(const std::string& id, const Bounds& bounds = {}) const
    {
        return FindLines(log, id, bounds);
    }

    std::string log;
};

const std::vector<std::string> kMessage = {
    "2026-11-21T04:16:01Z mail postfix/smtpd[1]: " + kId + ": client=x[203.0.113.1]",
    "2026-11-21T04:16:02Z mail postfix/cleanup[1]: " + kId + ": message-id=<m@x.test>",
    "2026-11-21T04:16:03Z mail postfix/lmtp[1]: " + kId + ": to=<b@mv.test>, status=sent (ok)",
    "2026-11-21T04:16:04Z mail postfix/qmgr[1]: " + kId + ": removed"};

TEST_F(MessageLines, OnlyThoseThatAreAboutTheMessage)
{
    // Strangers choose names, message ids and replies.
    std::vector<std::string> lines = {
        Line("smtpd[1]: NOQUEUE: reject: RCPT from x: 554 no; helo=<" + kId + ": removed>"),
        Line("smtpd[1]: 4jWf5tbbbbz2000: client=" + kId + ": [203.0.113.1]"),
        Line("cleanup[1]: 4jWf5tbbbbz2000: message-id=<" + kId + ">"),
        Line("qmgr[1]: X" + kId + ": removed"),
        Line("qmgr[1]: " + kId + "9: removed"),
        "2026-11-21T04:16:00Z mail other[1]: " + kId + ": removed",
        kId + ": removed",
        ""};
    lines.insert(lines.end(), kMessage.begin(), kMessage.end());
    Write(lines);
    for (const std::string& id : {kId, std::string("m@x.test")}) {
        const Found found = Find(id);
        EXPECT_EQ(found.lines, kMessage) << id;
        EXPECT_EQ(found.ids, std::set<std::string>{kId}) << id;
        EXPECT_TRUE(found.whole && !found.cut) << id;
    }
    for (const std::string& id : {std::string("x.test"), std::string("m@x"), kId.substr(1),
                                  std::string("removed"), std::string("\n"), std::string()}) {
        EXPECT_EQ(Find(id).lines.size(), 0U) << id;
    }
}

TEST_F(MessageLines, InOlderPartsToo)
{
    Write({kMessage[3]});
    Write({kMessage[1], kMessage[2]}, ".1", 60);
    Write({kMessage[0]}, ".2.gz", 120);
    Write({Line("qmgr[1]: " + kId + ": from before the message, never looked at")}, ".3.gz", 180);
    EXPECT_EQ(Find("m@x.test").lines, kMessage);
    EXPECT_EQ(Find(kId).since, "2026-11-21T04:16:01Z");

    // A short id is used again.
    Write({Line("smtpd[1]: 3F2A01B7C2: client=new")});
    Write({Line("smtpd[1]: 3F2A01B7C2: client=old")}, ".1", 60);
    EXPECT_EQ(Find("3F2A01B7C2").lines.size(), 2U);
}

TEST_F(MessageLines, WhereverALineLies)
{
    // Pieces of a megabyte: the message stands at every place around their border.
    const std::string filler = Line("smtpd[1]: connect from unknown[203.0.113.9]");
    for (const std::size_t shift : {0U, 1U, 40U, 100U}) {
        std::vector<std::string> lines(kMessage);
        lines.push_back(
            Line("smtpd[1]: " + std::string((std::size_t{1} << 20) - 200 + shift, 'x')));
        lines.insert(lines.begin(), filler);
        Write(lines);
        EXPECT_EQ(Find(kId).lines, kMessage) << shift;
    }
}

TEST_F(MessageLines, AreShownWithoutHarm)
{
    EXPECT_EQ(log_lines::Shown("to=<a@b>, \xc3\xa4 \x1b]0;\x07 \xff\xc3 \xc2\x9b \xe2\x80\xae."),
              "to=<a@b>, \xc3\xa4 ?]0;? ?? ? ?.");
    EXPECT_EQ(log_lines::Shown(std::string(9000, 'x')).size(), 2000U);
}

TEST_F(MessageLines, WithinItsBounds)
{
    std::vector<std::string> lines(kMessage.begin(), kMessage.begin() + 1);
    for (int i = 0; i < 50; ++i) lines.push_back(Line("smtp[1]: " + kId + ": to=<x>", i));
    Write(lines);
    const Found few = Find(kId, {20, std::chrono::seconds(2)});
    EXPECT_EQ(few.lines.size(), 20U);
    EXPECT_EQ(few.lines.back(), lines.back());
    EXPECT_TRUE(few.cut && !few.whole);

    const Found none = Find(kId, {20, std::chrono::milliseconds(0)});
    EXPECT_EQ(none.lines.size(), 0U);
    EXPECT_TRUE(none.since.empty() && !none.whole);
}

}  // namespace
