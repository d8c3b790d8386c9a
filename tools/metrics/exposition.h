// Metrics as text: OpenMetrics, in the part of it that readers of the older text format take too.
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace metrics {

/// A name and one of a few fixed words: never an address, a domain, a host or a user.
using Label = std::pair<const char*, const char*>;

struct Sample {
    std::vector<Label> labels;
    double value;
};

/// Gauges and counters alone: the older format knows them by the same words.
enum class Kind { kGauge, kCounter };

/// A metric family. The name ends with its unit; that of a counter has no `_total`.
struct Family {
    const char* name;
    const char* unit;  ///< empty for none
    const char* help;
    Kind kind = Kind::kGauge;
};

class Exposition {
public:
    /// Adds a family with its samples; one without samples is left out.
    void Add(const Family& family, const std::vector<Sample>& samples);
    void Add(const Family& family, double value) { Add(family, {{{}, value}}); }

    /// All that was added, with the mark of the end.
    std::string Text() const { return text_ + "# EOF\n"; }

private:
    std::string text_;
};

}  // namespace metrics
