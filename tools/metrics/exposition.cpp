// Metrics as text.
#include "tools/metrics/exposition.h"

#include <charconv>

namespace metrics {

namespace {

std::string Spelled(double value)
{
    char text[32];
    const auto [end, error] =
        std::to_chars(std::begin(text), std::end(text), value, std::chars_format::fixed);
    return error == std::errc() ? std::string(text, end) : "NaN";
}

void AppendLabels(const std::vector<Label>& labels, std::string& text)
{
    const char* before = "{";
    for (const auto& [name, value] : labels) {
        text.append(before).append(name).append("=\"").append(value).append("\"");
        before = ",";
    }
    if (!labels.empty()) text.append("}");
}

}  // namespace

void Exposition::Add(const Family& family, const std::vector<Sample>& samples)
{
    if (samples.empty()) return;
    const bool counts = family.kind == Kind::kCounter;
    const std::string name = family.name;
    text_.append("# TYPE ").append(name).append(counts ? " counter\n" : " gauge\n");
    if (*family.unit != '\0') {
        text_.append("# UNIT ").append(name).append(" ").append(family.unit).append("\n");
    }
    text_.append("# HELP ").append(name).append(" ").append(family.help).append("\n");
    for (const Sample& sample : samples) {
        text_.append(name).append(counts ? "_total" : "");
        AppendLabels(sample.labels, text_);
        text_.append(" ").append(Spelled(sample.value)).append("\n");
    }
}

}  // namespace metrics
