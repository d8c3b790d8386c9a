// The rows of all settings. To add one, add it to the table of its settings object: what stores,
// loads and describes settings goes by these rows.
#pragma once

#include <string_view>

#include "host/libmailvane/settings/advanced_rows.h"
#include "host/libmailvane/settings/mailbox_rows.h"
#include "host/libmailvane/settings/relay_rows.h"
#include "host/libmailvane/settings/scanner_rows.h"
#include "host/libmailvane/settings/security_rows.h"
#include "host/libmailvane/settings/smtp_rows.h"

namespace host::settings {

/// Calls `use` with each row, grouped by object, in the order of the key lists.
template <typename Use>
constexpr void ForEachRow(Use&& use)
{
    for (const SettingRow& row : kSmtpRows) use(row);
    for (const SettingRow& row : kRelayRows) use(row);
    for (const SettingRow& row : kSecurityRows) use(row);
    for (const SettingRow& row : kAdvancedRows) use(row);
    for (const SettingRow& row : kMailboxRows) use(row);
    for (const SettingRow& row : kScannerRows) use(row);
}

constexpr std::size_t RowsNamed(std::string_view name)
{
    std::size_t count = 0;
    ForEachRow([&](const SettingRow& row) { count += row.name.text == name ? 1 : 0; });
    return count;
}

constexpr bool NamesAreDistinct()
{
    bool distinct = true;
    ForEachRow([&](const SettingRow& row) { distinct &= RowsNamed(row.name.text) == 1; });
    return distinct;
}

constexpr bool NeedsAreSettings()
{
    bool known = true;
    ForEachRow([&](const SettingRow& row) {
        const std::string_view needed = row.needs.setting;
        known &= needed.empty() || (needed != row.name.text && RowsNamed(needed) == 1);
    });
    return known;
}

static_assert(NamesAreDistinct());
static_assert(NeedsAreSettings());

}  // namespace host::settings
