// Pages of lists that are made from their descriptions, or nearly.
import { call } from "../lib/call.js";
import { number, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { listPage } from "../parts/list_page.js";

/** The mail domain of the accounts, which comes before those of the list. */
function MainDomain() {
    const { data } = useLoad((signal) => call("load_smtp", {}, { signal }), []);
    return data && html`<p class="note above">${t("lists/main_domain")} <b>${data.acc_domain_name || data.smtp_hostname}</b>
        ${" "}<a href="#/smtp">${t("pages/pages/smtp")}</a></p>`;
}

/** What holds for logins that have no limit of their own. */
function CommonLimit() {
    const { data } = useLoad((signal) => call("load_security", {}, { signal }), []);
    if (!data) return null;
    const isOn = data.reject_sasl_sender_rate_exceed;
    return html`<p class="note above">
        ${t(isOn ? "lists/common_limit" : "lists/limits_are_off", { n: number(data.smtpd_sasl_sender_rate_limit) })}
        ${" "}<a href="#/security">${t("pages/pages/security")}</a></p>`;
}

const Privacy = () => html`<p class="note above">${t("lists/privacy")}</p>`;

/** Whose replies these are. */
const Own = () => html`<p class="note above">${t("lists/own_replies")}</p>`;

/** The beginning of a message.
 *  @param {{value: string}} props */
const Beginning = ({ value }) => html`<span class="beginning">${value}</span>`;

export const Domains = listPage("domains", { top: MainDomain });
export const Blocklists = listPage("blocklists");
export const AccessLists = listPage("access");
export const BlindCopies = listPage("blind_copies", { top: Privacy });
export const SenderLimits = listPage("sender_quota", { top: CommonLimit });
export const Attachments = listPage("attachments");
export const RuleSets = listPage("spam_rules");
export const BlackWhite = listPage("black_white");
export const Replies = listPage("replies", { top: Own, cells: { message: Beginning } });
