// All metrics.
#include <exception>

#include "tools/metrics/sources.h"

namespace metrics {

namespace {

constexpr Family kUp = {"mailvane_source_up", "",
                        "Whether the metrics of a source could be read: 1 or 0."};

/// What a library throws means that the source cannot be read.
bool IsAdded(const Source& source, std::int64_t now, Exposition& exposition)
{
    try {
        return source.add(now, exposition);
    } catch (const std::exception&) {
        return false;
    }
}

}  // namespace

std::string Gather(std::int64_t now)
{
    Exposition exposition;
    std::vector<Sample> up;
    for (const Source& source : kSources) {
        const bool added = IsAdded(source, now, exposition);
        up.push_back({{{"source", source.name}}, added ? 1.0 : 0.0});
    }
    exposition.Add(kUp, up);
    return exposition.Text();
}

}  // namespace metrics
