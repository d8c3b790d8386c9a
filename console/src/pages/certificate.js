// The certificate that the services show: what it says, another one in its place, or the package's own.
import { call, pause } from "../lib/call.js";
import { confirm } from "../lib/dialogs.js";
import { reach } from "../lib/use_settings.js";
import { moment, t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { CallDialog } from "../parts/call_dialog.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";
import { Problem } from "../parts/problem.js";
import { Status } from "../parts/status.js";

const SETTLES = 8;  // seconds in which the web server restarts after its answer
const SOON = 30;    // days before the end

/** @typedef {{installed: boolean, subject: string, issuer: string, names: string[], begins: number, ends: number,
 *             fingerprint: string, self_signed: boolean, host: string, for_host: boolean}} Shown */

/** How a change ended. kept: the web server did not take it, and the certificate before is in force;
 *  away: the server has not come back
 *  @typedef {"" | "waiting" | "done" | "kept" | "away"} End */

export function Certificate() {
    const loaded = useLoad((signal) => call("tls_show", {}, { signal }), []);
    const [isOpen, setOpen] = useState(false);
    const [end, setEnd] = useState(/** @type {End} */ (""));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));

    /** Finds out what is in force once the web server is back.
     *  @param {{web_server: string, fingerprint: string}} answer */
    async function settle({ web_server: webServer, fingerprint }) {
        setOpen(false);
        setFailure(null);
        setEnd("waiting");
        if (webServer === "restarts") await pause(SETTLES * 1000);
        const now = await reach(() => call("tls_show"));
        setEnd(!now ? "away" : now.fingerprint === fingerprint ? "done" : "kept");
        if (now) await loaded.reload();
    }

    async function remove() {
        const sure = await confirm({ title: t("certificate/remove"), text: t("certificate/remove_text"),
            action: t("certificate/remove"), danger: true });
        if (!sure) return;
        setEnd("waiting");
        try {
            await settle(await call("tls_remove"));
        } catch (fault) {
            setFailure(fault);
            setEnd("");
        }
    }

    const isBusy = end === "waiting";
    return html`
        <${Page} title=${t("certificate/title")} lead=${t("certificate/lead")} actions=${html`
            ${loaded.data?.installed && html`<button type="button" class="danger" aria-disabled=${isBusy}
                onClick=${() => !isBusy && remove()}>${t("certificate/remove")}</button>`}
            <button type="button" class="main" aria-disabled=${isBusy} onClick=${() => !isBusy && setOpen(true)}>${t("certificate/install")}</button>`}>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <div role="status">${end && html`<p class=${`card end ${end}`}>${t(`certificate/end_${end}`)}
                ${isBusy && html` <progress aria-label=${t("form/saving")}></progress>`}</p>`}</div>
            <${Shown} loaded=${loaded} lines=${7}>${(/** @type {Shown} */ shown) => html`<${Facts} ...${shown} />`}<//>
            ${isOpen && html`<${CallDialog} name="tls_install" title=${t("certificate/install")} action=${t("certificate/put_in_force")}
                lead=${t("certificate/install_text")} close=${() => setOpen(false)} done=${settle} />`}
        <//>`;
}

/** @param {Shown} props */
function Facts({ installed, subject, issuer, names, begins, ends, fingerprint, self_signed: isOwn, host, for_host: isForHost }) {
    const date = (/** @type {number} */ seconds) => moment(new Date(seconds * 1000), { dateStyle: "long" });
    const days = Math.floor((ends * 1000 - Date.now()) / 86_400_000);
    return html`
        <section class="card">
            <p class="actions">
                <${Status} tone=${installed ? "good" : "info"} text=${t(installed ? "certificate/is_installed" : "certificate/is_own")} />
                ${!isForHost && html`<${Status} tone="bad" text=${t("certificate/other_host", { host })} />`}
                ${isOwn && html`<${Status} tone="warning" text=${t("certificate/self_signed")} />`}
                ${days < SOON && html`<${Status} tone=${days < 0 ? "bad" : "warning"} text=${t(days < 0 ? "certificate/expired" : "certificate/ends_soon")} />`}
            </p>
            <dl class="facts">
                <dt>${t("certificate/for")}</dt><dd>${subject}</dd>
                <dt>${t("certificate/names")}</dt><dd>${names.join(", ") || "–"}</dd>
                <dt>${t("certificate/issuer")}</dt><dd>${issuer}</dd>
                <dt>${t("certificate/valid")}</dt><dd>${date(begins)} – ${date(ends)}</dd>
                <dt>SHA-256</dt><dd><code>${fingerprint}</code></dd>
            </dl>
            ${isOwn && html`<p class="help">${t("certificate/warned")}</p>`}
        </section>`;
}
