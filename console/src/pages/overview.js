// The first page: whether all is well, what to do, the traffic, and what bounced last.
import { call } from "../lib/call.js";
import { STATUS } from "../lib/log_query.js";
import { checkResult, problemsOf, worstFirst } from "../lib/self_check.js";
import { useStore } from "../lib/store.js";
import { language, t } from "../lib/texts.js";
import { SCALES, labelsOf } from "../lib/traffic.js";
import { classes, html, useMemo, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { Chart } from "../parts/chart.js";
import { Shown } from "../parts/loading.js";
import { MailTest } from "../parts/mail_test.js";
import { Page } from "../parts/page.js";
import { QueueCard } from "../parts/queue_card.js";
import { placeFor, verdict } from "./self_check.js";

const LAST = 10;  // bounced messages that are shown
const PERIODS = { 24: "day", 7: "week", 30: "month", 12: "year" };

export const Overview = () => html`
    <${Page} title=${t("pages/pages/overview")}>
        <${Verdict} />
        <${Traffic} />
        <${QueueCard} />
        <${Bounced} />
        <${MailTest} />
    <//>`;

function Verdict() {
    const result = useStore(checkResult);
    const problems = problemsOf(result.rows);
    const worst = worstFirst(result.rows)[0]?.status ?? "";
    return html`
        <section class=${classes("card verdict", worst.toLowerCase())}>
            <p class="sentence" role="status">${verdict(result)}</p>
            ${problems.length > 0 && html`<ul class="todo">
                ${problems.slice(0, 5).map(({ key }) => html`<li key=${key}><${Todo} check=${key} /></li>`)}
            </ul>`}
            ${result.rows.length > 0 && html`<p><a href="#/self_check">${t("overview/to_self_check")}</a></p>`}
        </section>`;
}

/** @param {{check: string}} props */
function Todo({ check }) {
    const place = placeFor(check);
    return html`<b>${t(`checks/titles/${check}`)}</b> – ${t(`checks/do/${check}`)}
        ${place && html` <a href=${`#/${place}`}>${t(`pages/pages/${place}`)}</a>`}`;
}

function Traffic() {
    const [scale, setScale] = useState(24);
    const [kind, setKind] = useState(0);
    const loaded = useLoad((signal) => call("overview_load", { type: kind, scale }, { signal })
        .then(({ statistic }) => ({ statistic, scale, kind })), [scale, kind]);
    return html`
        <section class="card">
            <div class="card-head">
                <h2>${t("overview/traffic")}</h2>
                <${Segments} label=${t("pages/members/periods")} value=${scale} choose=${setScale}
                    options=${SCALES.map((one) => [one, t(`pages/choices/periods.${/** @type {any} */ (PERIODS)[one]}`)])} />
                <${Segments} label=${t("pages/members/chart")} value=${kind} choose=${setKind}
                    options=${[[0, t("pages/choices/chart.numbers")], [1, t("pages/choices/chart.volume")]]} />
            </div>
            <${Shown} loaded=${loaded} lines=${7}>${drawn}<//>
        </section>`;
}

/** @param {{statistic: any[], scale: number, kind: number}} data */
const drawn = (data) => html`<${Drawn} ...${data} />`;

/** @param {{statistic: any[], scale: number, kind: number}} props */
function Drawn({ statistic, scale, kind }) {
    const name = useStore(language);
    const labels = useMemo(() => labelsOf(scale), [statistic, name]);
    const members = ["inbound", "outbound", ...(kind ? [] : ["bounce"])];
    const series = useMemo(() => members.map((member) => ({
        name: t(`overview/${member}`), tone: member,
        values: statistic.map((period) => Number(period[member])),
    })), [statistic, name]);
    return html`<${Chart} title=${t("overview/traffic")} unit=${t(kind ? "overview/in_kib" : "overview/messages")}
        labels=${labels} series=${series} />`;
}

/** @param {{label: string, value: number, options: [number, string][], choose: (value: number) => void}} props */
const Segments = ({ label, value, options, choose }) => html`
    <div class="segments" role="group" aria-label=${label}>
        ${options.map(([one, text]) => html`<button type="button" key=${one} aria-pressed=${one === value}
            onClick=${() => choose(one)}>${text}</button>`)}
    </div>`;

function Bounced() {
    const loaded = useLoad((signal) => call("load_log", {
        searchParams: JSON.stringify({ mail_status: STATUS.bounced }), limit: LAST, lang: "en",
    }, { signal }), []);
    return html`
        <section class="card">
            <div class="card-head"><h2>${t("overview/bounced")}</h2>
                <a href=${`#/log?status=${STATUS.bounced}`}>${t("overview/all_bounced")}</a></div>
            <${Shown} loaded=${loaded} lines=${4}>${(/** @type {any} */ { items }) => (items.length
                ? html`<${BouncedRows} rows=${items} />` : html`<p class="empty">${t("overview/none_bounced")}</p>`)}<//>
        </section>`;
}

/** @param {{rows: any[]}} props */
const BouncedRows = ({ rows }) => html`
    <table class="rows">
        <thead><tr><th scope="col">${t("pages/members/time")}</th><th scope="col">${t("pages/members/sender")}</th>
            <th scope="col">${t("pages/members/recipient")}</th></tr></thead>
        <tbody>${rows.map((row) => html`<tr>
            <td data-label=${t("pages/members/time")}>${row.date} ${row.time}</td>
            <td data-label=${t("pages/members/sender")}>${row.mail_from || "–"}</td>
            <td data-label=${t("pages/members/recipient")}>${row.mail_to || "–"}</td></tr>`)}</tbody>
    </table>`;
