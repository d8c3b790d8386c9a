// The sender quotas: table `sender_quota` of etc/mailvane.db. What a request changes is stored and
// activated together, when it asks for that, or not at all.
#include "platform/mailvane/sender_quota.h"

#include <utility>
#include <vector>

#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/save/list_change.h"
#include "host/libmailvane/stores/rule_store.h"
#include "host/libmailvane/stores/sender_quota_table.h"

namespace host::lists {
namespace {

const char kWhat[] = "sender quotas";

/// What this request has asked for and not put in force yet.
std::vector<stores::QuotaChange>& Pending()
{
    static std::vector<stores::QuotaChange> changes;
    return changes;
}

Result<void> SetQuota(const std::string& login, unsigned int quota)
{
    if (!names::IsLogin(login)) {
        return Reason{ReasonCode::kBadFormat, Subject::Setting("sasl_sender"),
                      "sender quotas: refused: what is limited is no login"};
    }
    Pending().push_back({login, quota});
    return {};
}

/// The changes of this request, whose end they do not outlive.
Result<void> ApplyQuotas()
{
    const std::vector<stores::QuotaChange> changes = std::exchange(Pending(), {});
    if (changes.empty()) return save::ApplyLists({&render::kQuotaList});
    return save::StoreAndApply(render::kQuotaList, kWhat, [&changes](SQLite::Database& store) {
        stores::ChangeQuotas(store, changes);
        return Result<void>();
    });
}

int Page(SQLite::Database& store, std::list<SenderQuota::Setting>& settings, unsigned int start,
         unsigned int limit)
{
    SQLite::Statement page(store,
                           "SELECT login, quota FROM sender_quota ORDER BY login "
                           "LIMIT :limit OFFSET :start");
    page.bind(":limit", static_cast<std::int64_t>(limit));
    page.bind(":start", static_cast<std::int64_t>(start));
    while (page.executeStep()) {
        settings.push_back({page.getColumn(0).getString(), page.getColumn(1).getUInt()});
    }
    return store.execAndGet("SELECT count(*) FROM sender_quota").getInt();
}

}  // namespace

}  // namespace host::lists

int SenderQuota::GetSettingList(std::list<Setting>& settings, unsigned int start,
                                unsigned int limit)
{
    settings.clear();
    const auto ask = [&](SQLite::Database& store) {
        return host::lists::Page(store, settings, start, limit);
    };
    return host::Status(host::stores::AskLists(host::lists::kWhat, ask)
                            .About(host::Subject::List(host::render::kQuotaList)));
}

int SenderQuota::Set(const std::string& saslSender, unsigned int quota)
{
    return host::Status(host::lists::SetQuota(saslSender, quota));
}

int SenderQuota::DeleteList(const std::list<std::string>& saslSenders)
{
    for (const std::string& login : saslSenders) {
        host::lists::Pending().push_back({login, std::nullopt});
    }
    return 0;
}

int SenderQuota::GenerateConfig()
{
    return host::Status(host::lists::ApplyQuotas());
}
