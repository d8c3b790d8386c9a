// Calls that tell about the mail that the scanner has kept aside.
#include "upkeep/quarantine/calls.h"

#include <algorithm>
#include <map>
#include <memory>

#include "host/libhaldcore/audit.h"
#include "host/libhaldcore/text.h"
#include "upkeep/mail_text/reader.h"
#include "upkeep/quarantine/kept_mail.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Result;
using host::Subject;

constexpr std::size_t kUsualCount = 50;
constexpr std::size_t kMostCount = 100;
constexpr std::size_t kLongestQuery = 320;

Result<std::string> QueryOf(const Request& request)
{
    std::string query = request.Text("query");
    if (query.size() > kLongestQuery) {
        return Reason{ReasonCode::kTooLong, Subject::Setting("query"), "the text is too long"};
    }
    if (std::any_of(query.begin(), query.end(), host::IsControl)) {
        return Reason{ReasonCode::kNotText, Subject::Setting("query"), "this is no text"};
    }
    return query;
}

/// The heads of a page. Without a text that is searched for, no other files are opened.
Result<Heads> PageOf(const std::vector<KeptMail>& mail, const std::string& query, std::size_t start,
                     std::size_t count)
{
    const bool isSearch = !query.empty();
    const std::size_t first = isSearch ? 0 : std::min(start, mail.size());
    const std::size_t last = isSearch ? mail.size() : first + std::min(count, mail.size() - first);
    std::vector<std::string> names;
    for (std::size_t i = first; i < last; ++i) names.push_back(mail[i].id);

    Result<Heads> heads = ReadHeads(KeptFolder(), names, query, start - first, count);
    if (heads && !isSearch) heads->found = mail.size();
    return heads;
}

/// The file of the message that a request is about.
Result<host::Descriptor> AskedFor(const Request& request)
{
    const std::string id = request.Text("id");
    host::Descriptor file = OpenKept(id);
    if (!file) {
        return Reason{ReasonCode::kMissing, Subject::Setting("id"), "no such message is kept"};
    }
    host::NoteChange(id);
    return file;
}

}  // namespace

Answer QuarantineList(const Request& request)
{
    const Result<std::string> query = QueryOf(request);
    if (!query) return query.reason();
    Result<std::vector<KeptMail>> mail = ReadKeptMail();
    if (!mail) return mail.reason();
    if (request.IsOn("descending")) std::reverse(mail->begin(), mail->end());
    const Result<Heads> heads = PageOf(*mail, *query, request.Number("start", 0, mail->size()),
                                       request.Number("limit", kUsualCount, kMostCount));
    if (!heads) return heads.reason();

    std::map<std::string, const KeptMail*> known;
    for (const KeptMail& one : *mail) known.emplace(one.id, &one);
    Json::Value answer(Json::objectValue);
    answer["total"] = Json::UInt64{heads->found};
    answer["messages"] = Json::Value(Json::arrayValue);
    for (Json::Value message : heads->page) {
        const auto found = known.find(message["id"].asString());
        if (found == known.end()) continue;
        message["date"] = Json::Int64{found->second->date};
        message["size"] = Json::UInt64{found->second->size};
        answer["messages"].append(std::move(message));
    }
    return answer;
}

Answer QuarantineText(const Request& request)
{
    const Result<host::Descriptor> file = AskedFor(request);
    return file ? ReadText(*file) : file.reason();
}

Result<Download> QuarantineRaw(const Request& request)
{
    Result<host::Descriptor> file = AskedFor(request);
    if (!file) return file.reason();
    const auto shared = std::make_shared<host::Descriptor>(*std::move(file));
    return Download{"message.eml", [shared] { WriteRaw(*shared); }};
}

}  // namespace upkeep
