// Numbers for monitoring, from what lies on a machine.
#include <sys/stat.h>

#include "host/libhaldcore/audit.h"
#include "host/libmailvane/selfcheck/kept_results.h"
#include "tests/host/libmailvane/maillog/machine.h"
#include "tools/metrics/sources.h"
#include "upkeep/queue/queue_names.h"

namespace {

using metrics::Exposition;

const std::int64_t kNoon = 1793534400;  // 2026-11-01 12:00:00 UTC

class Metrics : public LogMachine {
protected:
    /// The mail log's times are those of the machine.
    void SetUp() override
    {
        LogMachine::SetUp();
        ASSERT_EQ(setenv("TZ", "UTC", 1), 0);
    }

    using Add = bool (*)(std::int64_t now, Exposition& exposition);

    /// The samples that a source has and that begin so, without their common beginning.
    static std::string Samples(Add add, std::int64_t now, const std::string& beginning)
    {
        Exposition exposition;
        if (!add(now, exposition)) return "(none)";
        std::istringstream lines(exposition.Text());
        std::string samples;
        for (std::string line; std::getline(lines, line);) {
            if (line.rfind(beginning, 0) != 0 || line.substr(line.size() - 2) == " 0") continue;
            samples += line.substr(beginning.size()) + ";";
        }
        return samples;
    }
};

}  // namespace

TEST_F(Metrics, LeaveOutWhatIsNotThereAndSaySo)
{
    std::filesystem::remove_all(root);
    const std::string text = metrics::Gather(kNoon);
    for (const metrics::Source& source : metrics::kSources) {
        const std::string name = source.name;
        const bool isAlwaysThere = name == "queue" || name == "changes";
        const std::string up = "mailvane_source_up{source=\"" + name + "\"} ";
        EXPECT_NE(text.find(up + (isAlwaysThere ? "1\n" : "0\n")), std::string::npos) << text;
    }
    EXPECT_EQ(text.find("mailvane_check"), std::string::npos);
    EXPECT_EQ(text.find("mailvane_mail"), std::string::npos);
    EXPECT_EQ(text.substr(text.size() - 6), "# EOF\n");
}

TEST_F(Metrics, CountWaitingMailInTheFirstClassOfItsAge)
{
    const std::string id = "4fXqQv0c0Cz9tCy";
    const std::int64_t arrival = *upkeep::ArrivalOf(id);
    Write("/var/spool/postfix/deferred/0/" + id, "");
    const struct {
        std::int64_t age;
        const char* name;
    } rows[] = {{-5, "under_5m"},    {299, "under_5m"},   {300, "under_1h"}, {3600, "under_4h"},
                {14400, "under_1d"}, {86399, "under_1d"}, {86400, "older"}};
    for (const auto& row : rows) {
        EXPECT_EQ(Samples(metrics::AddQueue, arrival + row.age, "mailvane_queue_messages{"),
                  std::string("queue=\"deferred\",age=\"") + row.name + "\"} 1;");
    }
    EXPECT_EQ(Samples(metrics::AddQueue, arrival + 7, "mailvane_queue_oldest_seconds "), "7;");
    Write("/var/spool/postfix/hold/ABCDEF0123", "");  // a short id tells no time
    EXPECT_EQ(Samples(metrics::AddQueue, arrival, "mailvane_queue_messages{queue=\"hold\""),
              ",age=\"older\"} 1;");
}

