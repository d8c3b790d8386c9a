// The SMTP server and its accounts.
import { settingsPage } from "../parts/settings_page.js";

/** The account sources that this machine has.
 *  @param {string} name @param {any} stored */
const sources = (name, stored) =>
    name === "account_type" ? stored.acc_items?.map((/** @type {any} */ item) => item.type) : undefined;

/** What parks lists and aliases, or stops all mail.
 *  @param {Record<string, any>} draft */
const weighty = (draft) => Object.keys(draft).filter((name) =>
    ["account_type", "acc_domain_name"].includes(name) || (name === "smtp_enabled" && !draft[name]));

export const Smtp = settingsPage("smtp", { choices: sources, confirm: weighty });
