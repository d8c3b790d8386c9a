// The documents as JSON Schema, for editors: docs/document.schema.json.
#include <json/json.h>

#include <limits>
#include <memory>
#include <stdexcept>
#include <string>

#include "host/libmailvane/pages/reporter.h"
#include "host/libmailvane/settings/settings_rows.h"
#include "host/libmailvane/stores/personal_settings.h"
#include "tools/document/document.h"

namespace document {

namespace {

using host::settings::SettingRow;
using host::settings::SettingType;
using host::settings::Value;

Json::Value OfType(const char* type)
{
    Json::Value schema;
    schema["type"] = type;
    return schema;
}

Json::Value Number(Json::Int64 lowest, Json::Int64 highest)
{
    Json::Value schema = OfType("integer");
    schema["minimum"] = lowest;
    schema["maximum"] = highest;
    return schema;
}

/// A map from any names, or from the given ones alone.
Json::Value MapTo(const Json::Value& schema)
{
    Json::Value map = OfType("object");
    map["additionalProperties"] = schema;
    return map;
}

Json::Value MapOf(const Json::Value& properties)
{
    Json::Value map = MapTo(false);
    map["properties"] = properties;
    return map;
}

Json::Value ListOf(const Json::Value& schema)
{
    Json::Value list = OfType("array");
    list["items"] = schema;
    return list;
}

Json::Value Setting(const SettingRow& row)
{
    const Value& value = row.value;
    Json::Value schema = OfType("string");
    if (value.type == SettingType::kBool) schema = OfType("boolean");
    if (value.type == SettingType::kInt) schema = Number(value.lowest, value.highest);
    if (value.choiceCount == 0 && value.type == SettingType::kText) {
        schema["maxLength"] = value.highest;
    }
    for (std::size_t number = 0; number < value.choiceCount; ++number) {
        schema["enum"].append(value.choices[number].value);
    }
    schema["title"] = std::string(row.title.text);
    schema["description"] = std::string(row.help.text);
    return schema;
}

Json::Value Settings()
{
    Json::Value properties;
    host::settings::ForEachRow(
        [&properties](const SettingRow& row) { properties[row.name.text] = Setting(row); });
    return MapOf(properties);
}

Json::Value Report()
{
    Json::Value properties;
    for (const auto& setting : host::pages::kReportSettings) {
        Json::Value& schema = properties[setting.name] = OfType("string");
        if (setting.type == SettingType::kBool) schema = OfType("boolean");
        if (setting.type == SettingType::kInt) schema = Number(0, setting.highest);
        schema["description"] = setting.help;
    }
    return MapOf(properties);
}

Json::Value RuleSets()
{
    Json::Value properties;
    properties["enabled"] = OfType("boolean");
    properties["rules"] = OfType("string");
    return MapTo(MapOf(properties));
}

/// The schema of what a stored value is an example of.
Json::Value Like(const Json::Value& example)
{
    if (example.isBool()) return OfType("boolean");
    if (example.isString()) return OfType("string");
    if (example.isArray()) return ListOf(Like(example[0]));
    if (!example.isObject()) return OfType("integer");
    Json::Value properties;
    for (const std::string& name : example.getMemberNames()) {
        properties[name] = Like(example[name]);
    }
    return MapOf(properties);
}

Json::Value Personal()
{
    host::stores::PersonalSettings settings;
    settings.senderReplies.emplace_back();
    const std::string text = host::stores::PersonalText({}, settings);
    const std::unique_ptr<Json::CharReader> reader(Json::CharReaderBuilder().newCharReader());
    Json::Value example;
    (void)reader->parse(text.data(), text.data() + text.size(), &example, nullptr);
    example.removeMember("uid");
    return MapTo(Like(example));
}

Json::Value SchemaOf(const Section& section)
{
    if (section.form == Form::kLines) return ListOf(OfType("string"));
    if (section.form == Form::kLists) return MapTo(ListOf(OfType("string")));
    if (section.name == "settings") return Settings();
    if (section.name == "report") return Report();
    if (section.name == "rule_sets") return RuleSets();
    if (section.name == kPersonalSection) return Personal();
    if (section.name == "limits") return MapTo(Number(0, std::numeric_limits<unsigned>::max()));
    throw std::logic_error("a section without a schema: " + std::string(section.name));
}

}  // namespace

std::string Schema()
{
    Json::Value properties;
    properties[kFormatName]["const"] = kFormat;
    for (const Section& section : AllSections()) {
        const std::string name(section.name);
        properties[name] = SchemaOf(section);
        properties[name]["description"] = section.help;
    }
    Json::Value schema = MapOf(properties);
    schema["$schema"] = "http://json-schema.org/draft-07/schema#";
    schema["title"] = "The settings and lists of a mail server";
    schema["required"].append(kFormatName);
    Json::StreamWriterBuilder writer;
    writer["indentation"] = " ";
    return Json::writeString(writer, schema) + "\n";
}

}  // namespace document
