// docs/settings.md: a table of the settings of each object.
#include <string>
#include <string_view>

#include "host/libmailvane/settings/settings_rows.h"
#include "tools/describe/documents.h"

namespace describe {

namespace {

using host::settings::SettingRow;
using host::settings::SettingType;
using host::settings::Value;

constexpr char kHead[] =
    R"(# Settings

Every setting of the three services, as the pages load and save it and as
`/var/packages/Mailvane/etc/mailvane.conf` stores it, in lines `name="value"` with `yes` and `no` for
switches. A setting that is not stored has its default. A save with a value out of its range is
refused as a whole. The page is the one that `mailvanectl edit` takes; what stands under "Restarts"
is started, stopped or restarted by a change.

This page is written by `describe_settings` (`cmake --build --preset dev --target documents`).
)";

std::string Code(std::string_view word)
{
    return word.empty() ? "" : "`" + std::string(word) + "`";
}

std::string Bounds(const Value& value)
{
    return std::to_string(value.lowest) + " to " + std::to_string(value.highest);
}

std::string Choices(const Value& value)
{
    std::string text;
    for (std::size_t number = 0; number < value.choiceCount; ++number) {
        if (number > 0) text += ", ";
        text += Code(value.choices[number].value);
    }
    return text;
}

std::string Range(const Value& value)
{
    if (value.type == SettingType::kBool) return "yes, no";
    if (value.choiceCount > 0) return Choices(value);
    if (value.type == SettingType::kText) {
        return Bounds(value) + " bytes: " + value.format->meaning;
    }
    return Bounds(value) + (value.unit.name.empty() ? "" : " " + std::string(value.unit.title));
}

std::string Meaning(const SettingRow& row)
{
    std::string text = "**" + std::string(row.title.text) + ".** " + std::string(row.help.text);
    if (!row.needs.setting.empty()) {
        text += " Only with " + Code(row.needs.setting) + " " + std::string(row.needs.value) + ".";
    }
    if (!row.warning.text.empty()) text += " *" + std::string(row.warning.text) + "*";
    return text;
}

std::string Row(const SettingRow& row)
{
    return "| " + Code(row.name.text) + " | " + Code(row.value.fallback) + " | " +
           Range(row.value) + " | " + Meaning(row) + " | " + Code(row.place.page) + " | " +
           std::string(row.restarts.services) + " |\n";
}

}  // namespace

std::string Markdown()
{
    std::string text = kHead;
    for (const ObjectTitle& object : kObjects) {
        text += std::string("\n## ") + object.title +
                "\n\n| Setting | Default | Range | Meaning | Page | Restarts |\n"
                "|---|---|---|---|---|---|\n";
        host::settings::ForEachRow([&](const SettingRow& row) {
            if (row.object == object.object) text += Row(row);
        });
    }
    return text;
}

}  // namespace describe
