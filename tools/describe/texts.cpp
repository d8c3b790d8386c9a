// packaging/texts/en.settings: the English texts of the settings. Other languages are translated
// from it by hand.
#include <map>
#include <string>
#include <string_view>
#include <utility>

#include "host/libmailvane/settings/settings_rows.h"
#include "tools/describe/documents.h"

namespace describe {

namespace {

using host::settings::SettingRow;

constexpr char kHead[] =
    R"(# Texts of the settings, English. Written by describe_settings
# (cmake --build --preset dev --target documents).
)";

/// Texts by key, in the order of the rows; what several rows share comes once.
class Section {
public:
    explicit Section(std::string name) : name_(std::move(name)) {}

    void Add(std::string_view key, std::string_view text)
    {
        if (text.empty() || !known_.emplace(key, text).second) return;
        lines_ += std::string(key) + "=\"" + std::string(text) + "\"\n";
    }

    std::string Text() const { return "\n[" + name_ + "]\n" + lines_; }

private:
    std::string name_;
    std::map<std::string, std::string, std::less<>> known_;
    std::string lines_;
};

}  // namespace

std::string ChoiceKey(const char* setting, const char* value)
{
    return std::string(setting) + "." + value;
}

std::string Texts()
{
    Section groups("groups");
    Section units("units");
    Section titles("titles");
    Section help("help");
    Section warnings("warnings");
    Section choices("choices");
    host::settings::ForEachRow([&](const SettingRow& row) {
        const std::string_view name = row.name.text;
        groups.Add(row.place.group, row.place.title.text);
        units.Add(row.value.unit.name, row.value.unit.title);
        titles.Add(name, row.title.text);
        help.Add(name, row.help.text);
        warnings.Add(name, row.warning.text);
        for (std::size_t number = 0; number < row.value.choiceCount; ++number) {
            const host::settings::Choice& choice = row.value.choices[number];
            choices.Add(ChoiceKey(row.name.text, choice.value), choice.title.text);
        }
    });
    std::string text = kHead;
    for (const Section* part : {&groups, &units, &titles, &help, &warnings, &choices}) {
        text += part->Text();
    }
    return text;
}

}  // namespace describe
