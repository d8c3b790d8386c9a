// Calls about the DNS records of the mail domains.
#include "upkeep/names/calls.h"

#include <algorithm>

#include "host/libhaldcore/text.h"
#include "host/libmailvane/pages/key_pairs.h"
#include "host/libmailvane/system/dns_questions.h"
#include "upkeep/names/wanted_records.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;
using host::settings::StoredSettings;
using host::system::DnsQuestion;

constexpr std::chrono::seconds kPatience{5};
constexpr std::size_t kMostFound = 10;
constexpr std::size_t kLongestFound = 1024;  // bytes

Json::Value Told(const WantedRecord& record)
{
    Json::Value told;
    told["domain"] = record.domain;
    told["use"] = WordOf(record.use);
    told["name"] = record.name;
    told["type"] = TypeWord(record.use);
    told["value"] = record.value;
    told["optional"] = record.use == RecordUse::kService;
    return told;
}

Json::Value Note(const char* code, const std::string& about)
{
    Json::Value note;
    note["code"] = code;
    note["about"] = about;
    return note;
}

Json::Value Notes(const StoredSettings& settings, const std::string& key)
{
    Json::Value notes(Json::arrayValue);
    notes.append(Note("host", settings.Text("smtp_hostname")));
    if (settings.Bool("smtp_relay_enabled")) {
        notes.append(Note("relay", settings.Text("smtp_relay_server")));
    }
    if (key.empty()) {
        notes.append(Note("no_key", ""));
    } else if (!settings.Bool("enable_dkim")) {
        notes.append(Note("not_signed", "enable_dkim"));
    }
    return notes;
}

/// What name servers said, as text that can be shown: others may have written it.
Json::Value Shown(const std::vector<std::string>& found)
{
    Json::Value shown(Json::arrayValue);
    for (std::size_t at = 0; at < std::min(found.size(), kMostFound); ++at) {
        std::string text = found[at].substr(0, kLongestFound);
        std::replace_if(
            text.begin(), text.end(),
            [](char c) {
                return host::IsControl(c) || (static_cast<unsigned char>(c) & 0x80U) != 0;
            },
            '?');
        shown.append(text);
    }
    return shown;
}

}  // namespace

Answer DnsRecordsToPublish(const Request& /*request*/)
{
    const Result<StoredSettings> settings = StoredSettings::Read();
    if (!settings) return settings.reason();

    const std::string key = host::pages::SigningPublicKey();
    Json::Value answer;
    answer["records"] = Json::Value(Json::arrayValue);
    for (const std::string& domain : PublishedDomains(*settings)) {
        for (const WantedRecord& record : WantedRecords(*settings, domain, key)) {
            answer["records"].append(Told(record));
        }
    }
    answer["notes"] = Notes(*settings, key);
    return answer;
}

Answer DnsCheck(const Request& request)
{
    const Result<StoredSettings> settings = StoredSettings::Read();
    if (!settings) return settings.reason();
    const std::string domain = request.Text("domain");
    const std::vector<std::string> domains = PublishedDomains(*settings);
    if (std::find(domains.begin(), domains.end(), domain) == domains.end()) {
        return Reason{ReasonCode::kMissing, Subject::Setting("domain"), "no mail domain"};
    }

    const auto records = WantedRecords(*settings, domain, host::pages::SigningPublicKey());
    std::vector<DnsQuestion> questions;
    questions.reserve(records.size());
    for (const auto& record : records) questions.push_back({record.name, TypeOf(record.use)});
    const auto answers = host::system::AskInParallel(questions, kPatience);
    Json::Value answer;
    answer["records"] = Json::Value(Json::arrayValue);
    for (std::size_t at = 0; at < records.size(); ++at) {
        Json::Value told = Told(records[at]);
        told["state"] = StateOf(records[at], answers[at]);
        told["found"] = Shown(answers[at].value_or(std::vector<std::string>()));
        answer["records"].append(std::move(told));
    }
    return answer;
}

}  // namespace upkeep
