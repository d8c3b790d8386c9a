// The certificate that the services show: what it says, another one in its place, or the package's own.
import { call, pause } from "../lib/call.js";
import { factsOf, fingerprintOf, firstOf } from "../lib/certificate.js";
import { confirm } from "../lib/dialogs.js";
import { isUncertain, reach, useLifetime } from "../lib/reach.js";
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

/** How a change ended. lost: its answer was lost, and the server is asked; kept: the web server did not take
 *  the certificate, and the one before is in force; unsaved: the change did not come to that.
 *  @typedef {"" | "waiting" | "lost" | "done" | "kept" | "unsaved"} End */

export function Certificate() {
    const loaded = useLoad((signal) => call("tls_show", {}, { signal }), []);
    const [isOpen, setOpen] = useState(false);
    const [end, setEnd] = useState(/** @type {End} */ (""));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    const lifetime = useLifetime();

    /** Finds out what is in force once the web server is back.
     *  @param {(now: Shown) => boolean} isWanted @param {End} otherwise */
    async function settle(isWanted, otherwise) {
        setOpen(false);
        setFailure(null);
        const now = await reach(() => call("tls_show"), lifetime);
        if (lifetime.aborted) return;
        setEnd(now && isWanted(now) ? "done" : otherwise);
        await loaded.reload();
    }

    /** @param {{web_server: string, fingerprint: string}} answer */
    async function taken({ web_server: webServer, fingerprint }) {
        setOpen(false);
        setEnd("waiting");
        if (webServer === "restarts") await pause(SETTLES * 1000);
        await settle((now) => now.fingerprint === fingerprint, "kept");
    }

    /** The answer was lost: the certificates are compared.
     *  @param {Record<string, string>} typed */
    async function lost({ certificate }) {
        const bytes = firstOf(certificate);
        const wanted = bytes && (await fingerprintOf(bytes));
        setEnd("lost");
        await settle((now) => now.installed && now.fingerprint.toLowerCase() === wanted, "unsaved");
    }

    async function remove() {
        const sure = await confirm({ title: t("certificate/remove"), text: t("certificate/remove_text"),
            action: t("certificate/remove"), danger: true });
        if (!sure) return;
        setEnd("waiting");
        try {
            await taken(await call("tls_remove"));
        } catch (fault) {
            if (isUncertain(fault)) {
                setEnd("lost");
                return settle(({ installed }) => !installed, "unsaved");
            }
            setFailure(fault);
            setEnd("");
        }
    }

    const isBusy = end === "waiting" || end === "lost";
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
                lead=${t("certificate/install_text")} close=${() => setOpen(false)} done=${taken} lost=${lost}
                preview=${Pasted} />`}
        <//>`;
}

/** What a pasted certificate says of itself.
 *  @param {{values: Record<string, string>}} props */
function Pasted({ values: { certificate = "" } }) {
    const bytes = firstOf(certificate);
    const facts = bytes && factsOf(bytes);
    if (!facts) return null;

    const isOver = facts.ends < new Date();
    return html`
        <dl class="facts" role="status"><dt>${t("certificate/names")}</dt><dd>${facts.names.join(", ") || "–"}</dd>
            <dt>${t("certificate/valid")}</dt><dd>${date(facts.begins)} – ${date(facts.ends)}
                ${isOver && html` <${Status} tone="bad" text=${t("certificate/expired")} />`}</dd></dl>`;
}

/** @param {Date} day */
const date = (day) => moment(day, { dateStyle: "long" });

/** @param {Shown} props */
function Facts({ installed, subject, issuer, names, begins, ends, fingerprint, self_signed: isOwn, host, for_host: isForHost }) {
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
                <dt>${t("certificate/valid")}</dt><dd>${date(new Date(begins * 1000))} – ${date(new Date(ends * 1000))}</dd>
                <dt>SHA-256</dt><dd><code>${fingerprint}</code></dd>
            </dl>
            ${isOwn && html`<p class="help">${t("certificate/warned")}</p>`}
        </section>`;
}
