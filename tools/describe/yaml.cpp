// docs/settings.yaml: the settings as schemas. What goes beyond JSON Schema stands in the head of
// docs/openapi.yaml.
#include <set>
#include <string>
#include <string_view>

#include "host/libmailvane/settings/settings_rows.h"
#include "tools/describe/documents.h"

namespace describe {

namespace {

using host::settings::Needs;
using host::settings::SettingRow;
using host::settings::SettingType;
using host::settings::Value;

constexpr char kHead[] =
    R"(# The settings of the three services, for openapi.yaml. Written by describe_settings
# (cmake --build --preset dev --target documents).
)";

const char* TypeName(SettingType type)
{
    switch (type) {
        case SettingType::kInt:
            return "integer";
        case SettingType::kBool:
            return "boolean";
        case SettingType::kText:
            break;
    }
    return "string";
}

std::string Quoted(std::string_view text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\') quoted += '\\';
        quoted += character;
    }
    return quoted + '"';
}

/// A value in stored spelling, as the JSON of the pages has it.
std::string Spelled(SettingType type, std::string_view stored)
{
    if (type == SettingType::kInt) return std::string(stored);
    if (type == SettingType::kBool) return stored == "yes" ? "true" : "false";
    return Quoted(stored);
}

std::string Line(const std::string& key, std::string_view value)
{
    return "      " + key + ": " + std::string(value) + "\n";
}

std::string ChoiceLines(const char* setting, const host::settings::Choice& choice)
{
    return std::string("        - value: ") + choice.value +
           "\n          title: " + Quoted(choice.title.text) +
           "\n          text: settings/choices/" + ChoiceKey(setting, choice.value) + "\n";
}

std::string Choices(const SettingRow& row)
{
    std::string values;
    std::string titled;
    for (std::size_t number = 0; number < row.value.choiceCount; ++number) {
        const host::settings::Choice& choice = row.value.choices[number];
        if (number > 0) values += ", ";
        values += choice.value;
        titled += ChoiceLines(row.name.text, choice);
    }
    return Line("enum", "[" + values + "]") + "      x-choices:\n" + titled;
}

std::string Limits(const SettingRow& row)
{
    const Value& value = row.value;
    const std::string lowest = std::to_string(value.lowest);
    const std::string highest = std::to_string(value.highest);
    if (value.choiceCount > 0) return Choices(row);
    if (value.type == SettingType::kInt) {
        return Line("minimum", lowest) + Line("maximum", highest) +
               (value.unit.name.empty() ? ""
                                        : Line("x-unit", value.unit.name) +
                                              Line("x-unit-title", Quoted(value.unit.title)));
    }
    if (value.type == SettingType::kBool) return "";

    return (value.lowest == 0 ? "" : Line("minLength", lowest)) + Line("maxLength", highest) +
           Line("x-max-bytes", highest) + Line("x-format", value.format->name);
}

std::string NeedsLine(const Needs& needs)
{
    if (needs.setting.empty()) return "";
    std::string text;
    host::settings::ForEachRow([&](const SettingRow& row) {
        if (row.name.text != needs.setting) return;
        text = Line("x-needs", "{" + std::string(needs.setting) + ": " +
                                   Spelled(row.value.type, needs.value) + "}");
    });
    return text;
}

std::string Services(std::string_view words)
{
    std::string list;
    for (const char character : words) list += character == ' ' ? ", " : std::string(1, character);
    return "[" + list + "]";
}

std::string Property(const SettingRow& row)
{
    std::string text = std::string("    ") + row.name.text + ":\n";
    text += Line("type", TypeName(row.value.type)) + Line("title", Quoted(row.title.text));
    text += Line("description", Quoted(row.help.text));
    text += Line("default", Spelled(row.value.type, row.value.fallback)) + Limits(row);
    // Pages show a password as empty, and saving an empty text keeps the stored one.
    if (row.value.isPassword) text += Line("writeOnly", "true") + Line("x-mask", "\"\"");
    text += Line("x-page", row.place.page) + Line("x-group", row.place.group);
    text += NeedsLine(row.needs);
    if (!row.warning.text.empty()) text += Line("x-warn", Quoted(row.warning.text));
    text += Line("x-restarts", Services(row.restarts.services));
    return text + Line("x-since", Quoted(row.since.version));
}

/// The schemas of what a save accepts and what a load returns (all settings).
std::string Schemas(const ObjectTitle& object)
{
    std::string properties;
    std::string names;
    host::settings::ForEachRow([&](const SettingRow& row) {
        if (row.object != object.object) return;
        properties += Property(row);
        names += std::string("    - ") + row.name.text + "\n";
    });
    return std::string("\n") + object.name + ":\n  type: object\n  properties:\n" + properties +
           "\nLoaded" + object.name + ":\n  allOf: [{$ref: '#/" + object.name +
           "'}]\n  required:\n" + names;
}

/// The meanings of the formats that settings have.
std::string Formats()
{
    std::set<std::string> known;
    std::string text = "\nFormats:\n";
    host::settings::ForEachRow([&](const SettingRow& row) {
        const host::settings::Format* const format = row.value.format;
        if (format == nullptr || !known.insert(format->name).second) return;
        text += std::string("  ") + format->name + ": " + Quoted(format->meaning) + "\n";
    });
    return text;
}

}  // namespace

std::string Yaml()
{
    std::string text = kHead + Formats();
    for (const ObjectTitle& object : kObjects) text += Schemas(object);
    return text;
}

}  // namespace describe
