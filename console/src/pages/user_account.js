// The account of a user on this machine: what it types into a mail program, its password, its end.
import { call } from "../lib/call.js";
import { ask } from "../lib/dialogs.js";
import { reasonsOf } from "../lib/failure.js";
import { notify } from "../lib/notices.js";
import { go } from "../lib/router.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CallDialog } from "../parts/call_dialog.js";
import { MailAccess } from "../parts/mail_access.js";
import { Problem } from "../parts/problem.js";

const LOOKED_UP = 1000;  // users whose names hold this one

/** @param {string} name @param {AbortSignal} signal */
async function loadAccount(name, signal) {
    const { users } = await call("user_list", { query: name, limit: LOOKED_UP }, { signal });
    const user = users.find((/** @type {any} */ one) => one.name === name);
    return user && { user, access: await call("user_show", { name }, { signal }) };
}

/** @param {{name: string}} props */
export function UserAccount({ name }) {
    const { data, failure } = useLoad((signal) => loadAccount(name, signal), [name]);
    const isElsewhere = reasonsOf(failure).some(({ setting }) => setting === "account_type");
    if (failure && !isElsewhere) return html`<${Problem} failure=${failure} />`;
    if (!data) return null;

    const { user, access } = data;
    return html`
        <section class="card"><h2>${t("access/title")}</h2><${MailAccess} access=${access} /></section>
        <${Ways} user=${user} />`;
}

/** @param {{user: {name: string, home: string, administrator: boolean, shell: boolean}}} props */
function Ways({ user: { name, home, administrator, shell } }) {
    const [isOpen, setOpen] = useState(false);
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    if (administrator || shell) {
        return html`<section class="card"><h2>${t("users/account")}</h2><p class="help">${t("users/not_changed_here")}</p></section>`;
    }

    async function remove() {
        const choice = await ask({
            title: t("users/remove_title", { name }), text: t("users/remove_text", { home }), word: name, danger: true,
            action: t("users/remove_keep"), other: t("users/remove_delete"),
        });
        if (!choice) return;
        try {
            const { aliases } = await call("user_remove", { name, mailbox: choice === "other" ? "delete" : "keep" });
            go("users");
            notify(t("users/removed", { name }));
            if (aliases.length) notify(t("users/in_aliases", { aliases: aliases.join(", ") }), "bad");
        } catch (fault) {
            setFailure(fault);
        }
    }

    return html`
        <section class="card">
            <h2>${t("users/account")}</h2>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <p class="actions">
                <button type="button" onClick=${() => setOpen(true)}>${t("users/password")}</button>
                <button type="button" class="danger" onClick=${remove}>${t("users/remove")}</button>
            </p>
            ${isOpen && html`<${CallDialog} name="user_password" title=${t("users/password_title", { name })} action=${t("users/password_set")}
                given=${{ name }} close=${() => setOpen(false)} done=${() => {
                    setOpen(false);
                    notify(t("users/password_is_set", { name }));
                }} />`}
        </section>`;
}
