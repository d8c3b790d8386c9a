// hald_log_lines: the lines of one message in the mail server's log, as JSON. Reads its queue id or
// message id from standard input; whoever may call it is told by others, and it runs without rights
// but those of the log's group.
#include <json/json.h>

#include <cstdlib>
#include <exception>
#include <iostream>
#include <iterator>

#include "host/libmailvane/maillog/schema.h"
#include "tools/log_lines/message_lines.h"

int main()
{
    try {
        const std::string id((std::istreambuf_iterator<char>(std::cin)), {});
        const log_lines::Found found =
            log_lines::FindLines(host::maillog::CollectedLogPath(), id, {});
        Json::Value answer;
        Json::Value& lines = answer["lines"] = Json::Value(Json::arrayValue);
        for (const std::string& line : found.lines) lines.append(log_lines::Shown(line));
        Json::Value& ids = answer["ids"] = Json::Value(Json::arrayValue);
        for (const std::string& one : found.ids) ids.append(one);
        answer["since"] = found.since;
        answer["cut"] = found.cut;
        answer["whole"] = found.whole;
        std::cout << answer;
        return EXIT_SUCCESS;
    } catch (const std::exception& problem) {
        std::cerr << problem.what() << "\n";
        return EXIT_FAILURE;
    }
}
