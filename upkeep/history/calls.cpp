// Calls about what was changed, and how a change goes on.
#include "upkeep/history/calls.h"

#include "host/libhaldcore/audit.h"
#include "host/libmailvane/generation/generation.h"
#include "host/libmailvane/save/confirm.h"
#include "host/libmailvane/save/progress.h"
#include "host/libmailvane/save/restore.h"
#include "host/libmailvane/settings/stored_settings.h"
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

host::Result<void> RollBackTo(const std::string& name, std::size_t seconds)
{
    if (seconds == 0) return host::save::RollBack(name);

    const auto settings =
        host::settings::StoredSettings::ReadFrom(host::generation::GenerationDirectory(name));
    if (!settings) return settings.reason();
    return host::save::MakeUnconfirmed(static_cast<std::int64_t>(seconds),
                                       {"", settings->Account()},
                                       [&name](const host::save::BeforeCommit& beforeCommit) {
                                           return host::save::RollBack(name, beforeCommit);
                                       });
}

/// Runs one of the two functions that settle what waits to be confirmed.
Answer Settle(const Request& request,
              host::Result<host::UnconfirmedChange> (*settle)(const std::string& generation))
{
    const std::size_t number = request.Number("number", 0, kMostNumber);
    const auto settled = settle(number == 0 ? "" : host::generation::NameOf(number));
    if (!settled) return settled.reason();

    host::NoteChange(settled->generation);
    Json::Value answer;
    answer["number"] = host::generation::NumberOf(settled->generation);
    return answer;
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
    host::Result<void> done = RollBackTo(state->name, request.Number("confirm", 0, kMostNumber));
    if (!done) return std::move(done).reason();

    Json::Value answer;
    answer["number"] = state->number;
    answer["settings"] = ListOf(state->different);
    const auto waiting = host::FindUnconfirmedChange();
    answer["until"] = static_cast<Json::Int64>(waiting ? waiting->deadline.end.clock : 0);
    return answer;
}

Answer Confirm(const Request& request)
{
    return Settle(request, host::save::Confirm);
}

Answer TakeBack(const Request& request)
{
    return Settle(request, host::save::TakeBack);
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
