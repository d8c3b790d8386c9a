// The reasons of a refusal, as the head of its answer and the audit line tell them.
#include "host/libkos/answer_reasons.h"

#include <json/writer.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/request_note.h"

namespace kos {
namespace {

using host::BuiltInWord;
using host::NotedReason;
using host::ReasonCode;
using host::Subject;

constexpr char kHeader[] = "X-Mailvane-Reason: ";
constexpr std::size_t kLongestHeader = 2048;  // bytes of the value
constexpr std::size_t kMostInWords = 5;

// What clients know by these names: the program itself, and what keeps requests apart.
constexpr char kProgram[] = "mailvane";
constexpr char kGate[] = "gate";

/// A message of an answer that says itself why.
struct MessageReason {
    std::string_view section;
    std::string_view key;
    std::string_view action;  ///< alone; empty for every one
    BuiltInWord member;
    ReasonCode code;
};

constexpr MessageReason kMessages[] = {
    {"error", "no_user_home", "save_smtp", "account_type", ReasonCode::kNoHomes},
    {"error", "alias_conflict", "", "aliasname", ReasonCode::kTaken},
    {"bcc", "invalid_name", "", "bccTo", ReasonCode::kNoAddress},
    {"user", "no_such_user", "", "sasl_sender", ReasonCode::kMissing},
    {"user", "user_file_upload_fail", "", "file", ReasonCode::kMissing},
    {"common", "error_no_enough_space", "", "file", ReasonCode::kNoSpace},
    {"common", "reach_limitation", "", "sender", ReasonCode::kTooMany},
    {"warning", "err_enable_homes", "", "account_type", ReasonCode::kNoHomes},
    {"diagnose", "smtp_is_not_enabled", "", "smtp_enabled", ReasonCode::kOff},
};

/// What an action has failed at when nothing was noted: its own work, not the service library's.
struct ActionReason {
    std::string_view action;
    Subject (*make)(BuiltInWord);
    BuiltInWord name;
    ReasonCode code;
};

constexpr ActionReason kActions[] = {
    {"load_smtp", Subject::Service, "directory", ReasonCode::kUnreadable},
    {"fresh_clam", Subject::Service, "clamd", ReasonCode::kMissing},
    {"import_access", Subject::List, "import", ReasonCode::kSystem},
    {"import_bcc", Subject::List, "import", ReasonCode::kSystem},
    {"import_spam_rule", Subject::List, "import", ReasonCode::kSystem},
    {"import_spam_blackwhite", Subject::List, "import", ReasonCode::kSystem},
    {"import_alias", Subject::List, "import", ReasonCode::kSystem},
    {host::kUploadAction, Subject::List, "import", ReasonCode::kMissing},
};

/// A member of requests that has another name in those of one action, or is not among them.
struct Renamed {
    std::string_view action;
    std::string_view name;
    Subject (*make)(BuiltInWord);
    BuiltInWord there;
};

constexpr Renamed kRenamed[] = {
    {"edit_domain", "domain", Subject::Setting, "newDomain"},
    {"edit_dnsb", "server", Subject::Setting, "newServer"},
    {"edit_dnsb", "type", Subject::Setting, "newType"},
    {host::kUploadAction, "ruleName", Subject::Setting, "rule_name"},
    // The user is who calls.
    {"load_reply_list", "user", Subject::List, "personal"},
    {"set_reply_setting", "user", Subject::List, "personal"},
    {"delete_reply_setting", "user", Subject::List, "personal"},
};

std::string TextOf(const Json::Value& object, const char* name)
{
    const Json::Value& member = object[name];
    return member.isString() ? member.asString() : "";
}

/// Whether an answer tells a failure.
bool TellsFailure(const Json::Value& answer)
{
    if (!answer.isObject()) return false;
    const Json::Value& success = answer["success"];
    return answer.isMember("errinfo") || (success.isBool() && !success.asBool());
}

/// What an answer's message says itself.
Reasons FromMessage(const Json::Value& answer, const std::string& action)
{
    const Json::Value& message = answer["errinfo"];
    if (!message.isObject()) return {};
    const std::string section = TextOf(message, "sec");
    const std::string key = TextOf(message, "key");
    for (const MessageReason& row : kMessages) {
        const bool isOfAction = row.action.empty() || row.action == action;
        if (isOfAction && row.section == section && row.key == key) {
            return {{Subject::Setting(row.member), row.code}};
        }
    }
    return {};
}

/// What is told when nothing was noted.
NotedReason Unknown(const std::string& action)
{
    for (const ActionReason& row : kActions) {
        if (row.action == action) return {row.make(row.name), row.code};
    }
    return {Subject(), ReasonCode::kSystem};
}

Subject AsNamedBy(const std::string& action, const Subject& about)
{
    if (about.kind() != Subject::Kind::kSetting) return about;
    for (const Renamed& row : kRenamed) {
        if (row.action == action && row.name == about.text()) return row.make(row.there);
    }
    return about;
}

/// A reason as JSON, for example {"setting":"smtp_port","code":"in_use"}.
std::string AsJson(const char* kind, const std::string& value, const char* code)
{
    return std::string("{\"") + kind + "\":" + value + ",\"code\":\"" + code + "\"}";
}

std::string Quoted(const std::string& name)
{
    return Json::valueToQuotedString(name.c_str());
}

std::string AsJson(const NotedReason& reason)
{
    const char* const code = host::WordOf(reason.code);
    const std::string name = Quoted(reason.about.text());
    switch (reason.about.kind()) {
        case Subject::Kind::kSetting:
            return AsJson("setting", name, code);
        case Subject::Kind::kList:
            return AsJson("list", name, code);
        case Subject::Kind::kLine:
            return AsJson("line", std::to_string(reason.about.number()), code);
        case Subject::Kind::kService:
            return AsJson("service", name, code);
        case Subject::Kind::kUntold:
            break;
    }
    return AsJson("service", Quoted(kProgram), code);
}

/// The header line of reasons in JSON, as many as there is room for.
std::string HeaderLine(const std::vector<std::string>& reasons)
{
    std::string list;
    for (const std::string& reason : reasons) {
        if (list.size() + reason.size() + 2 > kLongestHeader) break;
        list.append(list.empty() ? "[" : ",").append(reason);
    }
    return list.empty() ? "" : kHeader + list + "]\n";
}

}  // namespace

Reasons ReasonsOf(const Json::Value& answer, const std::string& action)
{
    // The answer to an upload says success whatever became of the file.
    const bool failed =
        TellsFailure(answer) || (action == host::kUploadAction && !host::NotedFailure().empty());
    if (!failed) return {};

    Reasons reasons = FromMessage(answer, action);
    for (const NotedReason& noted : host::NotedReasons()) {
        if (noted.about.IsTold()) reasons.push_back({AsNamedBy(action, noted.about), noted.code});
    }
    if (reasons.empty()) reasons = host::NotedReasons();
    if (reasons.empty()) reasons.push_back(Unknown(action));
    return reasons;
}

std::string ReasonHeader(const Reasons& reasons)
{
    std::vector<std::string> texts;
    for (const NotedReason& reason : reasons) {
        std::string text = AsJson(reason);
        if (std::find(texts.begin(), texts.end(), text) == texts.end()) {
            texts.push_back(std::move(text));
        }
    }
    return HeaderLine(texts);
}

std::string ReasonHeader(const Refusal& refusal)
{
    return HeaderLine({AsJson("service", Quoted(kGate), refusal.error)});
}

std::string InWords(const Reasons& reasons)
{
    std::string text;
    for (std::size_t i = 0; i < std::min(reasons.size(), kMostInWords); ++i) {
        const Subject& about = reasons[i].about;
        text.append(i == 0 ? "" : ", ").append(about.IsTold() ? about.text() : kProgram);
        text.append(" ").append(host::WordOf(reasons[i].code));
    }
    return reasons.size() > kMostInWords ? text + ", ..." : text;
}

}  // namespace kos
