// The pages: a row for each, in the order of the navigation.
//
// To add one: write its component in src/pages/NAME.js, and a row here. `title` is a path of the
// catalogue, `group` one of GROUPS or empty for what other pages lead to, `route` what stands in the address.
import api from "made-api";
import { About } from "./pages/about.js";
import { AliasEditor } from "./pages/alias.js";
import { Aliases } from "./pages/aliases.js";
import { AccessLists, Attachments, BlackWhite, BlindCopies, Blocklists, Domains, Replies, RuleSets, SenderLimits } from
    "./pages/lists.js";
import { Certificate } from "./pages/certificate.js";
import { Dns } from "./pages/dns.js";
import { History } from "./pages/history.js";
import { Keys } from "./pages/keys.js";
import { MailLog } from "./pages/mail_log.js";
import { Overview } from "./pages/overview.js";
import { Quarantine } from "./pages/quarantine.js";
import { Queue } from "./pages/queue.js";
import { SelfCheck } from "./pages/self_check.js";
import { AdvancedChecks, Mailboxes, Relay, Report, SpamFilter } from "./pages/plain_settings.js";
import { Security } from "./pages/security.js";
import { listPage } from "./parts/list_page.js";
import { Smtp } from "./pages/smtp.js";
import { User, Users } from "./pages/users.js";

/** @typedef {{route: string, title: string, group: string, view: any, within?: string}} PageRow
 *  within: the route of the page that leads to it */

/** The parts of the navigation; one without pages is not shown. */
export const GROUPS = ["watch", "services", "filtering", "addresses", "server"];

/** @type {PageRow[]} */
export const PAGES = [
    { route: "overview", title: "pages/pages/overview", group: "watch", view: Overview },
    { route: "log", title: "pages/pages/mail_log", group: "watch", view: MailLog },
    { route: "queue", title: "queue/title", group: "watch", view: Queue },
    { route: "quarantine", title: "quarantine/title", group: "watch", view: Quarantine },
    { route: "self_check", title: "pages/pages/self_check", group: "watch", view: SelfCheck },

    { route: "smtp", title: "pages/pages/smtp", group: "services", view: Smtp },
    { route: "imap_pop3", title: "pages/pages/imap_pop3", group: "services", view: Mailboxes },
    { route: "relay", title: "pages/pages/relay", group: "services", view: Relay },
    { route: "domains", title: "pages/pages/domains", group: "services", view: Domains },
    { route: "dns", title: "dns/title", group: "services", view: Dns },
    { route: "certificate", title: "certificate/title", group: "services", view: Certificate },

    { route: "security", title: "pages/pages/security", group: "filtering", view: Security },
    { route: "keys", title: "keys/title", group: "filtering", view: Keys },
    { route: "spam_config", title: "pages/pages/spam_config", group: "filtering", view: SpamFilter },
    { route: "adv_anti_spam", title: "pages/pages/adv_anti_spam", group: "filtering", view: AdvancedChecks },
    { route: "blocklists", title: "pages/pages/blocklists", group: "filtering", view: Blocklists },
    { route: "black_white", title: "pages/pages/black_white", group: "filtering", view: BlackWhite },
    { route: "spam_rules", title: "pages/pages/spam_rules", group: "filtering", view: RuleSets },
    { route: "attachments", title: "pages/pages/attachments", group: "filtering", view: Attachments },

    { route: "aliases", title: "pages/pages/aliases", group: "addresses", view: Aliases },
    { route: "alias", title: "pages/pages/aliases", group: "", view: AliasEditor, within: "aliases" },
    { route: "users", title: "users/title", group: "addresses", view: Users },
    { route: "user", title: "users/title", group: "", view: User, within: "users" },
    { route: "access", title: "pages/pages/access", group: "addresses", view: AccessLists },
    { route: "blind_copies", title: "pages/pages/blind_copies", group: "addresses", view: BlindCopies },
    { route: "sender_quota", title: "pages/pages/sender_quota", group: "addresses", view: SenderLimits },
    { route: "replies", title: "pages/pages/replies", group: "addresses", view: Replies },

    { route: "report", title: "pages/pages/report", group: "server", view: Report },
    { route: "history", title: "history/title", group: "server", view: History },
    { route: "about", title: "about/title", group: "server", view: About },
];

// A list that is described has its page without a row.
for (const name of Object.keys(api.lists).filter((list) => !PAGES.some(({ route }) => route === list))) {
    PAGES.push({ route: name, title: `pages/pages/${name}`, group: "addresses", view: listPage(name) });
}
