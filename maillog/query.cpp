// The mail log: load_log, search_log.
#include <json/reader.h>

#include <string>
#include <vector>

#include "frame/log.h"
#include "frame/mailvane_handler.h"
#include "frame/number_parameter.h"
#include "maillog/log_filter.h"
#include "maillog/log_rows.h"

namespace {

/// Parses the criteria, a JSON object as text; null for anything else.
Json::Value ParseCriteria(const std::string& text)
{
    Json::Value criteria;
    Json::Reader reader;
    try {
        // `whole` counts: a text that is cut off leaves its first members in `criteria`.
        const bool whole = reader.parse(text, criteria, false);
        return whole && criteria.isObject() ? criteria : Json::Value();
    } catch (const Json::Exception&) {
        return Json::Value();  // more levels than the parser takes
    }
}

Outcome ListEntries(MailLog& log, LogFilter filter, const std::string& language,
                    Json::Value& response)
{
    if (log.error() != 0) {
        LogError(Here(), "mail log init fail");
        return Outcome::Fail();
    }
    const Json::Value texts = LoadTexts(language);
    std::vector<MailLogInfo> entries;
    if (log.load(filter, entries) < 0) {
        LogError(Here(), "load log fail");
        return Outcome::SystemError();
    }

    filter.columns = "count(*)";
    int total = log.getLogNum(filter);
    if (total < 0) total = static_cast<int>(entries.size());
    response["items"] = LogRows(entries, texts);
    response["total"] = total;
    return Outcome::Success();
}

struct SearchRequest {
    explicit SearchRequest(WebMan& web)
        : start(static_cast<int>(NumberParameter(web, "start", "0"))),
          limit(static_cast<int>(NumberParameter(web, "limit", "0"))),
          direction(web.In("dir", "DESC")),
          query(web.In("query", "")),
          language(web.GetUILanguage())
    {
    }

    int start;
    int limit;
    std::string direction;
    std::string query;
    std::string language;
};

/// The answer to a search without a match: one row of empty texts.
Json::Value NoMatch()
{
    Json::Value row;
    for (const char* name : {"date", "time", "size", "status", "mail_to", "mail_from"}) {
        row[name] = "";
    }
    return row;
}

Outcome SearchEntries(MailLog& log, SearchRequest request, WebMan& web, Json::Value& response)
{
    if (log.error() != 0) {
        LogError(Here(), "mail log init fail");
        return Outcome::Fail();
    }
    const Json::Value texts = LoadTexts(request.language);
    const std::string sortField = SortColumn(web.In("sort", "date"));
    std::vector<MailLogInfo> entries;
    if (log.search(request.limit, request.start, sortField, request.direction, request.query,
                   entries) < 0) {
        LogError(Here(), "search log fail");
        return Outcome::SystemError();
    }

    int total = log.getLogNum(request.query);
    // Deliberate: unlike the list, a search that cannot be counted claims a full page.
    if (total < 0) total = request.limit;
    // Deliberate: no match is one object, no array; the client's table is built on it.
    response["items"] = entries.empty() ? NoMatch() : LogRows(entries, texts);
    response["total"] = entries.empty() ? 0 : total;
    return Outcome::Success();
}

}  // namespace

void MailvaneHandler::LoadLog()
{
    const std::string language = web_.GetUILanguage();
    const std::string path = web_.In("log_path", kMailLogPath);
    const std::string criteria = web_.In("searchParams", "");
    MailLog log(path.c_str());
    const LogFilter filter = ReadLogFilter(web_, ParseCriteria(criteria));
    Json::Value response;
    Answer(response, ListEntries(log, filter, language, response));
}

void MailvaneHandler::SearchLog()
{
    MailLog log(kMailLogPath);
    const SearchRequest request(web_);
    Json::Value response;
    Answer(response, SearchEntries(log, request, web_, response));
}
