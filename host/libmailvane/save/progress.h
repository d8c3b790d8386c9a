// How far a change is, told to those who wait for it.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace host::save {

/// The step that a change is at.
struct ProgressStep {
    int number = 0;
    int of = 0;              ///< 0 while it is not known how many there are
    std::string name;        ///< fixed words: "postfix service restart"
    std::int64_t since = 0;  ///< seconds since the epoch
};

/// Tells how far the change of this process is, until its scope ends; a change within it tells
/// nothing. That nobody can be told is no failure of the change.
class Progress {
public:
    Progress();
    ~Progress();
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Sets how many steps there will be, those that have begun included.
    void Expect(std::size_t more) { of_ = number_ + static_cast<int>(more); }

    /// Begins the next step. `name` holds no value that was given.
    void Begin(const std::string& name);

private:
    const bool tells_;
    int number_ = 0;
    int of_ = 0;
};

/// The step that the change under way is at; nothing when there is none, or none that tells. What a
/// killed process has left does not count. Takes no lock.
std::optional<ProgressStep> ReadProgress();

}  // namespace host::save
