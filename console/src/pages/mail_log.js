// The mail log: what became of each message. The server searches, filters, sorts and pages.
import { listed } from "../lib/answers.js";
import { call } from "../lib/call.js";
import { serverZone } from "../lib/days.js";
import { ROWS, filterCount, pageOf, query } from "../lib/log_query.js";
import { restate, route } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { language, t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";
import { LogLines } from "../parts/log_lines.js";
import { Shown } from "../parts/loading.js";
import { Page } from "../parts/page.js";
import { Pager } from "../parts/pager.js";
import { SortHeading } from "../parts/sort_heading.js";
import { Status } from "../parts/status.js";
import { GoToDay } from "./mail_log_day.js";
import { LogFilters } from "./mail_log_filters.js";
import { LogTools } from "./mail_log_tools.js";

/** @type {Record<string, {label: string, tone: import("../parts/status.js").Tone}>} */
const LOOKS = {
    sent: { label: "log/maillog/send", tone: "info" },
    received: { label: "log/maillog/receive", tone: "good" },
    bounced: { label: "log/maillog/bounce", tone: "bad" },
    sent_again: { label: "log/maillog/resend", tone: "warning" },
};

/** @typedef {{message_id: string, date: string, time: string, size: string, status: string,
 *             mail_to: string, mail_from: string}} LogRow */

/** @type {[keyof LogRow, string][]} */
const COLUMNS = [
    ["date", "pages/members/time"], ["status", "pages/members/log_status"],
    ["mail_from", "pages/members/sender"], ["mail_to", "pages/members/recipient"],
    ["size", "pages/members/size"],
];

export function MailLog() {
    const { params } = useStore(route);
    const lang = useStore(language);
    const loaded = useLoad(async (signal) => {
        const zone = params.from || params.to ? await serverZone() : "";
        const answer = await call(...query(params, (pageOf(params) - 1) * ROWS, ROWS, lang, zone), { signal });
        // A search without a match answers one object of empty texts in the place of the list.
        return { ...answer, items: answer.total === 0 ? [] : listed(answer.items) };
    }, [JSON.stringify(params), lang]);
    return html`
        <${Page} title=${t("pages/pages/mail_log")} actions=${html`<${LogTools} params=${params} reload=${loaded.reload} />`}>
            <${LogFilters} params=${params} />
            <${Shown} loaded=${loaded} lines=${14}>${(/** @type {any} */ answer) => html`
                <${Entries} ...${answer} params=${params} busy=${loaded.loading} />`}<//>
        <//>`;
}

/** @param {{items: LogRow[], total: number, params: Record<string, string>, busy: boolean}} props */
function Entries({ items, total, params, busy }) {
    if (!total) {
        const isFiltered = params.q || filterCount(params);
        return html`<p class="card empty">${t(isFiltered ? "mail_log/no_match" : "mail_log/empty")}
            ${isFiltered ? html` <a href="#/log">${t("mail_log/show_all")}</a>` : null}</p>`;
    }
    const turn = (/** @type {number} */ page) => restate({ ...params, page: page === 1 ? "" : page });
    return html`
        <div class="list-head">
            <p class="count-line" role="status">${tn("mail_log/total", total)}</p><${GoToDay} params=${params} total=${total} />
        </div>
        <table class="rows log" aria-busy=${busy}>
            <thead><tr>${COLUMNS.map(([member, title]) => html`
                <${SortHeading} key=${member} member=${member} title=${t(title)} params=${params}
                    sort=${params.sort ?? "date"} dir=${params.dir ?? "DESC"} />`)}
                <th scope="col" class="for-more"><span class="unseen">${t("mail_log/details")}</span></th></tr></thead>
            <tbody>${items.map((row, index) => html`
                <${Entry} row=${row} key=${`${row.date}${row.time}${row.message_id}${row.mail_to}${index}`} />`)}</tbody>
        </table>
        <${Pager} page=${pageOf(params)} pages=${Math.ceil(total / ROWS)} turn=${turn} />`;
}

/** @param {{row: LogRow}} props */
function Entry({ row }) {
    const [isOpen, setOpen] = useState(false);
    const look = Object.values(LOOKS).find(({ label }) => t(label) === row.status);
    return html`
        <tr>
            <td class="when">${row.date} <b>${row.time}</b></td>
            <td class="sign">
                <${Status} tone=${look?.tone ?? "quiet"} text=${row.status} /></td>
            <td data-label=${t("pages/members/sender")} ><span>${row.mail_from || "–"}</span></td>
            <td data-label=${t("pages/members/recipient")} ><span>${row.mail_to || "–"}</span></td>
            <td class="number">${row.size}</td>
            <td><button type="button" class="plain more" aria-expanded=${isOpen}
                aria-label=${t("mail_log/details")} onClick=${() => setOpen(!isOpen)}>
                <span aria-hidden="true">${isOpen ? "▴" : "▾"}</span></button></td>
        </tr>
        ${isOpen && html`<tr class="details"><td colspan="6"><dl class="facts">
            <dt>${t("pages/members/message_id")}</dt>
            <dd class="address">${row.message_id || "–"}
                ${row.message_id && html` <a href=${linkTo(row.message_id)}>${t("mail_log/same_message")}</a>`}</dd>
        </dl>${row.message_id && html`<${LogLines} id=${row.message_id} />`}</td></tr>`}`;
}

/** All entries of a message.
 *  @param {string} id */
const linkTo = (id) => `#/log?${new URLSearchParams({ in: "message_id", q: id })}`;
