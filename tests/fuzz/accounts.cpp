// Fuzz target: the machine's account files, and records of a name service module.
#include <cstring>

#include "host/libhaldcore/paths.h"
#include "host/libhaldsdk/account_records.h"
#include "host/libhaldsdk/local_accounts.h"
#include "tests/fuzz/fuzz.h"

namespace {

void ExpectName(const std::string& name)
{
    fuzz::Expect(!name.empty() && name.front() != '+' && name.front() != '-');
    fuzz::Expect(name.find_first_of(":\n") == std::string::npos);
}

/// Whom an enumeration shows, a search finds.
void TryFiles(std::string_view text)
{
    for (const char* name : {"etc/passwd", "etc/group", "etc/shadow"}) fuzz::NewFile(name, text);
    host::SetRoot(fuzz::OwnFile(""));
    const auto engine = host::LocalAccounts();
    const auto users = engine->EachUser([&engine](const host::User& user) {
        ExpectName(user.name);
        const auto found = engine->FindUser(user.name);
        fuzz::Expect(found && *found && (*found)->name == user.name &&
                     (*found)->realName.find(',') == std::string::npos);
        (void)host::FindLocalExpiry(user.name);
    });
    const auto groups = engine->EachGroup([&engine](const host::Group& group) {
        ExpectName(group.name);
        const auto found = engine->FindGroup(group.name);
        fuzz::Expect(found && *found);
    });
    fuzz::Expect(users && groups);
}

/// A module with a record in each line: the name, then the members or the comment and the home.
/// What is missing is null; a record that lacks room asks for it, and a line of "!" says that the
/// engine is down.
class Module {
public:
    explicit Module(std::string_view lines) : rest_(lines) {}

    nss_status Next(group* record, char* room, std::size_t size, int* code)
    {
        const nss_status status = Take(room, size, code);
        if (status == NSS_STATUS_SUCCESS) *record = {texts_[0], nullptr, 1000, texts_ + 1};
        return status;
    }
    nss_status Next(passwd* record, char* room, std::size_t size, int* code)
    {
        const nss_status status = Take(room, size, code);
        if (status != NSS_STATUS_SUCCESS) return status;
        char* const home = texts_[1] == nullptr ? nullptr : texts_[2];
        *record = {texts_[0], nullptr, 1000, 1000, texts_[1], home, nullptr};
        return status;
    }

private:
    static constexpr std::size_t kMostTexts = 100;

    /// Room is asked for as for records a hundred times as long, so that it grows more than once.
    nss_status Take(char* room, std::size_t size, int* code)
    {
        std::string_view rest = rest_;
        const std::string line = fuzz::Cut(rest, '\n');
        *code = line == "!" ? ECONNREFUSED : ERANGE;
        if (rest_.empty()) return NSS_STATUS_NOTFOUND;
        if (line == "!") return NSS_STATUS_UNAVAIL;
        if (size < line.size() * 100 + 1) return NSS_STATUS_TRYAGAIN;

        rest_ = rest;
        std::memcpy(room, line.c_str(), line.size() + 1);
        std::size_t count = 1;
        char* state = room;
        texts_[0] = strsep(&state, " ");
        while (state != nullptr && count < kMostTexts) texts_[count++] = strsep(&state, " ");
        texts_[count] = nullptr;
        return NSS_STATUS_SUCCESS;
    }

    std::string_view rest_;
    char* texts_[kMostTexts + 1] = {};
};

template <typename Record, typename Visit>
void TryModule(std::string_view lines, const Visit& visit)
{
    Module module(lines);
    (void)host::EachRecord<Record>(
        [&module](Record* record, char* room, std::size_t size, int* code) {
            return module.Next(record, room, size, code);
        },
        visit);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text = fuzz::Text(data, size);
    TryFiles(text);
    TryModule<passwd>(text, [](const passwd& record) {
        fuzz::Expect(host::ToUser(record).realName.find(',') == std::string::npos);
    });
    std::size_t taken = 0;
    TryModule<group>(text, [&taken](const group& record) {
        const host::Group copy = host::ToGroup(record);
        taken += copy.name.size();
        for (const std::string& member : copy.members) taken += member.size();
    });
    fuzz::Expect(taken <= size);
    return 0;
}
