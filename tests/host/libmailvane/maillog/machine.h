// A machine with a mail log.
#pragma once

#include <unistd.h>

#include "host/libmailvane/maillog/entry_batch.h"
#include "host/libmailvane/maillog/schema.h"
#include "platform/mailvane/mail_log.h"
#include "tests/host/hostile_journal.h"
#include "tests/host/machine.h"

class LogMachine : public Machine {
protected:
    void SetUp() override
    {
        Machine::SetUp();
        for (const std::string& folder :
             {host::maillog::MailLogFolder(), host::maillog::MailLogLiveFolder()}) {
            ASSERT_TRUE(host::MakeDirectories(folder, 0755));
        }
        std::filesystem::create_symlink("../maillog.live/maillog.db",
                                        host::maillog::MailLogFolder() + "/maillog.db");
        (void)Open();
    }

    /// The current database as the collector opens it.
    static SQLite::Database Open()
    {
        return *host::maillog::OpenMailLogForChange(host::maillog::MailLogLivePath());
    }

    /// SQL that adds entries: `values` is "(queue_id, message_id, subject, date, size, status,
    /// mail_to, mail_from), ..." or a query of these.
    static std::string Adding(const std::string& values)
    {
        return "INSERT INTO entry (queue_id, message_id, subject, date, size, status, mail_to, "
               "mail_from, recipients) SELECT *, 1 FROM (" +
               values + ")";
    }

    static void Add(SQLite::Database& database, const std::string& values)
    {
        host::maillog::EntryBatch batch(database);
        batch.Begin();
        database.exec(Adding(values));
        batch.End();
    }

    static void Store(const std::string& values)
    {
        SQLite::Database database = Open();
        SQLite::Transaction transaction(database, SQLite::TransactionBehavior::IMMEDIATE);
        Add(database, values);
        transaction.commit();
    }

    /// The path as a request names it.
    MailLog Log(const std::string& path = "/var/packages/Mailvane/target/etc/maillog/maillog.db")
    {
        return MailLog(path.c_str());
    }

    static std::string Ids(const std::vector<MailLogInfo>& rows)
    {
        std::string ids;
        for (const MailLogInfo& row : rows) ids += (ids.empty() ? "" : " ") + row.messageId;
        return ids;
    }
};
