// The users of the server, and forwarding and automatic reply of each.
import { candidates } from "../lib/candidates.js";
import { confirm } from "../lib/dialogs.js";
import { link, restate, route } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { t, tn } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";
import { Pager } from "../parts/pager.js";
import { SearchBox } from "../parts/search_box.js";
import { SettingsPage } from "../parts/settings_page.js";
import { Status } from "../parts/status.js";

const ROWS = 50;  // of a page
const USER = 0;

/** How the states of accounts look, by the action's number.
 *  @type {Record<number, [import("../parts/status.js").Tone, string]>} */
const STATES = {
    1: ["good", "usable"], 2: ["warning", "expired"], 3: ["bad", "no_address"], [-1]: ["quiet", "unknown"],
};

export function Users() {
    const { params: { q = "", page = "1" } } = useStore(route);
    const shown = Math.max(1, Math.floor(Number(page)) || 1);
    const loaded = useLoad((signal) => candidates(USER, { query: q, start: (shown - 1) * ROWS, limit: ROWS }, signal), [q, shown]);
    return html`
        <${Page} title=${t("users/title")} lead=${t("users/lead")}>
            <div class="list-head">
                <${SearchBox} value=${q} search=${(/** @type {string} */ text) => restate({ q: text })} />
                <p class="count-line" role="status">${loaded.data && tn(q ? "lists/found" : "lists/total", loaded.data.total)}</p>
            </div>
            <${Shown} loaded=${loaded} lines=${8}>${(/** @type {any} */ { items, total }) => html`
                ${total ? html`<${Table} users=${items} busy=${loaded.loading} />`
                    : html`<p class="card empty">${t(q ? "lists/no_match" : "users/none")}</p>`}
                <${Pager} page=${shown} pages=${Math.ceil(total / ROWS)}
                    turn=${(/** @type {number} */ to) => restate({ q, page: to === 1 ? "" : to })} />`}<//>
        <//>`;
}

/** @param {{users: import("../lib/candidates.js").Candidate[], busy: boolean}} props */
const Table = ({ users, busy }) => html`
    <table class="rows listed" aria-busy=${busy}>
        <thead><tr><th scope="col">${t("pages/members/login")}</th><th scope="col">${t("pages/members/account_status")}</th></tr></thead>
        <tbody>${users.map(({ name, status = -1 }) => html`<tr key=${name}>
            <td data-label=${t("pages/members/login")}><a href=${link("user", { name })}>${name}</a></td>
            <td data-label=${t("pages/members/account_status")}><${Status} tone=${STATES[status]?.[0] ?? "quiet"}
                text=${t(`pages/choices/account.${STATES[status]?.[1] ?? "unknown"}`)} /></td></tr>`)}</tbody>
    </table>`;

/** The text of a reply is stored but not loaded while the reply is off, and a save takes what it is sent:
 *  an empty one is not sent unasked.
 *  @param {any} draft @param {any} stored */
async function keepsText(draft, stored) {
    const next = { ...stored, ...draft };
    if (stored.reply_enable || next.reply_enable || next.subject || next.message) return true;
    return confirm({ title: t("users/text_title"), text: t("users/text_lost"), action: t("form/save"), danger: true });
}

export function User() {
    const { params: { name = "" } } = useStore(route);
    return html`<${SettingsPage} key=${name} name="personal" additions=${{
        given: { user: name }, before: keepsText, lead: html`<b>${name}</b> <a href="#/users">${t("users/all")}</a>`,
    }} />`;
}
