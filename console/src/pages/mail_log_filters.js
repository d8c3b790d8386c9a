// The search of the mail log and its filters. Each change is a new address.
import { call } from "../lib/call.js";
import { PLACES, filterCount, isSearch } from "../lib/log_query.js";
import { restate } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { language, t, tn } from "../lib/texts.js";
import { html, useEffect, useRef, useState } from "../lib/ui.js";
import { useLoad } from "../lib/use_load.js";

const PAUSE = 250;  // ms without a key before a search
const INDEXED = 3;  // characters from which on the server looks into its index

const STATES = ["sent", "received", "bounced", "sent_again"];
const COMPARISONS = ["ge", "le", "gt", "lt", "eq"];

/** @typedef {{params: Record<string, string>}} Props */

/** @param {Props} props */
export function LogFilters({ params }) {
    const set = (/** @type {Record<string, string>} */ changes) => restate({ ...params, ...changes, page: "" });
    return html`
        <form class="card filters" role="search" onSubmit=${(/** @type {Event} */ event) => event.preventDefault()}>
            <${SearchLine} params=${params} set=${set} />
            <details open=${filterCount(params) > 0}>
                <summary>${t("mail_log/filters")}${filterCount(params) > 0 && html` <b>(${filterCount(params)})</b>`}</summary>
                ${isSearch(params) && html`<p class="note">${t("mail_log/no_filters")}</p>`}
                <fieldset class="plain" disabled=${isSearch(params)}>
                    <div class="filter-grid"><${Filters} params=${params} set=${set} /></div>
                </fieldset>
            </details>
        </form>`;
}

/** @param {Props & {set: (changes: Record<string, string>) => void}} props */
function SearchLine({ params, set }) {
    const [text, setText] = useState(params.q ?? "");
    const timer = useRef(0);
    useEffect(() => setText(params.q ?? ""), [params.q]);

    /** @param {any} event */
    function type(event) {
        const { value } = event.currentTarget;
        setText(value);
        clearTimeout(timer.current);
        timer.current = setTimeout(() => set({ q: value.trim() }), PAUSE);
    }

    const isShort = text.trim() !== "" && [...text.trim()].length < INDEXED;
    return html`
        <div class="search-line">
            <label class="unseen" for="log-search">${t("mail_log/search")}</label>
            <input id="log-search" type="search" placeholder=${t("mail_log/search")} value=${text}
                aria-describedby="log-search-note" onInput=${type} />
            <label class="unseen" for="log-place">${t("mail_log/search_in")}</label>
            <select id="log-place" value=${params.in ?? "any"}
                onChange=${(/** @type {any} */ event) => set({ in: event.currentTarget.value })}>
                ${PLACES.map((place) => html`<option key=${place} value=${place} selected=${place === (params.in ?? "any")}>
                    ${t(`mail_log/in_${place}`)}</option>`)}
            </select>
        </div>
        <p class="help" id="log-search-note" role="status">${isShort ? t("mail_log/short") : ""}</p>`;
}

/** @param {Props & {set: (changes: Record<string, string>) => void}} props */
function Filters({ params, set }) {
    const lang = useStore(language);
    const logs = useLoad((signal) => call("log_enum", { lang }, { signal }), [lang]);
    const take = (/** @type {string} */ name) => (/** @type {any} */ event) => set({ [name]: event.currentTarget.value });
    /** @type {[string, string][]} */
    const files = (logs.data?.items ?? []).map((/** @type {any} */ one, /** @type {number} */ place) =>
        [place ? one.value : "", one.display]);
    return html`
        <label for="log-status">${t("pages/members/log_status")}</label>
        <${Select} id="log-status" value=${params.status ?? ""} onChange=${take("status")}
            options=${[["", t("pages/choices/log.any")], ...STATES.map((state, index) =>
                [String(index), t(`pages/choices/log.${state}`)])]} />
        <label for="log-file">${t("pages/members/log_file")}</label>
        <${Select} id="log-file" value=${params.log ?? ""} onChange=${take("log")} options=${files} />
        <label for="log-from">${t("pages/members/date_from")}</label>
        <input id="log-from" type="date" value=${params.from ?? ""} onChange=${take("from")} />
        <label for="log-to">${t("pages/members/date_to")}</label>
        <input id="log-to" type="date" value=${params.to ?? ""} onChange=${take("to")} />
        <label for="log-size">${t("mail_log/size_kib")}</label>
        <div class="search-line">
            <${Select} id="log-compare" label=${t("mail_log/compare")} value=${params.compare ?? "ge"} onChange=${take("compare")}
                options=${COMPARISONS.map((name) => [name, t(`pages/choices/compare.${name}`)])} />
            <input id="log-size" class="number" inputmode="numeric" pattern="[0-9]*" value=${params.size ?? ""}
                onChange=${take("size")} />
        </div>
        ${filterCount(params) > 0 && html`<p><a href="#/log">${tn("mail_log/clear_filters", filterCount(params))}</a></p>`}`;
}

/** @param {{id: string, value: string, label?: string, options: [string, string][], onChange: (event: any) => void}} props */
const Select = ({ id, value, label, options, onChange }) => html`
    <select id=${id} value=${value} aria-label=${label} onChange=${onChange}>
        ${options.map(([key, text]) => html`<option key=${key} value=${key} selected=${key === value}>${text}</option>`)}
    </select>`;
