// The documents about the settings, each made of the rows of the settings.
#pragma once

#include <array>
#include <string>

#include "host/libmailvane/settings/settings_table.h"

namespace describe {

/// A settings object, as the documents name it.
struct ObjectTitle {
    host::settings::SettingsObject object;
    const char* name;
    const char* title;
};

inline constexpr std::array<ObjectTitle, 3> kObjects = {{
    {host::settings::SettingsObject::kPostfix, "Postfix", "SMTP server"},
    {host::settings::SettingsObject::kImapPop3, "ImapPop3", "IMAP and POP3 server"},
    {host::settings::SettingsObject::kMailScanner, "MailScanner", "Mail scanner"},
}};

/// What administrators read: a table for each settings object.
std::string Markdown();

/// The schemas that the description of the API refers to.
std::string Yaml();

/// The English texts of the settings for the catalogue.
std::string Texts();

/// The key of a choice's title there.
std::string ChoiceKey(const char* setting, const char* value);

}  // namespace describe
