// The recipients of the report, and its settings for those who are no page: what there is to set,
// reading it, changing it, checks of what comes from elsewhere.
#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host/libhaldcore/result.h"
#include "host/libmailvane/settings/settings_table.h"

namespace host::pages {

/// A setting of the report, as its file and as requests name it.
struct ReportSetting {
    const char* name;
    const char* member;
    settings::SettingType type;
    int highest;  ///< of a number, whose least value is 0
    bool isPassword;
    const char* help;  ///< a whole sentence
};

inline constexpr ReportSetting kReportSettings[] = {
    {"enabled", "enable_report", settings::SettingType::kBool, 1, false,
     "The report is sent every day."},
    {"rcpt", "report_rcpt", settings::SettingType::kText, 0, false,
     "It goes to these addresses, with commas between."},
    {"sender_name", "report_sender_name", settings::SettingType::kText, 0, false,
     "The name of its sender."},
    {"sender_mail", "report_sender_mail", settings::SettingType::kText, 0, false,
     "The address of its sender."},
    {"hours", "hours", settings::SettingType::kInt, 23, false, "It is sent in this hour."},
    {"mins", "mins", settings::SettingType::kInt, 59, false, "It is sent in this minute of it."},
    {"smtp_provider", "smtp_provider", settings::SettingType::kText, 0, false,
     "The name of who runs the server that it is sent by."},
    {"smtp_server", "smtp_server", settings::SettingType::kText, 0, false,
     "It is sent by this server; by this machine where none is given."},
    {"smtp_port", "smtp_port", settings::SettingType::kInt, 65535, false,
     "The port of that server."},
    {"smtp_auth", "smtp_auth", settings::SettingType::kBool, 1, false,
     "That server wants a login."},
    {"smtp_account", "auth_name", settings::SettingType::kText, 0, false, "The name of the login."},
    {"smtp_password", "auth_password", settings::SettingType::kText, 0, true,
     "The password of the login."},
    {"smtp_secure", "smtp_security_conn", settings::SettingType::kBool, 1, false,
     "That server is only spoken to with TLS."},
};

/// The row of a name. In a constant expression an unknown name is a compile error.
constexpr const ReportSetting& ReportSettingOf(std::string_view name)
{
    for (const ReportSetting& setting : kReportSettings) {
        if (setting.name == name) return setting;
    }
    throw "no such setting of the report";
}

/// The values of these settings in the file at `path`, in stored spelling; the defaults when there
/// is none.
Result<std::map<std::string, std::string>> ReadReport(const std::string& path);

/// Changes some of them, or refuses what the page would. `typesPassword` says that the password is
/// one of them. A reason is about the member of the setting.
Result<void> ChangeReport(const std::string& path,
                          const std::map<std::string, std::string>& changes, bool typesPassword);

/// The addresses of a list separated by commas or semicolons, trimmed, without empty ones.
std::vector<std::string> ReportRecipients(const std::string& list);

/// Refuses the stored settings at `path` when the page would; there may be none.
Result<void> CheckReport(const std::string& path);

}  // namespace host::pages
