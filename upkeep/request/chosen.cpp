// What a call is to be done to: some of the things that there are, by their ids, or all of them.
#include "upkeep/request/chosen.h"

#include <algorithm>

#include "host/libhaldcore/audit.h"

namespace upkeep {

namespace {

using host::Reason;
using host::ReasonCode;
using host::Subject;

constexpr std::size_t kMostIds = 1000;
constexpr std::size_t kMostNoted = 10;

Reason RefusedIds(ReasonCode code, const char* text)
{
    return {code, Subject::Setting("ids"), text};
}

}  // namespace

host::Result<Chosen> ChosenOnes(const Request& request, bool (*isId)(std::string_view))
{
    Chosen chosen{request.Texts("ids")};
    std::vector<std::string>& ids = chosen.ids;
    if (ids.empty()) return RefusedIds(ReasonCode::kEmpty, "no ids were given");
    if (ids.size() > kMostIds) return RefusedIds(ReasonCode::kTooMany, "too many ids were given");
    if (!std::all_of(ids.begin(), ids.end(), isId)) {
        return RefusedIds(ReasonCode::kNoName, "a text that was given is no id");
    }
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    return chosen;
}

host::Result<Chosen> ChosenOnesOrAll(const Request& request, bool (*isId)(std::string_view))
{
    if (!request.IsOn("all")) return ChosenOnes(request, isId);
    if (request.IsOn("confirm")) return Chosen{{}, true};
    return Reason{ReasonCode::kMissing, Subject::Setting("confirm"),
                  "all were chosen, and that was not confirmed"};
}

void NoteChosen(const Chosen& chosen)
{
    if (chosen.all) host::NoteChange("all");
    for (std::size_t i = 0; i < std::min(chosen.ids.size(), kMostNoted); ++i) {
        host::NoteChange(chosen.ids[i]);
    }
    if (chosen.ids.size() > kMostNoted) {
        host::NoteChange("and " + std::to_string(chosen.ids.size() - kMostNoted) + " more");
    }
}

Json::Value DoneAndGone(std::size_t done, const std::vector<std::string>& gone)
{
    Json::Value answer(Json::objectValue);
    answer["done"] = Json::UInt64{done};
    answer["gone"] = Json::Value(Json::arrayValue);
    for (const std::string& id : gone) answer["gone"].append(id);
    return answer;
}

}  // namespace upkeep
