// The two action tables: what a request can ask for. A request without a JSON body is looked up in
// the read table, one with a body in the write table.
//
// To add an action:
// 1. write the worker and the member function in its page's source (services/, addresses/, ...);
// 2. declare the member in mailvane_handler.h under the name of that folder;
// 3. add its row below;
// 4. write its tests in tests/actions/.
#include <iterator>
#include <stdexcept>
#include <string_view>

#include "frame/mailvane_handler.h"

constexpr MailvaneHandler::Row<MailvaneHandler::ReadHandler> MailvaneHandler::kReadTable[] = {
    {"overview_load", &MailvaneHandler::LoadOverview},
    {"alias_enum", &MailvaneHandler::EnumAliases},
    {"alias_mem_enum", &MailvaneHandler::EnumAliasMembers},
    {"load_extaddr", &MailvaneHandler::LoadExtaddr},
    {"load_imap_pop3", &MailvaneHandler::LoadImapPop3},
    {"load_smtp", &MailvaneHandler::LoadSmtp},
    {"load_relay", &MailvaneHandler::LoadRelay},
    {"enum_domain", &MailvaneHandler::EnumDomain},
    {"load_log", &MailvaneHandler::LoadLog},
    {"export_log", &MailvaneHandler::ExportLog},
    {"load_personal", &MailvaneHandler::LoadPersonal},
    {"load_security", &MailvaneHandler::LoadSecurity},
    {"enum_dnsb", &MailvaneHandler::EnumDnsb},
    {"search_log", &MailvaneHandler::SearchLog},
    {"get_account_type", &MailvaneHandler::GetAccountType},
    {"load_spam_config", &MailvaneHandler::LoadSpamConfig},
    {"load_spam_rules", &MailvaneHandler::LoadSpamRules},
    {"log_enum", &MailvaneHandler::EnumLog},
    {"load_access", &MailvaneHandler::LoadAccess},
    {"load_spam_blackwhite", &MailvaneHandler::LoadSpamBlackwhite},
    {"load_adv_anti_spam", &MailvaneHandler::LoadAdvAntiSpam},
    {"load_report", &MailvaneHandler::LoadReport},
    {"load_reply_list", &MailvaneHandler::LoadReplyList},
    {"load_bcc", &MailvaneHandler::LoadBcc},
    {"load_sender_quota", &MailvaneHandler::LoadSenderQuota},
    {"export_rule", &MailvaneHandler::ExportRule},
    {"export_postfix_log", &MailvaneHandler::ExportPostfixLog},
    {"export_access", &MailvaneHandler::ExportAccess},
    {"export_bcc", &MailvaneHandler::ExportBcc},
    {"export_alias", &MailvaneHandler::ExportAlias},
    {"apply_access_setting", &MailvaneHandler::ApplyAccessSetting},
    {"fresh_clam", &MailvaneHandler::FreshClam},
    {"check_virus_status", &MailvaneHandler::CheckVirusStatus},
    {"export_spam_blackwhite", &MailvaneHandler::ExportSpamBlackwhite},
    {"apply_spam_blackwhite", &MailvaneHandler::ApplySpamBlackwhite},
    {"mailvane_check", &MailvaneHandler::CheckMailvane},
    {"load_attachment_filter", &MailvaneHandler::LoadAttachmentFilter},
    {"generate_dkim_key", &MailvaneHandler::GenerateDkimKey},
};

