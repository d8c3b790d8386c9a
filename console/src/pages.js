// The pages: a row for each, in the order of the navigation.
//
// To add one: write its component in src/pages/NAME.js, and a row here. `title` is a path of the
// catalogue, `group` one of GROUPS or empty for what other pages lead to, `route` what stands in the address.
import api from "made-api";
import { Overview } from "./pages/overview.js";
import { AdvancedChecks, Mailboxes, SpamFilter } from "./pages/plain_settings.js";
import { SelfCheck } from "./pages/self_check.js";
import { Smtp } from "./pages/smtp.js";
import { room } from "./parts/later.js";

// Rooms whose pages are loaded when one of them is opened first; the other pages come at the start.
const lists = room(() => import("./rooms/lists.js"));
const upkeep = room(() => import("./rooms/upkeep.js"));

/** @typedef {{route: string, title: string, group: string, view: any, within?: string}} PageRow
 *  within: the route of the page that leads to it */

/** The parts of the navigation; one without pages is not shown. */
export const GROUPS = ["watch", "services", "filtering", "addresses", "server"];

/** @type {PageRow[]} */
export const PAGES = [
    { route: "overview", title: "pages/pages/overview", group: "watch", view: Overview },
    { route: "log", title: "pages/pages/mail_log", group: "watch", view: upkeep("MailLog") },
    { route: "queue", title: "queue/title", group: "watch", view: upkeep("Queue") },
    { route: "quarantine", title: "quarantine/title", group: "watch", view: upkeep("Quarantine") },
    { route: "self_check", title: "pages/pages/self_check", group: "watch", view: SelfCheck },

    { route: "smtp", title: "pages/pages/smtp", group: "services", view: Smtp },
    { route: "imap_pop3", title: "pages/pages/imap_pop3", group: "services", view: Mailboxes },
    { route: "relay", title: "pages/pages/relay", group: "services", view: upkeep("Relay") },
    { route: "domains", title: "pages/pages/domains", group: "services", view: lists("Domains") },
    { route: "dns", title: "dns/title", group: "services", view: upkeep("Dns") },
    { route: "certificate", title: "certificate/title", group: "services", view: upkeep("Certificate") },

    { route: "security", title: "pages/pages/security", group: "filtering", view: upkeep("Security") },
    { route: "keys", title: "keys/title", group: "filtering", view: upkeep("Keys") },
    { route: "spam_config", title: "pages/pages/spam_config", group: "filtering", view: SpamFilter },
    { route: "adv_anti_spam", title: "pages/pages/adv_anti_spam", group: "filtering", view: AdvancedChecks },
    { route: "blocklists", title: "pages/pages/blocklists", group: "filtering", view: lists("Blocklists") },
    { route: "black_white", title: "pages/pages/black_white", group: "filtering", view: lists("BlackWhite") },
    { route: "spam_rules", title: "pages/pages/spam_rules", group: "filtering", view: lists("RuleSets") },
    { route: "attachments", title: "pages/pages/attachments", group: "filtering", view: lists("Attachments") },

    { route: "aliases", title: "pages/pages/aliases", group: "addresses", view: lists("Aliases") },
    { route: "alias", title: "pages/pages/aliases", group: "", view: lists("AliasEditor"), within: "aliases" },
    { route: "users", title: "users/title", group: "addresses", view: lists("Users") },
    { route: "user", title: "users/title", group: "", view: lists("User"), within: "users" },
    { route: "access", title: "pages/pages/access", group: "addresses", view: lists("AccessLists") },
    { route: "blind_copies", title: "pages/pages/blind_copies", group: "addresses", view: lists("BlindCopies") },
    { route: "sender_quota", title: "pages/pages/sender_quota", group: "addresses", view: lists("SenderLimits") },
    { route: "replies", title: "pages/pages/replies", group: "addresses", view: lists("Replies") },

    { route: "report", title: "pages/pages/report", group: "server", view: upkeep("Report") },
    { route: "history", title: "history/title", group: "server", view: upkeep("History") },
    { route: "about", title: "about/title", group: "server", view: upkeep("About") },
];

// A list that is described has its page without a row.
for (const name of Object.keys(api.lists).filter((list) => !PAGES.some(({ route }) => route === list))) {
    PAGES.push({ route: name, title: `pages/pages/${name}`, group: "addresses", view: lists(({ listPage }) => listPage(name)) });
}
