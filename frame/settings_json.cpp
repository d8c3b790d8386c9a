// Typed settings and JSON: one generic conversion in each direction.
#include "frame/settings_json.h"

#include <boost/foreach.hpp>
#include <stdexcept>

namespace {

template <typename T>
bool IsKeyOf(const boost::any& key)
{
    return boost::any_cast<Key<T>>(&key) != nullptr;
}

[[noreturn]] void RefuseKey()
{
    throw std::invalid_argument("key type not support");
}

}  // namespace

void SetJsonFromConfig(Json::Value& out, Config& store, const boost::any& key)
{
    const std::string name = Config::GetKeyName(key);
    if (IsKeyOf<int>(key)) {
        out[name] = Setting<int>(store, name);
    } else if (IsKeyOf<std::string>(key)) {
        out[name] = Setting<std::string>(store, name);
    } else if (IsKeyOf<bool>(key)) {
        out[name] = Setting<bool>(store, name);
    } else {
        RefuseKey();
    }
}

void SetConfigFromJson(const Json::Value& in, Config& store, const boost::any& key)
{
    const std::string name = Config::GetKeyName(key);
    if (!in.isMember(name)) return;

    if (IsKeyOf<int>(key)) {
        store.Set(name, Value<int>(in[name].asInt()));
    } else if (IsKeyOf<std::string>(key)) {
        store.Set(name, Value<std::string>(in[name].asString()));
    } else if (IsKeyOf<bool>(key)) {
        store.Set(name, Value<bool>(in[name].asBool()));
    } else {
        RefuseKey();
    }
}

void AllSettingsToJson(Json::Value& out, Config& store)
{
    BOOST_FOREACH (const boost::any& key, store.GetKeyList()) {
        SetJsonFromConfig(out, store, key);
    }
}

void AllSettingsFromJson(const Json::Value& in, Config& store)
{
    BOOST_FOREACH (const boost::any& key, store.GetKeyList()) {
        SetConfigFromJson(in, store, key);
    }
}
