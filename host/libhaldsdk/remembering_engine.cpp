// Engines of name services that remember what they were told: all, once they have been asked for
// all of it, or for very many names one by one.
#include <unordered_map>
#include <utility>

#include "host/libhaldsdk/account_engine.h"
#include "host/libhaldsdk/name_service_module.h"

namespace host {

namespace {

/// The service that tells of all users whom it finds by name. A directory may keep some to itself,
/// or all: whom it does not tell of is asked for.
constexpr char kTellsOfAll[] = "systemd";

/// The service that tells of a group the same as when it is asked for it. Others may leave out
/// members.
constexpr char kTellsGroupsWhole[] = "ldap";

/// So many are asked for one by one, of the service that tells of all and of others.
constexpr int kFewAskedByName = 10;
constexpr int kMostAskedByName = 1000;
constexpr std::size_t kMostNames = 200000;  // that are remembered

std::size_t NamesIn(const User& /*user*/)
{
    return 1;
}

std::size_t NamesIn(const Group& group)
{
    return 1 + group.members.size();
}

/// The users or groups of an engine.
template <typename Entry>
class Remembered {
public:
    using Visitor = std::function<void(const Entry&)>;
    using Each = Result<void> (AccountEngine::*)(const Visitor&);
    using Find = Result<std::optional<Entry>> (AccountEngine::*)(const std::string&);

    /// `tellsOfAll`: there is none of a name that is not among them when all are asked for.
    Remembered(AccountEngine& engine, Each each, Find find, bool tellsOfAll)
        : engine_(engine),
          each_(each),
          find_(find),
          tellsOfAll_(tellsOfAll),
          leftByName_(tellsOfAll ? kFewAskedByName : kMostAskedByName)
    {
    }

    Result<void> AskForAll(const Visitor& visit)
    {
        entries_.clear();
        names_ = 0;
        leftByName_ = 0;
        Result<void> answered = (engine_.*each_)([&](const Entry& entry) {
            names_ += NamesIn(entry);
            if (names_ <= kMostNames) entries_.emplace(entry.name, entry);
            visit(entry);
        });
        areAll_ = tellsOfAll_ && answered && names_ <= kMostNames;
        return answered;
    }

    Result<std::optional<Entry>> Ask(const std::string& name)
    {
        // An engine that does not tell of all may still know the name.
        if (leftByName_ > 0 && --leftByName_ == 0) (void)AskForAll([](const Entry&) {});
        const auto found = entries_.find(name);
        if (found != entries_.end()) return std::make_optional(found->second);
        if (areAll_) return {std::nullopt};
        return (engine_.*find_)(name);
    }

private:
    AccountEngine& engine_;
    Each each_;
    Find find_;
    bool tellsOfAll_;
    int leftByName_;  ///< before all are asked for
    std::unordered_map<std::string, Entry> entries_;
    std::size_t names_ = 0;  ///< that all of them have, members included
    bool areAll_ = false;
};

class RememberingEngine : public AccountEngine {
public:
    RememberingEngine(EnginePointer engine, const std::string& service)
        : engine_(std::move(engine)),
          tellsGroupsWhole_(service == kTellsGroupsWhole),
          users_(*engine_, &AccountEngine::EachUser, &AccountEngine::FindUser,
                 service == kTellsOfAll),
          groups_(*engine_, &AccountEngine::EachGroup, &AccountEngine::FindGroup, false)
    {
    }

    Result<void> EachUser(const UserVisitor& visit) override { return users_.AskForAll(visit); }

    Result<void> EachGroup(const GroupVisitor& visit) override
    {
        return tellsGroupsWhole_ ? groups_.AskForAll(visit) : engine_->EachGroup(visit);
    }

    Result<std::optional<User>> FindUser(const std::string& name) override
    {
        return users_.Ask(name);
    }

    Result<std::optional<Group>> FindGroup(const std::string& name) override
    {
        return tellsGroupsWhole_ ? groups_.Ask(name) : engine_->FindGroup(name);
    }

private:
    EnginePointer engine_;
    bool tellsGroupsWhole_;
    Remembered<User> users_;
    Remembered<Group> groups_;
};

}  // namespace

Result<EnginePointer> EngineOfService(const std::string& service)
{
    static auto& engines = *new std::unordered_map<std::string, EnginePointer>;
    const auto known = engines.find(service);
    if (known != engines.end()) return known->second;

    Result<EnginePointer> module = NameServiceModule(service);
    if (!module) return module;
    return engines[service] = std::make_shared<RememberingEngine>(*std::move(module), service);
}

}  // namespace host
