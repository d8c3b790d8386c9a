// The rows of a list: as a table, or where a row is one text, as chips.
import { sentence } from "../lib/failure.js";
import { findRow } from "../lib/list_requests.js";
import { keyOf } from "../lib/lists.js";
import { notify } from "../lib/notices.js";
import { link } from "../lib/router.js";
import { t } from "../lib/texts.js";
import { classes, html } from "../lib/ui.js";
import { shown } from "./field.js";
import { ExportRow, savesRows } from "./list_files.js";

/** @typedef {import("../lib/lists.js").Row} Row */

/** @typedef {{state: import("../lib/use_list.js").ListState, rows: Row[], busy: boolean,
 *             additions: import("./list_page.js").Additions, edit: (row: Row) => void}} RowsProps */

/** What a row is called: its last key that is a text, else the first one in words.
 *  @param {ListAbout} list @param {Row} row */
export function nameOf(list, row) {
    const named = list.key.filter((member) => row[member] && !list.fields[member].choices).at(-1) ?? list.key[0];
    return shown(list.fields[named], row[named]);
}

/** @param {RowsProps & {switches: string[]}} props */
export function ListTable({ state, rows, busy, additions, edit, switches }) {
    const { list } = state;
    const columns = list.columns.filter((member) => member !== list.tabs?.member);
    const isAll = rows.every(state.isChosen);
    const hasButtons = (list.edit && !switches.length) || savesRows(list);
    return html`
        <table class="rows listed" aria-busy=${busy}>
            <thead><tr>
                ${list.delete && html`<th scope="col" class="for-choice"><input type="checkbox" aria-label=${t("lists/choose_all")}
                    checked=${isAll} onChange=${() => state.chooseAll(isAll ? [] : rows)} /></th>`}
                ${columns.map((member) => html`<th scope="col" key=${member}>${t(list.fields[member].title)}</th>`)}
                ${hasButtons && html`<th scope="col"><span class="unseen">${t("lists/change")}</span></th>`}
            </tr></thead>
            <tbody>${rows.map((row) => html`
                <tr key=${keyOf(list, row)} class=${classes(state.isChosen(row) && "chosen")}>
                    ${list.delete && html`<td class="for-choice"><input type="checkbox" class="choose" checked=${state.isChosen(row)}
                        aria-label=${t("lists/choose", { name: nameOf(list, row) })} onChange=${() => state.choose(row)} /></td>`}
                    ${columns.map((member) => html`<td key=${member} data-label=${t(list.fields[member].title)}
                        class=${classes(list.fields[member].type === "integer" && !list.fields[member].choices && "number")}>
                        <${Cell} state=${state} row=${row} member=${member} additions=${additions}
                            isSwitch=${switches.includes(member)} /></td>`)}
                    ${hasButtons && html`<td class="for-buttons">
                        ${list.edit && !switches.length && html`<${EditButton} list=${list} row=${row} edit=${edit} additions=${additions} />`}
                        <${ExportRow} list=${list} row=${row} /></td>`}
                </tr>`)}</tbody>
        </table>`;
}

/** @param {{list: ListAbout, row: Row, edit: (row: Row) => void, additions: import("./list_page.js").Additions}} props */
function EditButton({ list, row, edit, additions: { editor } }) {
    const label = t("lists/edit_named", { name: nameOf(list, row) });
    return editor
        ? html`<a href=${link(editor, { name: row[list.key[0]] })} aria-label=${label}>${t("lists/edit")}</a>`
        : html`<button type="button" class="link" aria-label=${label} onClick=${() => edit(row)}>${t("lists/edit")}</button>`;
}

/** @param {{state: import("../lib/use_list.js").ListState, row: Row, member: string, isSwitch: boolean,
 *           additions: import("./list_page.js").Additions}} props */
function Cell({ state, row, member, isSwitch, additions }) {
    const { list } = state;
    const own = additions.cells?.[member];
    if (own) return html`<${own} row=${row} value=${row[member]} />`;

    if (isSwitch) {
        return html`<input type="checkbox" role="switch" checked=${row[member]} aria-label=${nameOf(list, row)}
            onChange=${(/** @type {any} */ event) => turn(state, row, member, event.currentTarget)} />`;
    }
    return row[member] === undefined ? "–" : shown(list.fields[member], row[member]);
}

/** Switches a row, and tells when it did not stay as it was switched.
 *  @param {import("../lib/use_list.js").ListState} state @param {Row} row @param {string} member @param {any} box */
async function turn(state, row, member, box) {
    const wanted = box.checked;
    try {
        await state.edit({ ...row, [member]: wanted }, row);
        const name = nameOf(state.list, row);
        const stays = (await findRow(state.list, row))?.[member] === wanted;
        notify(t(stays ? (wanted ? "lists/switched_on" : "lists/switched_off") : "lists/did_not_stay", { name }),
            stays ? "good" : "bad");
    } catch (failure) {
        box.checked = row[member];
        notify(sentence(failure), "bad");
        await state.loaded.reload();
    }
}

/** @param {RowsProps} props */
export const ListChips = ({ state, rows, busy }) => html`
    <ul class="card chips" aria-busy=${busy}>
        ${rows.map((row) => html`<li key=${keyOf(state.list, row)}>
            <label class="chip"><input type="checkbox" class="choose" checked=${state.isChosen(row)}
                onChange=${() => state.choose(row)} /> ${nameOf(state.list, row)}</label></li>`)}
    </ul>`;
