// Settings objects: typed values in memory, loaded and saved.
#include "host/libmailvane/pages/config.h"

#include "platform/mailvane/config.h"

#include "host/libhaldcore/audit.h"
#include "host/libmailvane/pages/relay_login.h"
#include "host/libmailvane/pages/taking_over.h"
#include "host/libmailvane/save/recovery.h"
#include "host/libmailvane/save/transaction.h"
#include "host/libmailvane/system/account_source.h"

namespace {

using host::settings::SettingInfo;
using host::settings::SettingType;

constexpr char kStore[] = "settings";

/// The typed value of a stored text.
boost::any Typed(const SettingInfo& setting, const std::string& spelled)
{
    switch (setting.type) {
        case SettingType::kInt:
            return Value<int>(std::stoi(spelled));
        case SettingType::kBool:
            return Value<bool>(spelled == "yes");
        case SettingType::kText:
            break;
    }
    return Value<std::string>(spelled);
}

/// Makes the stored text of a typed value; false when the value does not have the setting's type.
bool Spell(const SettingInfo& setting, const boost::any& value, std::string& spelled)
{
    if (setting.type == SettingType::kInt) {
        const auto* number = boost::any_cast<Value<int>>(&value);
        if (number != nullptr) spelled = std::to_string(number->get());
        return number != nullptr;
    }

    if (setting.type == SettingType::kBool) {
        const auto* flag = boost::any_cast<Value<bool>>(&value);
        if (flag != nullptr) spelled = flag->get() ? "yes" : "no";
        return flag != nullptr;
    }

    const auto* text = boost::any_cast<Value<std::string>>(&value);
    if (text != nullptr) spelled = text->get();
    return text != nullptr;
}

boost::any KeyOf(const SettingInfo& setting)
{
    switch (setting.type) {
        case SettingType::kInt:
            return Key<int>(setting.name);
        case SettingType::kBool:
            return Key<bool>(setting.name);
        case SettingType::kText:
            break;
    }
    return Key<std::string>(setting.name);
}

template <typename T>
const std::string* NameOf(const boost::any& key)
{
    const auto* typed = boost::any_cast<Key<T>>(&key);
    return typed == nullptr ? nullptr : &typed->name();
}

host::Reason RefusedValue(const std::string& name, host::ReasonCode code)
{
    return {code, name, "refused a value for " + name};
}

}  // namespace

Config::Config() : state_(new State) {}

Config::~Config()
{
    delete state_;
}

void Config::Set(const std::string& name, const boost::any& value)
{
    const SettingInfo* setting = host::settings::FindSetting(name);
    if (setting == nullptr || setting->object != state_->object) {
        (void)host::pages::Refuse(*state_, RefusedValue(name, host::ReasonCode::kMissing));
        return;
    }
    std::string spelled;
    const auto fault = Spell(*setting, value, spelled)
                           ? host::settings::FaultOf(*setting, spelled)
                           : std::optional(host::ReasonCode::kBadFormat);
    if (fault) {
        (void)host::pages::Refuse(
            *state_, RefusedValue(name, *fault).About(host::Subject::Setting(*setting)));
        return;
    }

    // An empty relay password means no change, since pages never get the stored one.
    if (spelled.empty() && name == "smtp_relay_password") return;

    state_->values[name] = value;
    state_->changed.insert(name);
}

boost::any& Config::Get(const std::string& name)
{
    const auto found = state_->values.find(name);
    return found == state_->values.end() ? state_->nothing : found->second;
}

std::list<boost::any> Config::GetKeyList() const
{
    std::list<boost::any> keys;
    for (const SettingInfo& setting : host::settings::AllSettings()) {
        if (setting.object == state_->object) keys.push_back(KeyOf(setting));
    }
    return keys;
}

std::string Config::GetKeyName(const boost::any& key)
{
    for (const std::string* name :
         {NameOf<int>(key), NameOf<std::string>(key), NameOf<bool>(key)}) {
        if (name != nullptr) return *name;
    }
    return "";
}

namespace host::pages {

int Refuse(Config::State& state, const Reason& reason)
{
    LogReason(reason);
    state.refused = true;
    return -1;
}

int LoadConfig(Config::State& state)
{
    if (!Succeeded(save::FinishInterruptedSave().About(Subject::List(kStore)))) return -1;

    const auto stored = settings::StoredSettings::Read();
    if (!Succeeded(stored)) return -1;

    for (const settings::SettingInfo& setting : settings::AllSettings()) {
        if (setting.object != state.object) continue;
        state.values[setting.name] = Typed(setting, stored->Spelled(setting.name));
    }
    state.account = stored->Account();
    state.domains = stored->domains;
    state.blocklists = stored->blocklists;
    state.changed.clear();
    state.listsChanged = false;
    state.refused = false;
    state.loaded = true;
    state.saved = false;
    return 0;
}

int SaveConfig(Config::State& state, const std::list<Callback>& steps)
{
    if (state.refused || !state.loaded) return -1;

    const save::WriteScope scope;
    if (!Succeeded(Result<void>(scope.ready()).About(Subject::List(kStore)))) return -1;

    const auto stored = settings::StoredSettings::Read();
    if (!Succeeded(stored)) return -1;

    settings::StoredSettings wanted = *stored;

    for (const std::string& name : state.changed) {
        std::string spelled;
        Spell(*settings::FindSetting(name), state.values.at(name), spelled);
        if (wanted.Spelled(name) != spelled) NoteChange(name);
        wanted.Set(name, spelled);
    }
    if (state.listsChanged) {
        if (wanted.domains != state.domains) NoteChange("domains");
        if (!(wanted.blocklists == state.blocklists)) NoteChange("blocklists");
        wanted.domains = state.domains;
        wanted.blocklists = state.blocklists;
    }
    if (!Succeeded(JudgeRelayLogin(*stored, wanted, state.changed))) return -1;

    if (wanted.Account().type != stored->Account().type &&
        !Succeeded(system::AccountSourceIsNamed(wanted.Account().type))) {
        return -1;
    }

    if (TakesOver("logins")) wanted.SetSmtpPortTakesLogins();
    const int result = Status(save::SaveTransaction(wanted, steps).About(Subject::List(kStore)));
    state.saved = result == 0;
    return result;
}

}  // namespace host::pages
