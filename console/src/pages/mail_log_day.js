// The way to the entries of a day, and whose days these are.
import { call } from "../lib/call.js";
import { endOf, serverZone } from "../lib/days.js";
import { sentence } from "../lib/failure.js";
import { ROWS, isSearch, query } from "../lib/log_query.js";
import { notify } from "../lib/notices.js";
import { restate } from "../lib/router.js";
import { language, t } from "../lib/texts.js";
import { html } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";

/** @param {{params: Record<string, string>, total: number}} props */
export function GoToDay({ params, total }) {
    const zone = useLoad(serverZone, []);

    /** @param {any} event */
    async function go({ currentTarget: { value } }) {
        if (!value) return;
        try {
            const page = await pageOfDay(params, value, total);
            restate({ ...params, sort: "", dir: "", page: page === 1 ? "" : page });
        } catch (failure) {
            notify(sentence(failure), "bad");
        }
    }

    return html`
        ${!isSearch(params) && html`<span class="actions"><label for="log-day">${t("mail_log/go_to_day")}</label>
            <input id="log-day" type="date" onChange=${go} /></span>`}
        <span class="help">${t(zone.data ? "mail_log/times" : "mail_log/times_unnamed", { zone: zone.data ?? "" })}</span>`;
}

/** The page that the last entry of a day is on: those that are later come before it.
 *  @param {Record<string, string>} params @param {string} day @param {number} total */
async function pageOfDay(params, day, total) {
    const zone = await serverZone();
    const [action, { searchParams, ...others }] = query({ ...params, sort: "date", dir: "DESC" }, 0, 1, language.value, zone);
    const criteria = JSON.parse(searchParams);
    const after = Math.max(endOf(day, zone) + 1, Number(criteria.date_from ?? 0));
    const later = await call(action, { ...others, searchParams: JSON.stringify({ ...criteria, date_from: String(after) }) });
    return Math.max(1, Math.min(Math.ceil(total / ROWS), Math.floor(later.total / ROWS) + 1));
}
