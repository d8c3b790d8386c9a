// Validation of a stored state before a restore: each part is checked as its page checks it.
#include "host/libmailvane/pages/staged_state.h"

#include <cerrno>
#include <filesystem>
#include <functional>
#include <sstream>

#include "host/libhaldcore/files.h"
#include "host/libhaldcore/key_value_file.h"
#include "host/libmailvane/names/domains.h"
#include "host/libmailvane/names/list_text.h"
#include "host/libmailvane/names/spam_rule_text.h"
#include "host/libmailvane/names/text_checks.h"
#include "host/libmailvane/pages/forwarding.h"
#include "host/libmailvane/pages/reporter.h"
#include "host/libmailvane/settings/settings_table.h"
#include "host/libmailvane/settings/stored_settings.h"
#include "host/libmailvane/stores/account_data_check.h"
#include "host/libmailvane/stores/attachment_types.h"
#include "host/libmailvane/stores/bcc_store.h"
#include "host/libmailvane/stores/personal_settings.h"
#include "host/libmailvane/system/database.h"

namespace fs = std::filesystem;

namespace host::pages {

namespace {

using settings::StoredSettings;

Reason Bad(const std::string& what)
{
    return {ReasonCode::kRefused, what, what + " is none that its page would have stored"};
}

/// Text of a file; empty when there is none.
Result<std::string> TextOf(const fs::path& path)
{
    std::string text;
    if (ReadFile(path.string(), text)) return text;
    if (errno == ENOENT) return std::string();
    return SystemReason(path.string(), "cannot read " + path.string());
}

Result<void> CheckSettings(const std::string& folder, const StoredSettings& settings)
{
    const auto file = KeyValueFile::Read(folder + "/mailvane.conf");
    if (!file) return SystemReason("settings", "cannot read the settings");

    const auto values = file->Values();
    for (const settings::SettingInfo& setting : settings::AllSettings()) {
        const auto value = values.find(setting.name);
        const bool isGood = value == values.end() || SettingAccepts(setting, value->second);
        if (!isGood) return Bad(std::string("the value of the setting ") + setting.name);
    }
    const std::string copies = file->Get("always_bcc").value_or("");
    if (!copies.empty()) {
        Result<std::string> target = stores::StoredCopyTarget(copies);
        if (!target) return std::move(target).reason();
    }
    for (const std::string& domain : settings.domains) {
        if (!names::StoredMailDomain(domain)) return Bad("a mail domain");
    }
    for (const settings::Blocklist& list : settings.blocklists) {
        if (!names::StoredMailDomain(list.server) || !names::IsBlocklistType(list.type)) {
            return Bad("a blocklist");
        }
    }
    return {};
}

Result<void> CheckAttachmentTypes(const std::string& folder)
{
    const Result<std::string> text = TextOf(folder + "/attachment_types");
    if (!text) return text.reason();
    std::istringstream words(*text);
    for (std::string word; words >> word;) {
        if (stores::StoredAttachmentType(word) != word) return Bad("a type of attachments");
    }
    return {};
}

/// Checks the names of rule sets and the rules in force. Other rules are checked when their set is
/// switched on.
Result<void> CheckRules(const std::string& folder)
{
    const fs::path sets = folder + "/rules";
    if (fs::exists(sets)) {
        for (const auto& entry : fs::directory_iterator(sets)) {
            if (!names::IsRuleSetName(entry.path().filename())) return Bad("name of a rule set");
        }
    }
    const Result<std::string> text = TextOf(folder + "/rules.cf");
    if (!text) return text.reason();
    const std::string heading = names::kRuleSetHeading;
    std::istringstream lines(*text);
    for (std::string line; std::getline(lines, line);) {
        if (line.rfind(heading, 0) == 0 && !names::IsRuleSetName(line.substr(heading.size()))) {
            return Bad("name of a rule set");
        }
    }
    return names::ReadListText(folder + "/rules.cf", names::CheckRuleLine);
}

bool IsStorable(const stores::Reply& reply)
{
    const auto stored = stores::StorableReply(reply.subject, reply.message);
    return stored && stored->subject == reply.subject && stored->message == reply.message;
}

Result<void> CheckAllPersonal(const std::string& folder, const StoredSettings& stored)
{
    const fs::path personal = folder + "/personal";
    if (!fs::exists(personal)) return {};
    for (const auto& entry : fs::directory_iterator(personal)) {
        Result<void> checked = CheckPersonal(entry.path(), stored);
        if (!checked) return std::move(checked).Prefixed(entry.path().stem().string() + ": ");
    }
    return {};
}

Result<void> CheckParts(const std::string& folder)
{
    using stores::AccountDatabase;

    const auto stored = StoredSettings::ReadFrom(folder);
    if (!stored) return stored.reason();
    const std::pair<const char*, std::function<Result<void>()>> parts[] = {
        {"settings", [&] { return CheckSettings(folder, *stored); }},
        {"aliases",
         [&] { return CheckAccountDatabase(AccountDatabase::kAlias, folder + "/alias.db"); }},
        {"lists",
         [&] { return CheckAccountDatabase(AccountDatabase::kMailvane, folder + "/mailvane.db"); }},
        {"attachment types", [&] { return CheckAttachmentTypes(folder); }},
        {"spam rules", [&] { return CheckRules(folder); }},
        {"report", [&] { return CheckReport(folder + "/report.conf"); }},
        {"personal settings", [&] { return CheckAllPersonal(folder, *stored); }},
    };
    for (const auto& [name, check] : parts) {
        Result<void> checked = check();
        if (!checked) return std::move(checked).Prefixed(std::string(name) + ": ");
    }
    return {};
}

}  // namespace

Result<void> CheckPersonal(const std::string& path, const StoredSettings& stored)
{
    const Result<std::string> text = TextOf(path);
    if (!text) return text.reason();
    const auto settings = stores::ParsePersonalSettings(*text);
    if (!settings) return settings.reason();

    if (!IsStorable(settings->generalReply) ||
        settings->senderReplies.size() > stores::kMostSenderReplies) {
        return Bad("a reply");
    }
    for (const stores::SenderReply& entry : settings->senderReplies) {
        if (!names::IsFullAddress(entry.sender) || !IsStorable(entry.reply)) return Bad("a reply");
    }
    return CheckForwarding(*settings, fs::path(path).stem(), stored);
}

Result<void> CheckStagedState(const std::string& folder)
{
    return system::Attempt("the state to restore", [&folder] { return CheckParts(folder); });
}

}  // namespace host::pages
