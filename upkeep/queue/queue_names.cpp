// The messages in the mail server's queues, by the names of their files. A queue may be divided
// into folders of one hexadecimal digit, as that of deferred mail is.
#include "upkeep/queue/queue_names.h"

#include <dirent.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>

namespace upkeep {

namespace {

constexpr std::size_t kLongestId = 30;
constexpr std::array<const char*, 5> kQueues = {"maildrop", "incoming", "active", "deferred",
                                                "hold"};
constexpr char kHexDigits[] = "0123456789ABCDEF";

// A long id: six digits of the seconds, four of the microseconds, the separator, the file's number.
constexpr std::string_view kDigits = "0123456789BCDFGHJKLMNPQRSTVWXYZbcdfghjklmnpqrstvwxyz";
constexpr std::size_t kSecondsDigits = 6;
constexpr std::size_t kMicrosecondsDigits = 4;
constexpr char kSeparator = 'z';

bool IsLong(std::string_view id)
{
    constexpr std::size_t kTime = kSecondsDigits + kMicrosecondsDigits;
    return id.size() > kTime && id[kTime] == kSeparator &&
           id.substr(0, kTime).find_first_not_of(kDigits) == std::string_view::npos;
}

std::int64_t NumberOf(std::string_view digits)
{
    std::int64_t number = 0;
    for (const char digit : digits) {
        number = number * static_cast<std::int64_t>(kDigits.size()) +
                 static_cast<std::int64_t>(kDigits.find(digit));
    }
    return number;
}

/// The digit of the folder that a message lies in, in a queue that is divided: the first of the
/// five that the microseconds have, with which a short id begins.
char FolderOf(std::string_view id)
{
    if (!IsLong(id)) return id.front();
    const std::int64_t microseconds = NumberOf(id.substr(kSecondsDigits, kMicrosecondsDigits));
    return kHexDigits[(microseconds >> 16) & 0xF];
}

struct CloseFolder {
    void operator()(DIR* folder) const { (void)closedir(folder); }
};

/// Adds what a folder holds; false, with errno, when it cannot be read.
bool AddNames(const std::string& path, Queue queue, std::vector<QueueName>& names)
{
    const std::unique_ptr<DIR, CloseFolder> folder(opendir(path.c_str()));
    if (folder == nullptr) return errno == ENOENT;

    errno = 0;
    while (const dirent* entry = readdir(folder.get())) {
        const std::string_view name = entry->d_name;
        // What is shorter than any id divides the queue.
        if (name.size() == 1 && name != ".") {
            if (!AddNames(path + "/" + entry->d_name, queue, names)) return false;
        } else if (IsQueueId(name)) {
            names.push_back({entry->d_name, queue});
        }
        errno = 0;
    }
    return errno == 0;
}

/// Puts the oldest first, as far as ids tell.
void PutInOrder(std::vector<QueueName>& names)
{
    const auto comesBefore = [](const QueueName& one, const QueueName& other) {
        const int order = one.id.compare(other.id);
        return order != 0 ? order < 0 : one.queue < other.queue;
    };
    const auto firstLong = std::partition(names.begin(), names.end(),
                                          [](const QueueName& name) { return !IsLong(name.id); });
    std::sort(names.begin(), firstLong, comesBefore);
    std::sort(firstLong, names.end(), comesBefore);
}

}  // namespace

const char* NameOf(Queue queue)
{
    return kQueues.at(static_cast<std::size_t>(queue));
}

bool IsQueueId(std::string_view text)
{
    constexpr std::string_view kSigns =
        "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
    return text.size() > 1 && text.size() <= kLongestId &&
           text.find_first_not_of(kSigns) == std::string_view::npos;
}

std::optional<std::int64_t> ArrivalOf(std::string_view id)
{
    if (!IsLong(id)) return std::nullopt;
    return NumberOf(id.substr(0, kSecondsDigits));
}

host::Result<std::vector<QueueName>> ReadQueueNames(const std::string& spool)
{
    std::vector<QueueName> names;
    for (std::size_t queue = 0; queue < kQueues.size(); ++queue) {
        const std::string path = spool + "/" + kQueues.at(queue);
        if (!AddNames(path, static_cast<Queue>(queue), names)) {
            return host::SystemReason("mail queue", "the mail queue cannot be read");
        }
    }
    PutInOrder(names);
    const auto isSame = [](const QueueName& one, const QueueName& other) {
        return one.id == other.id;
    };
    names.erase(std::unique(names.begin(), names.end(), isSame), names.end());
    return names;
}

std::optional<QueueName> FindQueued(const std::string& spool, const std::string& id)
{
    // A message goes from queue to queue as they stand in the list, and from the one of deferred
    // mail back to that before: what has overtaken the first look is found by the second.
    for (std::size_t look = 0; look < 2 * kQueues.size(); ++look) {
        const QueueName message{id, static_cast<Queue>(look % kQueues.size())};
        if (OpenQueued(spool, message)) return message;
    }
    return std::nullopt;
}

host::Descriptor OpenQueued(const std::string& spool, const QueueName& message)
{
    constexpr int kFlags = O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC;
    const std::string folder = spool + "/" + NameOf(message.queue) + "/";
    const std::string divided = (folder + FolderOf(message.id)).append("/").append(message.id);
    host::Descriptor file(open(divided.c_str(), kFlags));
    if (!file) file = host::Descriptor(open((folder + message.id).c_str(), kFlags));
    return file;
}

std::string DeferLogOf(const std::string& spool, std::string_view id)
{
    return (spool + "/defer/").append(1, FolderOf(id)).append("/").append(id);
}

}  // namespace upkeep
