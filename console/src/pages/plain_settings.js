// Pages of settings that are wholly made from their descriptions, or nearly.
import { t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { settingsPage } from "../parts/settings_page.js";

/** Another package has taken the ports of the mailboxes.
 *  @param {{stored: any}} props */
const PortsTaken = ({ stored }) => stored.conflict_ports && html`
    <p class="note warning" role="status">${t("mailboxes/ports_taken", { ports: stored.conflict_ports })}</p>`;

export const AdvancedChecks = settingsPage("adv_anti_spam");
export const Mailboxes = settingsPage("imap_pop3", { top: PortsTaken });
export const SpamFilter = settingsPage("spam_config");
