// Sends a message to a user of this server, and tells what became of it.
import { call } from "../lib/call.js";
import { reasonsOf } from "../lib/failure.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { FormField } from "./field.js";
import { LogLines } from "./log_lines.js";
import { Problem } from "./problem.js";
import { Status } from "./status.js";

/** @typedef {{to: string, outcome: "delivered" | "waits" | "refused", reason: string, id: string}} Told */

/** @type {Record<Told["outcome"], import("./status.js").Tone>} */
const TONES = { delivered: "good", waits: "warning", refused: "bad" };

/** @type {Field} */
const TO = { type: "string", title: "mail_test/to", format: "login" };

export function MailTest() {
    const [to, setTo] = useState("");
    const [busy, setBusy] = useState(false);
    const [told, setTold] = useState(/** @type {Told | null} */ (null));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));

    /** @param {Event} event */
    async function submit(event) {
        event.preventDefault();
        if (busy) return;
        setBusy(true);
        setTold(null);
        setFailure(null);
        await call("mail_test", { to: to.trim() }).then(setTold, setFailure);
        setBusy(false);
    }

    const isSoon = reasonsOf(failure).some(({ code }) => code === "too_many");
    return html`
        <section class="card" aria-labelledby="mail-test">
            <form onSubmit=${submit} novalidate>
                <div class="card-head"><h2 id="mail-test">${t("mail_test/title")}</h2>
                    <button aria-disabled=${busy}>${t(busy ? "mail_test/sending" : "mail_test/send")}</button></div>
                <${FormField} name="mail-test" field=${TO} value=${to} stored=${undefined} changed=${false} disabled=${busy}
                    change=${setTo} note=${html`<p class="help">${t("mail_test/postmaster")}</p>`} />
            </form>
            ${isSoon ? html`<p class="note" role="status">${t("mail_test/soon")}</p>` : failure ? html`<${Problem} failure=${failure} />` : null}
            <div role="status">${told && html`<p class="actions">
                <${Status} tone=${TONES[told.outcome]} text=${t(`mail_test/is_${told.outcome}`)} /> <b>${told.to}</b>
                ${told.reason || (told.outcome === "waits" && t("mail_test/no_reason"))}
                ${told.outcome === "waits" && html`<a href="#/queue">${t("queue/title")}</a>`}</p>`}</div>
            ${told?.id && html`<${LogLines} key=${told.id} id=${told.id} />`}
        </section>`;
}
