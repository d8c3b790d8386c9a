// describe_settings: writes the documents about the settings from the table of settings.
//
//   describe_settings FOLDER     writes FOLDER/settings.md and FOLDER/settings.yaml
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include "host/libmailvane/settings/settings_rows.h"

namespace {

using host::settings::SettingRow;
using host::settings::SettingsObject;
using host::settings::SettingType;

struct ObjectTitle {
    SettingsObject object;
    const char* name;
    const char* title;
};

constexpr ObjectTitle kObjects[] = {
    {SettingsObject::kPostfix, "Postfix", "SMTP server"},
    {SettingsObject::kImapPop3, "ImapPop3", "IMAP and POP3 server"},
    {SettingsObject::kMailScanner, "MailScanner", "Mail scanner"},
};

constexpr char kMarkdownHead[] =
    R"(# Settings

Every setting of the three services, as the pages load and save it and as
`/var/packages/Mailvane/etc/mailvane.conf` stores it, in lines `name="value"` with `yes` and `no` for
switches. A setting that is not stored has its default. A save with a value out of its range is
refused as a whole.

This page is written by `describe_settings` (`cmake --build --preset dev --target documents`).
)";

constexpr char kYamlHead[] =
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

std::string MarkdownRange(const SettingRow& setting)
{
    if (setting.value.type == SettingType::kBool) return "yes, no";

    const std::string range =
        std::to_string(setting.value.lowest) + " to " + std::to_string(setting.value.highest);
    return setting.value.type == SettingType::kInt ? range : range + " bytes";
}

std::string MarkdownRow(const SettingRow& setting)
{
    const std::string fallback = setting.value.fallback;
    return std::string("| `") + setting.name.text + "` | " + TypeName(setting.value.type) + " | " +
           (fallback.empty() ? "" : "`" + fallback + "`") + " | " + MarkdownRange(setting) + " | " +
           std::string(setting.help.text) + " |\n";
}

std::string Markdown()
{
    std::string text = kMarkdownHead;
    for (const ObjectTitle& object : kObjects) {
        text += std::string("\n## ") + object.title +
                "\n\n| Setting | Type | Default | Range | Meaning |\n|---|---|---|---|---|\n";
        host::settings::ForEachRow([&](const SettingRow& setting) {
            if (setting.object == object.object) text += MarkdownRow(setting);
        });
    }
    return text;
}

std::string YamlDefault(const SettingRow& setting)
{
    switch (setting.value.type) {
        case SettingType::kInt:
            return setting.value.fallback;
        case SettingType::kBool:
            return std::string_view(setting.value.fallback) == "yes" ? "true" : "false";
        case SettingType::kText:
            break;
    }
    return Quoted(setting.value.fallback);
}

std::string YamlProperty(const SettingRow& setting)
{
    std::string text = std::string("    ") + setting.name.text +
                       ":\n      type: " + TypeName(setting.value.type) +
                       "\n      default: " + YamlDefault(setting) +
                       "\n      description: " + Quoted(setting.help.text) + "\n";
    if (setting.value.type == SettingType::kInt) {
        text += "      minimum: " + std::to_string(setting.value.lowest) +
                "\n      maximum: " + std::to_string(setting.value.highest) + "\n";
    }
    // Pages show this setting as empty, and saving an empty text keeps the stored value.
    if (setting.value.isPassword) text += "      writeOnly: true\n      x-mask: \"\"\n";
    return text;
}

/// The schemas of what a save accepts and what a load returns (all settings).
std::string YamlSchemas(const ObjectTitle& object)
{
    std::string properties;
    std::string names;
    host::settings::ForEachRow([&](const SettingRow& setting) {
        if (setting.object != object.object) return;
        properties += YamlProperty(setting);
        names += std::string("    - ") + setting.name.text + "\n";
    });
    return std::string("\n") + object.name + ":\n  type: object\n  properties:\n" + properties +
           "\nLoaded" + object.name + ":\n  allOf: [{$ref: '#/" + object.name +
           "'}]\n  required:\n" + names;
}

std::string Yaml()
{
    std::string text = kYamlHead;
    for (const ObjectTitle& object : kObjects) text += YamlSchemas(object);
    return text;
}

bool WriteFile(const std::string& path, const std::string& text)
{
    std::ofstream file(path, std::ios::binary);
    file << text;
    file.close();
    if (!file) (void)std::fprintf(stderr, "describe_settings: cannot write %s\n", path.c_str());
    return static_cast<bool>(file);
}

}  // namespace

int main(int count, char** arguments)
{
    if (count != 2) {
        (void)std::fprintf(stderr, "usage: describe_settings FOLDER\n");
        return 2;
    }

    const std::string folder = arguments[1];
    const bool written = WriteFile(folder + "/settings.md", Markdown()) &&
                         WriteFile(folder + "/settings.yaml", Yaml());
    return written ? EXIT_SUCCESS : EXIT_FAILURE;
}
