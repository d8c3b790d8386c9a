// The self-check: what was checked, the worst first, and what to do.
import { STATES, checkResult, runChecks, worstFirst } from "../lib/self_check.js";
import { useStore } from "../lib/store.js";
import { moment, t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { Skeleton } from "../parts/loading.js";
import { Page } from "../parts/page.js";
import { Problem } from "../parts/problem.js";
import { Status } from "../parts/status.js";

/** @type {Record<string, import("../parts/status.js").Tone>} */
const TONES = { OK: "good", WARNING: "warning", FAILED: "bad", OFF: "quiet", UNKNOWN: "info" };

// The page on which something can be done about a check.
/** @type {[RegExp, string][]} */
const PLACES = [
    [/^(smtps?(_tls)?_port|postfix|config_postfix|dns_address)$/, "smtp"],
    [/^(imaps?|pop3s?)_port$|^(config_)?dovecot$/, "imap_pop3"],
    [/^relay_login$/, "relay"],
    [/dkim|dmarc|^memcached$|^antivirus$|^virus_signatures$|^dns_blocklists$/, "security"],
    [/mailscanner|^spam_rules$/, "spam_config"],
];

/** The page for a check; "" when there is none.
 *  @param {string} key */
export const placeFor = (key) => PLACES.find(([pattern]) => pattern.test(key))?.[1] ?? "";

export function SelfCheck() {
    const result = useStore(checkResult);
    const [wanted, setWanted] = useState("");
    const rows = worstFirst(result.rows).filter(({ status }) => !wanted || status === wanted);
    const again = html`<button type="button" aria-disabled=${result.running} onClick=${runChecks}>
        ${t(result.running ? "self_check/running" : "self_check/again")}</button>`;
    return html`
        <${Page} title=${t("pages/pages/self_check")} actions=${again} lead=${lead(result)}>
            ${result.failure ? html`<${Problem} failure=${result.failure} retry=${runChecks}
                old=${result.rows.length > 0} />` : null}
            ${result.rows.length > 0 && html`
                <${Filter} rows=${result.rows} wanted=${wanted} choose=${setWanted} />
                <ul class="card checks" aria-busy=${result.running}>
                    ${rows.map((row) => html`<${Row} key=${row.key} ...${row} id=${row.key} />`)}
                </ul>`}
            ${!result.rows.length && result.running && html`<${Skeleton} lines=${12} />`}
        <//>`;
}

/** @param {typeof checkResult.value} result */
const lead = ({ at, running }) => (at && !running
    ? t("self_check/at", { time: moment(at, { timeStyle: "medium" }) }) : t("self_check/takes"));

/** @param {{rows: import("../lib/self_check.js").Check[], wanted: string, choose: (state: string) => void}} props */
function Filter({ rows, wanted, choose }) {
    const counts = STATES.map((state) => ({ state, count: rows.filter(({ status }) => status === state).length }));
    return html`
        <div class="segments" role="group" aria-label=${t("self_check/filter")}>
            <button type="button" aria-pressed=${!wanted} onClick=${() => choose("")}>
                ${t("self_check/all")} <b>${rows.length}</b></button>
            ${counts.filter(({ count }) => count).map(({ state, count }) => html`
                <button type="button" key=${state} aria-pressed=${wanted === state} onClick=${() => choose(state)}>
                    ${t(`self_check/${state.toLowerCase()}`)} <b>${count}</b></button>`)}
        </div>`;
}

/** @param {{id: string, status: import("../lib/self_check.js").Check["status"]}} props */
function Row({ id, status }) {
    const place = placeFor(id);
    return html`
        <li class=${status.toLowerCase()}>
            <${Status} tone=${TONES[status]} text=${t(`self_check/${status.toLowerCase()}`)} />
            <div>
                <b>${t(`checks/titles/${id}`)}</b>
                <p>${todo(id, status)} ${place && status !== "OK" && html`
                    <a href=${`#/${place}`}>${t(`pages/pages/${place}`)}</a>`}</p>
            </div>
        </li>`;
}

/** @param {string} key @param {string} status */
function todo(key, status) {
    const what = t(`checks/do/${key}`);
    if (status === "OK" || status === "OFF") return "";
    return status === "UNKNOWN" ? t("checks/any/unknown", { do: what }) : what;
}

/** The sentence that says whether all is well.
 *  @param {typeof checkResult.value} result */
export function verdict({ rows, running }) {
    if (!rows.length) return t(running ? "overview/checking" : "overview/not_checked");

    const count = (/** @type {string} */ state) => rows.filter(({ status }) => status === state).length;
    const [bad, doubtful, unknown] = ["FAILED", "WARNING", "UNKNOWN"].map(count);
    if (bad) return tn("overview/bad", bad + doubtful);
    if (doubtful) return tn("overview/doubtful", doubtful);
    return unknown ? tn("overview/unknown", unknown) : tn("overview/well", count("OK"));
}
