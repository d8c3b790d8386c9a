// The page of a list, made from its description: search, tabs, rows, and what can be done with them.
import { confirm } from "../lib/dialogs.js";
import { sentence } from "../lib/failure.js";
import { tabsOf } from "../lib/list_requests.js";
import { switchesOf, takesMany } from "../lib/lists.js";
import { notify } from "../lib/notices.js";
import { number, t, tn } from "../lib/texts.js";
import { html, useState } from "../lib/ui.js";
import { SIZES, useList } from "../lib/use_list.js";
import { EntryDialog } from "./entry_dialog.js";
import { ListFiles } from "./list_files.js";
import { ListChips, ListTable, nameOf } from "./list_rows.js";
import { Shown } from "./loading.js";
import { Page } from "./page.js";
import { Pager } from "./pager.js";
import { Problem } from "./problem.js";
import { SearchBox } from "./search_box.js";

/** @typedef {import("../lib/lists.js").Row} Row */
/** @typedef {import("../lib/use_list.js").ListState} ListState */

const TOLD = 10;  // names in a question

/** What a page adds to its description:
 *  - `top`: a component above the list
 *  - `cells`: components for cells, by their member
 *  - `editor`: the route of the page that changes a row, in the place of the dialog
 *  @typedef {{top?: any, cells?: Record<string, any>, editor?: string}} Additions */

/** The component of a list's page.
 *  @param {string} name @param {Additions} [additions] */
export const listPage = (name, additions = {}) => () =>
    html`<${ListPage} key=${name} name=${name} additions=${additions} />`;

/** @param {{name: string, additions: Additions}} props */
function ListPage({ name, additions }) {
    const state = useList(name);
    const [edited, setEdited] = useState(/** @type {{old?: Row} | null} */ (null));
    const { list, loaded, view, pending } = state;
    const buttons = html`
        <${ListFiles} state=${state} />
        ${list.add && (additions.editor
            ? html`<a class="button main" href=${`#/${additions.editor}`}>${t("lists/add")}</a>`
            : html`<button type="button" class="main" onClick=${() => setEdited({})}>${t("lists/add")}</button>`)}`;
    return html`
        <${Page} title=${t(`pages/pages/${name}`)} actions=${buttons}>
            ${additions.top && html`<${additions.top} state=${state} />`}
            ${pending ? html`<${NotApplied} state=${state} />` : null}
            <${Tabs} state=${state} />
            <${Shown} loaded=${loaded} lines=${10}>${(/** @type {any} */ shown) => html`
                <${Rows} state=${state} shown=${shown} additions=${additions}
                    edit=${(/** @type {Row} */ old) => setEdited({ old })} />`}<//>
            ${edited && html`<${EntryDialog} state=${state} old=${edited.old} close=${() => setEdited(null)}
                given=${list.tabs ? { [list.tabs.member]: tabsOf(list)[view.tab][0] } : {}} />`}
        <//>`;
}

/** Says that what is stored is not in force, and tries again.
 *  @param {{state: ListState}} props */
function NotApplied({ state }) {
    return html`
        <div class="problem" role="alert">
            <p><b>${t("lists/not_in_force")}</b></p>
            <${Problem} failure=${state.pending} retry=${() => state.applyAgain().catch(tell)} />
        </div>`;
}

/** @param {unknown} failure */
const tell = (failure) => notify(sentence(failure), "bad");

/** @param {{state: ListState}} props */
function Tabs({ state: { list, view, loaded, show } }) {
    if (!list.tabs) return null;

    return html`
        <div class="segments" role="group" aria-label=${t(list.fields[list.tabs.member].title)}>
            ${tabsOf(list).map(([value, text], index) => html`
                <button type="button" key=${value} aria-pressed=${index === view.tab} onClick=${() => show({ tab: value })}>
                    ${t(text)}${loaded.data?.counts && ` (${number(loaded.data.counts[index])})`}</button>`)}
        </div>`;
}

/** @param {{state: ListState, shown: import("../lib/list_requests.js").Loaded, additions: Additions,
 *           edit: (row: Row) => void}} props */
function Rows({ state, shown, additions, edit }) {
    const { list, view, loaded } = state;
    const { rows, total } = shown;
    const pages = Math.ceil(total / view.limit);
    const page = view.start / view.limit + 1;
    if (!rows.length && total) state.show({ page: pages });

    async function remove() {
        const chosen = rows.filter(state.isChosen);
        if (!chosen.length || !(await confirmed(list, chosen))) return;
        const place = rows.indexOf(chosen[0]);
        try {
            await state.remove(chosen);
            notify(tn("lists/removed", chosen.length));
        } catch (failure) {
            tell(failure);
            await loaded.reload();
        }
        requestAnimationFrame(() => focusRow(place));
    }

    const props = { state, rows, edit, additions, busy: loaded.loading };
    return html`
        <section class="list">
            <div class="list-head">
                <${SearchBox} value=${view.query} search=${(/** @type {string} */ q) => state.show({ q })} />
                <p class="count-line" role="status">${tn(view.query ? "lists/found" : "lists/total", total)}</p>
                ${list.delete && rows.length > 0 && html`
                    <button type="button" class="danger" aria-disabled=${!state.chosen.size} onClick=${remove}>
                        ${state.chosen.size ? tn("lists/remove", state.chosen.size) : t("lists/remove_none")}</button>`}
            </div>
            ${!total && html`<p class="card empty">${t(view.query ? "lists/no_match" : `lists/empty_${state.name}`)}
                ${view.query && html` <button type="button" class="link" onClick=${() => state.show({ q: "" })}>
                    ${t("lists/show_all")}</button>`}</p>`}
            ${total > 0 && (takesMany(list) ? html`<${ListChips} ...${props} />`
                : html`<${ListTable} ...${props} switches=${switchesOf(list)} />`)}
            <${Pager} page=${page} pages=${pages} turn=${(/** @type {number} */ to) => state.show({ page: to === 1 ? "" : to })} />
            ${total > SIZES[0] && html`<${PageSize} state=${state} />`}
        </section>`;
}

/** @param {{state: ListState}} props */
const PageSize = ({ state: { view, show } }) => html`
    <p class="page-size"><label for="page-size">${t("lists/rows_of_page")}</label>
        <select id="page-size" value=${view.limit} onChange=${(/** @type {any} */ event) => show({ rows: event.currentTarget.value })}>
            ${SIZES.map((size) => html`<option key=${size} value=${size} selected=${size === view.limit}>${size}</option>`)}
        </select></p>`;

/** @param {ListAbout} list @param {Row[]} rows */
const confirmed = (list, rows) => confirm({
    title: tn("lists/sure", rows.length), action: tn("lists/remove", rows.length), danger: true,
    content: html`<ul>${rows.slice(0, TOLD).map((row) => html`<li>${nameOf(list, row)}</li>`)}
        ${rows.length > TOLD && html`<li>${tn("lists/more", rows.length - TOLD)}</li>`}</ul>`,
});

/** The focus goes to what stands where the first row was that is gone.
 *  @param {number} place */
function focusRow(place) {
    const boxes = document.querySelectorAll(".list .choose");
    const target = boxes[Math.min(place, boxes.length - 1)] ?? document.querySelector("h1");
    /** @type {HTMLElement | null} */ (target)?.focus();
}
