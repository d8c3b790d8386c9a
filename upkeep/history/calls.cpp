// Calls about what was changed, and how a change goes on.
#include "upkeep/history/calls.h"

#include "host/libhaldcore/audit.h"
#include "host/libmailvane/save/progress.h"
#include "host/libmailvane/save/restore.h"
#include "upkeep/history/kept_states.h"

namespace upkeep {

namespace {

constexpr std::size_t kMostNumber = 999999999;

Json::Value ListOf(const std::vector<std::string>& names)
{
    Json::Value list(Json::arrayValue);
    for (const std::string& name : names) list.append(name);
    return list;
}

Json::Value Told(const KeptState& state)
{
    Json::Value told;
    told["number"] = state.number;
    told["name"] = state.name;
    told["date"] = static_cast<Json::Int64>(state.origin.date);
    told["who"] = state.origin.caller;
    told["action"] = state.origin.action;
    told["in_force"] = state.inForce;
    told["settings"] = ListOf(state.settings);
    told["files"] = ListOf(state.files);
    told["different"] = ListOf(state.different);
    return told;
}

}  // namespace

Answer Generations(const Request& /*request*/)
{
    Json::Value answer;
    Json::Value& items = answer["items"] = Json::Value(Json::arrayValue);
    for (const KeptState& state : KeptStates()) items.append(Told(state));
    return answer;
}

Answer RollBack(const Request& request)
{
    const std::size_t number = request.Number("number", 0, kMostNumber);
    const std::optional<KeptState> state = FindKeptState(number);
    if (!state) {
        return host::Reason{host::ReasonCode::kMissing, host::Subject::Setting("number"),
                            "there is no generation " + std::to_string(number)};
    }

    for (const std::string& name : state->different) host::NoteChange(name);
    host::Result<void> done = host::save::RollBack(state->name);
    if (!done) return std::move(done).reason();

    Json::Value answer;
    answer["number"] = state->number;
    answer["settings"] = ListOf(state->different);
    return answer;
}

Answer Progress(const Request& /*request*/)
{
    const auto step = host::save::ReadProgress();
    Json::Value answer;
    answer["running"] = step.has_value();
    answer["step"] = step ? step->number : 0;
    answer["of"] = step ? step->of : 0;
    answer["name"] = step ? step->name : "";
    answer["since"] = static_cast<Json::Int64>(step ? step->since : 0);
    return answer;
}

}  // namespace upkeep
