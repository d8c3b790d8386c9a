// Typed settings and JSON: one generic conversion in each direction.
#pragma once

#include <json/value.h>

#include <boost/any.hpp>
#include <string>

#include "platform/mailvane/config.h"

/// Adds one setting to `out` under its own name. Throws `std::invalid_argument` for a key of an
/// unknown type and `boost::bad_any_cast` for a value that does not match its key.
void SetJsonFromConfig(Json::Value& out, Config& store, const boost::any& key);

/// Takes one setting from `in`; a name that `in` does not have leaves the setting as it is. Throws
/// `std::invalid_argument` for a key of an unknown type, and what the JSON library throws for a
/// member that it cannot convert.
void SetConfigFromJson(const Json::Value& in, Config& store, const boost::any& key);

/// The same for every key of the store, in order.
void AllSettingsToJson(Json::Value& out, Config& store);
void AllSettingsFromJson(const Json::Value& in, Config& store);

/// The value of one setting; throws `boost::bad_any_cast` when it is of another type.
template <typename T>
T Setting(Config& store, const std::string& name)
{
    return boost::any_cast<const Value<T>&>(store.Get(name)).get();
}
