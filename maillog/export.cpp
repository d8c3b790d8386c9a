// Downloads of the mail log and its end: export_log, export_postfix_log, clear_log.
#include <cstdio>
#include <string>
#include <vector>

#include "frame/download.h"
#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "maillog/log_filter.h"
#include "maillog/log_rows.h"
#include "platform/hlib/file.h"

namespace {

constexpr int kPageSize = 100;
// Deliberate: one entry is left out after each full page; exports must stay comparable with those
// that administrators have kept.
constexpr int kPageStep = 101;
constexpr char kDocumentEnd[] = "</table></body></html>\n";

void WriteDocumentHead(const Json::Value& texts)
{
    const std::string title = LogText(texts, "mail_log");
    std::printf("<html><head>\n");
    std::printf("<meta http-equiv=\"Content-Type\" content=\"text/html; charset=utf-8;\">\n");
    std::printf("<title>%s</title>\n", title.c_str());
    std::printf("</head>\n<body>\n");
    std::printf("<center><h2> %s </h2></center>\n", title.c_str());
    std::printf("<table border=1 width=95%%>\n<tr>\n");
    for (const char* key :
         {"message_id", "date", "time", "mail_from", "mail_to", "mail_size", "mail_status"}) {
        std::printf("<th>%s</th>", LogText(texts, key).c_str());
    }
    std::printf("</tr>\n");
    std::fflush(stdout);
}

void AddCell(std::string& row, const std::string& text, const char* end)
{
    // Deliberate: not escaped, so that the cells hold what older exports hold. What the log stores
    // has no angle brackets.
    row.append("<td align=\"center\">").append(text).append(end);
}

void WriteEntry(const MailLogInfo& entry, const StatusTexts& statuses)
{
    std::string row = "<tr>\n";
    AddCell(row, entry.messageId, "</td>\n");
    AddCell(row, DateText(entry), "</td>\n");
    AddCell(row, TimeText(entry), "</td>\n");
    AddCell(row, entry.mailFrom, "</td>");
    AddCell(row, entry.mailTo, "</td>");
    AddCell(row, SizeText(entry.sizeBytes), "</td>");
    AddCell(row, statuses.Of(entry.status), "</td>");
    row += "</tr>\n";
    (void)std::fwrite(row.data(), 1, row.size(), stdout);
    std::fflush(stdout);
}

/// Writes all entries, reading the log page by page: it may not fit into memory.
void WriteEntries(MailLog& log, const std::string& sortField, const std::string& direction,
                  const Json::Value& texts)
{
    const StatusTexts statuses(texts);
    std::vector<MailLogInfo> entries;
    for (int offset = 0;; offset += kPageStep) {
        entries.clear();
        if (log.load(kPageSize, offset, sortField, direction, entries) < 0) {
            LogError(Here(), "load log fail");
            return;
        }
        for (const MailLogInfo& entry : entries) WriteEntry(entry, statuses);
        if (entries.size() != kPageSize) return;
    }
}

Outcome ClearEntries()
{
    MailLog log(kMailLogPath);
    if (log.error() != 0) {
        LogError(Here(), "mail log init fail");
        return Outcome::Fail();
    }
    if (log.clear() < 0) {
        LogError(Here(), "clear log fail");
        return Outcome::SystemError();
    }
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::ExportLog()
{
    const std::string direction = web_.In("dir", "DESC");
    const std::string language = web_.GetUILanguage();
    MailLog log(kMailLogPath);
    if (log.error() != 0) {
        LogError(Here(), "mail log init fail");
        // Deliberate: the end of the document alone, without a head: the client shows nothing then.
        std::printf("%s", kDocumentEnd);
        return;
    }

    const Json::Value texts = LoadTexts(language);
    const std::string sortField = SortColumn(web_.In("sort", "date"));
    WriteDownloadHead("haldmaillog.html");
    WriteDocumentHead(texts);
    WriteEntries(log, sortField, direction, texts);
    std::printf("%s", kDocumentEnd);
}

void MailvaneHandler::ExportPostfixLog()
{
    const std::string path = GetPostfixLogPath();
    if (path.empty()) {
        LogError(Here(), "get log path fail");
        return;
    }
    if (HLIBCFileExist(path.c_str()) == 0) {
        LogError(Here(), "%s not exist", path.c_str());
        return;
    }
    if (!SendDownload(path, "maillog")) LogError(Here(), "post fix log open fail");
}

void MailvaneHandler::ClearLog(Json::Value& /*in*/)
{
    Json::Value response;
    Answer(response, ClearEntries());
}
