// The users of the server: who there is, what they type into a mail program, forwarding and reply of each.
import { listed } from "../lib/answers.js";
import { call } from "../lib/call.js";
import { candidates } from "../lib/candidates.js";
import { confirm } from "../lib/dialogs.js";
import { reasonsOf } from "../lib/failure.js";
import { link, restate, route } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CallDialog } from "../parts/call_dialog.js";
import { Dialog } from "../parts/dialog.js";
import { Shown } from "../parts/loading.js";
import { MailAccess } from "../parts/mail_access.js";
import { Page } from "../parts/page.js";
import { Pager } from "../parts/pager.js";
import { SearchBox } from "../parts/search_box.js";
import { SettingsPage } from "../parts/settings_page.js";
import { Status } from "../parts/status.js";
import { UserAccount } from "./user_account.js";

const ROWS = 50;  // of a page
const USER = 0;

/** How the states of accounts look, by the action's number.
 *  @type {Record<number, [import("../parts/status.js").Tone, string]>} */
const STATES = {
    1: ["good", "usable"], 2: ["warning", "expired"], 3: ["bad", "no_address"], [-1]: ["quiet", "unknown"],
};

/** `address` is missing where users are managed elsewhere, `status` where they are managed here.
 *  @typedef {{name: string, status?: number, address?: string, administrator?: boolean, shell?: boolean}} UserRow */

/** A page of the users; `here`: they are managed on this machine.
 *  @param {string} query @param {number} start @param {AbortSignal} signal
 *  @returns {Promise<{users: UserRow[], total: number, here: boolean}>} */
async function loadUsers(query, start, signal) {
    try {
        const { users, total } = await call("user_list", { ...(query && { query }), start, limit: ROWS }, { signal });
        return { users: listed(users), total, here: true };
    } catch (failure) {
        if (!reasonsOf(failure).some(({ setting }) => setting === "account_type")) throw failure;
    }
    const { items, total } = await candidates(USER, { query, start, limit: ROWS }, signal);
    return { users: items, total, here: false };
}

export function Users() {
    const { params: { q = "", page = "1" } } = useStore(route);
    const shown = Math.max(1, Math.floor(Number(page)) || 1);
    const loaded = useLoad((signal) => loadUsers(q, (shown - 1) * ROWS, signal), [q, shown]);
    return html`
        <${Page} title=${t("users/title")} lead=${t("users/lead")}
            actions=${loaded.data?.here && html`<${AddUser} added=${loaded.reload} />`}>
            <div class="list-head">
                <${SearchBox} value=${q} search=${(/** @type {string} */ text) => restate({ q: text })} />
                <p class="count-line" role="status">${loaded.data && tn(q ? "lists/found" : "lists/total", loaded.data.total)}</p>
            </div>
            <${Shown} loaded=${loaded} lines=${8}>${(/** @type {any} */ { users, total, here }) => html`
                ${!here && html`<p class="note above">${t("users/elsewhere")}</p>`}
                ${total ? html`<${Table} users=${users} here=${here} busy=${loaded.loading} />`
                    : html`<p class="card empty">${t(q ? "lists/no_match" : "users/none")}</p>`}
                <${Pager} page=${shown} pages=${Math.ceil(total / ROWS)}
                    turn=${(/** @type {number} */ to) => restate({ q, page: to === 1 ? "" : to })} />`}<//>
        <//>`;
}

/** @param {{users: UserRow[], here: boolean, busy: boolean}} props */
const Table = ({ users, here, busy }) => html`
    <table class="rows listed" aria-busy=${busy}>
        <thead><tr><th scope="col">${t("pages/members/login")}</th>${here && html`<th scope="col">${t("users/address")}</th>`}
            <th scope="col">${t(here ? "users/rights" : "pages/members/account_status")}</th></tr></thead>
        <tbody>${users.map((user) => html`<tr key=${user.name}>
            <td data-label=${t("pages/members/login")}><a href=${link("user", { name: user.name })}>${user.name}</a></td>
            ${here && html`<td data-label=${t("users/address")}>${user.address}</td>`}
            <td data-label=${t(here ? "users/rights" : "pages/members/account_status")}>${here ? html`<${Rights} ...${user} />`
                : html`<${State} ...${user} />`}</td></tr>`)}</tbody>
    </table>`;

/** @param {UserRow} props */
const Rights = ({ administrator, shell }) => html`<span class="actions">
    ${administrator && html`<${Status} tone="info" text=${t("users/administrator")} />`}
    ${shell && html`<${Status} tone="quiet" text=${t("users/shell")} />`}
    ${!administrator && !shell && t("users/mail_only")}</span>`;

/** @param {UserRow} props */
const State = ({ status = -1 }) => html`<${Status} tone=${STATES[status]?.[0] ?? "quiet"}
    text=${t(`pages/choices/account.${STATES[status]?.[1] ?? "unknown"}`)} />`;

/** @param {{added: () => void}} props */
function AddUser({ added }) {
    const [isOpen, setOpen] = useState(false);
    const [access, setAccess] = useState(/** @type {any} */ (null));
    const close = () => setAccess(null);
    return html`
        <button type="button" class="main" onClick=${() => setOpen(true)}>${t("users/add")}</button>
        ${isOpen && html`<${CallDialog} name="user_add" title=${t("users/add")} action=${t("users/make")} lead=${t("users/add_text")}
            close=${() => setOpen(false)} done=${(/** @type {any} */ answer) => {
                setOpen(false);
                setAccess(answer);
                added();
            }} />`}
        ${access && html`<${Dialog} title=${t("users/is_made", { name: access.login })} close=${close}>
            <p>${t("users/hand_on")}</p><${MailAccess} access=${access} />
            <p class="actions"><button type="button" class="main" onClick=${close}>${t("shell/close")}</button></p><//>`}`;
}

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
    }} /><${UserAccount} key=${`account ${name}`} name=${name} />`;
}
