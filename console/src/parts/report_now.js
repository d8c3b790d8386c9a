// Sends a report at once, by the account that is stored, and says what the server made of it.
import { call } from "../lib/call.js";
import { meaning } from "../lib/failure.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { Problem } from "./problem.js";

export function ReportNow() {
    const [busy, setBusy] = useState(false);
    const [told, setTold] = useState(/** @type {any} */ (null));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));

    async function send() {
        setBusy(true);
        setTold(null);
        setFailure(null);
        await call("report_now").then(setTold, setFailure);
        setBusy(false);
    }

    return html`
        <section class="card">
            <div class="card-head"><h2>${t("report/now")}</h2>
                <button type="button" aria-disabled=${busy} onClick=${() => !busy && send()}>${t(busy ? "report/sending" : "report/send")}</button></div>
            <p class="help">${t("report/now_text")}</p>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <div role="status">${told && html`<p class=${told.taken ? "" : "error"}>
                ${t(told.taken ? "report/taken" : "report/not_taken", { to: told.to.join(", "), server: told.server || "–", port: told.port })}
                ${!told.taken && ` ${meaning(told)}`}</p>`}</div>
        </section>`;
}
