// The C library's account records: copies of them, and the reason when there are none.
#include "host/libhaldsdk/account_records.h"

#include <algorithm>

namespace host {

Reason NoAnswerFrom(const std::string& source)
{
    Reason reason = SystemReason(Subject::Service(kAccountSource),
                                 "the accounts of " + source + " cannot be read");
    reason.code = ReasonCode::kDaemonIsDown;
    return reason;
}

User ToUser(const passwd& record)
{
    const std::string comment = record.pw_gecos != nullptr ? record.pw_gecos : "";
    const auto text = [](const char* field) { return field != nullptr ? field : ""; };
    return {record.pw_name,      comment.substr(0, comment.find(',')),
            record.pw_uid,       record.pw_gid,
            text(record.pw_dir), text(record.pw_shell)};
}

Group ToGroup(const group& record)
{
    Group copy{record.gr_name, record.gr_gid, {}};
    for (char** member = record.gr_mem; member != nullptr && *member != nullptr; ++member) {
        copy.members.emplace_back(*member);
    }
    return copy;
}

}  // namespace host
