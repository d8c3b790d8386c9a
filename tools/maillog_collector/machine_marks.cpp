// The machines whose lines stand in one log.
#include "tools/maillog_collector/machine_marks.h"

#include <unistd.h>

#include <algorithm>
#include <climits>

#include "host/libhaldcore/text.h"

namespace collector {
namespace {

constexpr std::size_t kLongestName = 253;  // as in the DNS
constexpr char kMarkEnd = '/';             // in no name and no queue id

std::string OwnName()
{
    char name[HOST_NAME_MAX + 1] = "";
    (void)::gethostname(name, sizeof name - 1);
    return name;
}

bool IsName(std::string_view text)
{
    const auto canBeInName = [](char letter) {
        const char lower = static_cast<char>(letter | 0x20);
        return host::IsDigit(letter) || (lower >= 'a' && lower <= 'z') ||
               std::string_view(".-_").find(letter) != std::string_view::npos;
    };
    return !text.empty() && text.size() <= kLongestName &&
           std::all_of(text.begin(), text.end(), canBeInName);
}

}  // namespace

MachineMarks::MachineMarks() : own_(OwnName()) {}

bool MachineMarks::Put(std::string_view machine, Event& event)
{
    if (!IsName(machine)) return false;
    mark_.clear();
    // Logs have the name with or without its domain.
    if (machine == own_ || machine == std::string_view(own_).substr(0, own_.find('.'))) return true;

    mark_.append(machine).push_back(kMarkEnd);
    if (!event.id.empty()) event.id = id_.assign(mark_).append(event.id);
    if (!event.other.empty()) event.other = other_.assign(mark_).append(event.other);
    return true;
}

std::string_view WithoutMark(std::string_view id)
{
    const std::size_t end = id.rfind(kMarkEnd);
    return end == std::string_view::npos ? id : id.substr(end + 1);
}

}  // namespace collector
