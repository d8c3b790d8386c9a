// The full lists of actions.
#include <gtest/gtest.h>

#include <iterator>
#include <sstream>

#include "frame/mailvane_handler.h"

namespace {

const char kReadActions[] = R"(
overview_load alias_enum alias_mem_enum load_extaddr load_imap_pop3 load_smtp load_relay
enum_domain load_log export_log load_personal load_security enum_dnsb search_log get_account_type
load_spam_config load_spam_rules log_enum load_access load_spam_blackwhite load_adv_anti_spam
load_report load_reply_list load_bcc load_sender_quota export_rule export_postfix_log
export_access export_bcc export_alias apply_access_setting fresh_clam check_virus_status
export_spam_blackwhite apply_spam_blackwhite mailvane_check load_attachment_filter
generate_dkim_key
)";

const char kWriteActions[] = R"(
save_imap_pop3 save_smtp save_relay delete_domain add_domain edit_domain clear_log
apply_alias_info alias_del save_personal save_security add_dnsb edit_dnsb del_dnsb
save_spam_config save_spam_rules delete_rules delete_access add_access edit_access delete_bcc
add_bcc edit_bcc import_access import_bcc import_spam_rule import_spam_blackwhite import_alias
add_spam_blackwhite_list edit_spam_blackwhite_list delete_spam_blackwhite_list
save_advance_anti_spam save_report set_reply_setting delete_reply_setting set_sender_quota
delete_sender_quota set_attachment_filter
)";

std::vector<std::string> Names(const char* text)
{
    std::istringstream names(text);
    return {std::istream_iterator<std::string>(names), {}};
}

}  // namespace

TEST(ActionTables, HoldTheFullListsInOrder)
{
    EXPECT_EQ(MailvaneHandler::ReadActions(), Names(kReadActions));
    EXPECT_EQ(MailvaneHandler::WriteActions(), Names(kWriteActions));
}