constexpr MailvaneHandler::Row<MailvaneHandler::WriteHandler> MailvaneHandler::kWriteTable[] = {
    {"save_imap_pop3", &MailvaneHandler::SaveImapPop3},
    {"save_smtp", &MailvaneHandler::SaveSmtp},
    {"save_relay", &MailvaneHandler::SaveRelay},
    {"delete_domain", &MailvaneHandler::DeleteDomain},
    {"add_domain", &MailvaneHandler::AddDomain},
    {"edit_domain", &MailvaneHandler::EditDomain},
    {"clear_log", &MailvaneHandler::ClearLog},
    {"apply_alias_info", &MailvaneHandler::ApplyAliasInfo},
    {"alias_del", &MailvaneHandler::AliasDel},
    {"save_personal", &MailvaneHandler::SavePersonal},
    {"save_security", &MailvaneHandler::SaveSecurity},
    {"add_dnsb", &MailvaneHandler::AddDnsb},
    {"edit_dnsb", &MailvaneHandler::EditDnsb},
    {"del_dnsb", &MailvaneHandler::DelDnsb},
    {"save_spam_config", &MailvaneHandler::SaveSpamConfig},
    {"save_spam_rules", &MailvaneHandler::SaveSpamRules},
    {"delete_rules", &MailvaneHandler::DeleteRules},
    {"delete_access", &MailvaneHandler::DeleteAccess},
    {"add_access", &MailvaneHandler::AddAccess},
    {"edit_access", &MailvaneHandler::EditAccess},
    {"delete_bcc", &MailvaneHandler::DeleteBcc},
    {"add_bcc", &MailvaneHandler::AddBcc},
    {"edit_bcc", &MailvaneHandler::EditBcc},
    {"import_access", &MailvaneHandler::ImportAccess},
    {"import_bcc", &MailvaneHandler::ImportBcc},
    {"import_spam_rule", &MailvaneHandler::ImportSpamRule},
    {"import_spam_blackwhite", &MailvaneHandler::ImportSpamBlackwhite},
    {"import_alias", &MailvaneHandler::ImportAlias},
    {"add_spam_blackwhite_list", &MailvaneHandler::AddSpamBlackwhiteList},
    {"edit_spam_blackwhite_list", &MailvaneHandler::EditSpamBlackwhiteList},
    {"delete_spam_blackwhite_list", &MailvaneHandler::DeleteSpamBlackwhiteList},
    {"save_advance_anti_spam", &MailvaneHandler::SaveAdvanceAntiSpam},
    {"save_report", &MailvaneHandler::SaveReport},
    {"set_reply_setting", &MailvaneHandler::SetReplySetting},
    {"delete_reply_setting", &MailvaneHandler::DeleteReplySetting},
    {"set_sender_quota", &MailvaneHandler::SetSenderQuota},
    {"delete_sender_quota", &MailvaneHandler::DeleteSenderQuota},
    {"set_attachment_filter", &MailvaneHandler::SetAttachmentFilter},
};

namespace {

constexpr std::size_t kRows = 38;  // of each table

template <typename Row, std::size_t n>
constexpr bool NamesAreDistinct(const Row (&table)[n])
{
    for (std::size_t i = 0; i < n; ++i) {
        for (std::size_t j = i + 1; j < n; ++j) {
            if (std::string_view(table[i].action) == table[j].action) return false;
        }
    }
    return true;
}

template <typename Row, std::size_t n>
const Row& FindRow(const Row (&table)[n], const std::string& action)
{
    for (const Row& row : table) {
        if (action == row.action) return row;
    }
    throw std::invalid_argument("invalid action: " + action);
}

template <typename Row, std::size_t n>
std::vector<std::string> Names(const Row (&table)[n])
{
    std::vector<std::string> names;
    for (const Row& row : table) names.emplace_back(row.action);
    return names;
}

}  // namespace

void MailvaneHandler::ReadDispatch()
{
    (this->*FindRow(kReadTable, web_.In("action", "load")).handler)();
}

void MailvaneHandler::WriteDispatch(Json::Value& in)
{
    // Read through a const reference, so that a missing member is not added to the body.
    const Json::Value& body = in;
    (this->*FindRow(kWriteTable, body["action"].asString()).handler)(in);
}

std::vector<std::string> MailvaneHandler::ReadActions()
{
    static_assert(std::size(kReadTable) == kRows && NamesAreDistinct(kReadTable));
    return Names(kReadTable);
}

std::vector<std::string> MailvaneHandler::WriteActions()
{
    static_assert(std::size(kWriteTable) == kRows && NamesAreDistinct(kWriteTable));
    return Names(kWriteTable);
}
