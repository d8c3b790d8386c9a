// Conversion of typed settings to JSON and back.
#pragma once

#include <json/value.h>

#include <boost/any.hpp>
#include <string>

#include "platform/mailvane/config.h"

/// Adds a setting to `out` under its name. Throws `std::invalid_argument` for a key of unknown
/// type, `boost::bad_any_cast` for a value of another type than its key.
void SetJsonFromConfig(Json::Value& out, Config& store, const boost::any& key);

/// Sets a setting to the member of its name in `in`, if there is one. Throws
/// `std::invalid_argument` for a key of unknown type, and the JSON library's exception for a member
/// that cannot be converted.
void SetConfigFromJson(const Json::Value& in, Config& store, const boost::any& key);

/// The same for all settings of the store, in order.
void AllSettingsToJson(Json::Value& out, Config& store);
void AllSettingsFromJson(const Json::Value& in, Config& store);

/// The value of a setting; throws `boost::bad_any_cast` when it has another type.
template <typename T>
T Setting(Config& store, const std::string& name)
{
    return boost::any_cast<const Value<T>&>(store.Get(name)).get();
}
