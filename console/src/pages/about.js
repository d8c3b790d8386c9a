// What this is, in which version, whose work is in it, and the password of whoever is signed in.
import site from "made-site";
import { call } from "../lib/call.js";
import { Failure } from "../lib/failure.js";
import { notify } from "../lib/notices.js";
import { renewLogin, session } from "../lib/session.js";
import { useStore } from "../lib/store.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CallDialog } from "../parts/call_dialog.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";

export function About() {
    const about = useLoad(async (signal) => {
        const found = await call("about", {}, { signal });
        if (!found.version) throw new Failure("no_answer");
        return found;
    }, []);
    const source = useLoad((signal) => call("get_account_type", {}, { signal }), []);
    return html`
        <${Page} title=${t("about/title")}>
            <section class="card">
                <${Shown} loaded=${about} lines=${5}>${(/** @type {any} */ { caller, version, host, handed_over: handedOver, since }) => html`
                    <dl class="facts">
                        <dt>${t("about/package")}</dt><dd>${version}</dd>
                        <dt>${t("about/version")}</dt><dd>${site.version}</dd>
                        <dt>${t("about/server")}</dt><dd>${host}</dd>
                        <dt>${t("about/machine")}</dt><dd>${t(handedOver ? "about/handed_over" : "about/not_handed_over", { since })}</dd>
                        <dt>${t("shell/signed_in_as")}</dt><dd>${caller}</dd>
                        <dt>${t("settings/titles/account_type")}</dt>
                        <dd>${source.data && t(`settings/choices/account_type.${source.data.accountType}`)}</dd>
                    </dl>`}<//>
            </section>
            <${OwnLogin} />
            <section class="card">
                <h2>${t("about/help")}</h2>
                <p>${t("about/help_text")} <a href="help/index.html" target="_blank" rel="noopener">${t("about/documents")}</a></p>
            </section>
            <section class="card">
                <h2>${t("about/libraries")}</h2>
                <p>${t("about/made_with")} <a href=${site.licences} target="_blank" rel="noopener">${t("about/licences")}</a></p>
            </section>
        <//>`;
}

function OwnLogin() {
    const { user } = useStore(session);
    const [isOpen, setOpen] = useState(false);

    /** The server restarts with the new password; the page goes on once it takes it.
     *  @param {any} _ @param {Record<string, any>} values */
    async function done(_, values) {
        const isTaken = await renewLogin(values.new);
        setOpen(false);
        notify(t(isTaken ? "about/changed" : "about/not_taken"), isTaken ? "good" : "bad");
    }

    return html`
        <section class="card">
            <div class="card-head"><h2>${t("about/own_login")}</h2>
                <button type="button" onClick=${() => setOpen(true)}>${t("about/own_password")}</button></div>
            <p>${t("shell/signed_in_as")} <b>${user || t("sign_in/owner")}</b>. ${t("about/own_text")}</p>
            ${isOpen && html`<${CallDialog} name="own_password" title=${t("about/own_password")} action=${t("about/change")}
                close=${() => setOpen(false)} done=${done} />`}
        </section>`;
}
