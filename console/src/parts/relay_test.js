// Tries the relay host that is stored, and tells each step.
import { call } from "../lib/call.js";
import { meaning } from "../lib/failure.js";
import { t } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { Problem } from "./problem.js";
import { Status } from "./status.js";

/** @typedef {{server: string, port: number, works: boolean, step: string, code: string, status: number}} Told */

/** @param {{stored: any, draft: any}} props */
export function RelayTest({ stored, draft }) {
    const [busy, setBusy] = useState(false);
    const [told, setTold] = useState(/** @type {Told | null} */ (null));
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    if (!stored.smtp_relay_enabled) return null;

    async function attempt() {
        setBusy(true);
        setTold(null);
        setFailure(null);
        await call("relay_test").then(setTold, setFailure);
        setBusy(false);
    }

    const isOther = Object.keys(draft).length > 0;
    return html`
        <section class="card">
            <div class="card-head"><h2>${t("relay/title")}</h2>
                <button type="button" aria-disabled=${busy} onClick=${() => !busy && attempt()}>
                    ${t(busy ? "relay/trying" : "relay/try")}</button></div>
            <p class="help">${t(isOther ? "relay/as_stored" : "relay/lead")}</p>
            ${failure ? html`<${Problem} failure=${failure} />` : null}
            <div role="status">${told && html`<${Steps} told=${told} stored=${stored} />`}</div>
        </section>`;
}

/** How far it came. Where the answers were no good, it is not known what had gone before.
 *  @param {{told: Told, stored: any}} props */
function Steps({ told: { server, port, works, step, code, status }, stored }) {
    const steps = ["name", "connection", ...(stored.smtp_relay_tls ? ["encryption"] : []),
        ...(stored.smtp_relay_auth ? ["login"] : []), "answer"];
    const known = step === "answer" ? 2 : works ? steps.length : steps.indexOf(step);
    return html`
        <p><b>${t(works ? "relay/works" : "relay/fails", { server, port })}</b></p>
        <ol class="steps">${steps.map((one, index) => html`<li key=${one}>
            ${one === step ? html`<${Status} tone="bad" text=${t("relay/bad")} />`
                : html`<${Status} tone=${index < known ? "good" : "quiet"} text=${t(index < known ? "relay/good" : "relay/open")} />`}
            <div>${t(`relay/step_${one}`)}${one === step && html`<p class="help">${meaning({ code })}
                ${status > 0 && ` ${t("relay/status", { status })}`}</p>`}</div></li>`)}</ol>`;
}