TEST_F(Metrics, TellHowLongTheScannerTookOfLate)
{
    const auto line = [](const char* time, const char* rest) {
        return std::string("Nov  1 ") + time + " mv amavis[1]: (1-01) " + rest + "\n";
    };
    const std::string old(300 << 10, 'x');
    Write("/var/log/mailvane/amavis.log",
          old + ") Passed CLEAN {}, 9000 ms\n" + line("11:54:59", "Passed CLEAN {}, 800 ms") +
              line("11:55:00", "Passed CLEAN {}, 100 ms") +
              line("11:59:00", "Blocked SPAM {}, <a, 5 ms@x.test>, 300 ms") +
              line("11:59:01", "starting, 700 ms") + line("11:59:02", "Passed CLEAN {}, -1 ms") +
              line("11:59:03", "Passed CLEAN {}, ms") + ") Passed CLEAN {}, 4 ms");
    EXPECT_EQ(Samples(metrics::AddScanner, kNoon, "mailvane_scanner_"),
              "messages 2;mean_seconds 0.2;longest_seconds 0.3;");
    EXPECT_EQ(Samples(metrics::AddScanner, kNoon + 3600, "mailvane_scanner_m"), "");
}

TEST_F(Metrics, TellWhatBecameOfMailAndHowFarTheCollectorIs)
{
    const auto entry = [](const char* id, std::int64_t date, int status) {
        return "SELECT '" + std::string(id) + "', '', '', " + std::to_string(date) + ", 1, " +
               std::to_string(status) + ", 'bob@mv.test', 'ann@far.example'";
    };
    Store(entry("now", kNoon, 0) + " UNION ALL " + entry("hour", kNoon - 2700, 1) + " UNION ALL " +
          entry("before", kNoon - 2701, 2) + " UNION ALL " + entry("day", kNoon - 85500, 2) +
          " UNION ALL " + entry("older", kNoon - 85501, 2));
    EXPECT_EQ(Samples(metrics::AddMailLog, kNoon, "mailvane_mail_messages{window="),
              "\"hour\",outcome=\"received\"} 1;\"hour\",outcome=\"sent\"} 1;"
              "\"day\",outcome=\"received\"} 1;\"day\",outcome=\"sent\"} 1;"
              "\"day\",outcome=\"bounced\"} 2;");

    const std::string first = "Nov  1 11:58:00 mv postfix/smtpd[1]: one\n";
    const std::string second = "Nov  1 11:59:00 mv postfix/smtpd[1]: two\n";
    Write(host::maillog::kPostfixLog, first + second);
    struct stat status {};
    ASSERT_EQ(stat(host::Path(host::maillog::kPostfixLog).c_str(), &status), 0);
    const auto lag = [&](std::uint64_t inode, std::size_t offset) {
        Open().exec("UPDATE position SET inode = " + std::to_string(inode) +
                    ", offset = " + std::to_string(offset));
        return Samples(metrics::AddMailLog, kNoon, "mailvane_log_");
    };
    EXPECT_EQ(lag(status.st_ino, first.size()),
              "unread_bytes " + std::to_string(second.size()) + ";lag_seconds 60;");
    EXPECT_EQ(lag(status.st_ino, first.size() + second.size()), "");
    // The log was moved away: all of the new one is still to be read.
    EXPECT_EQ(lag(status.st_ino + 1, 5),
              "unread_bytes " + std::to_string(first.size() + second.size()) + ";lag_seconds 120;");
}

TEST_F(Metrics, TellWhatTheLastSelfCheckFoundAndHowChangesEnded)
{
    using host::selfcheck::CheckWord;
    Write("/run/mailvane/check.results", "");
    host::selfcheck::KeepResults({{"postfix", {CheckWord::kFailed, "a detail"}},
                                  {"lists", {CheckWord::kOk, ""}},
                                  {"bob@far.example", {CheckWord::kOk, ""}}},
                                 kNoon);
    EXPECT_EQ(Samples(metrics::AddChecks, kNoon, "mailvane_check_"),
              "state{check=\"postfix\"} 4;state{check=\"lists\"} 1;run_timestamp_seconds "
              "1793534400;");
    for (const char* const result : {host::kChangeDone, host::kChangeFailed, host::kChangeDone}) {
        host::CountChange(result);
    }
    EXPECT_EQ(Samples(metrics::AddChanges, kNoon, "mailvane_changes_total{result="),
              "\"done\"} 2;\"failed\"} 1;");
    EXPECT_EQ(Mode("/run/mailvane/changes.done"), 0600U);
}
