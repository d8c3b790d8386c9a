// A list on a page: the rows that are shown, those that are chosen, and its changes.
import api from "made-api";
import { NotInForce, addEntries, apply, changeEntry, loadRows, removeRows, tabsOf } from "./list_requests.js";
import { keyOf } from "./lists.js";
import { restate, route } from "./router.js";
import { useStore } from "./store.js";
import { useState } from "./ui.js";
import { useLoad } from "./use_load.js";

/** @typedef {import("./lists.js").Row} Row */

export const SIZES = [50, 100, 200];  // rows of a page

/** @param {string} name */
export function useList(name) {
    const list = api.lists[name];
    const { params } = useStore(route);
    const view = viewOf(list, params);
    const loaded = useLoad((signal) => loadRows(list, view, signal), [name, JSON.stringify(view)]);
    const [chosen, setChosen] = useState(/** @type {Set<string>} */ (new Set()));
    const [pending, setPending] = useState(/** @type {unknown} */ (null));

    /** Changes what is shown; the page's number is kept only where it is given.
     *  @param {Record<string, string | number>} changes */
    function show(changes) {
        setChosen(new Set());
        restate({ ...params, page: "", ...changes });
    }

    /** @param {Row} row */
    function choose(row) {
        const next = new Set(chosen);
        if (!next.delete(keyOf(list, row))) next.add(keyOf(list, row));
        setChosen(next);
    }

    /** Does a change and shows what the list is then. What is stored but not in force is told beside
     *  the list.
     *  @param {() => Promise<void>} change */
    async function perform(change) {
        try {
            await change();
            setPending(null);
        } catch (failure) {
            if (!(failure instanceof NotInForce)) throw failure;
            setPending(failure.failure);
        }
        setChosen(new Set());
        await loaded.reload();
    }

    return {
        name, list, view, loaded, chosen, choose, show, pending,
        isChosen: (/** @type {Row} */ row) => chosen.has(keyOf(list, row)),
        chooseAll: (/** @type {Row[]} */ rows) => setChosen(new Set(rows.map((row) => keyOf(list, row)))),
        applyAgain: () => perform(() => apply(list)),
        perform,
        add: (/** @type {Row[]} */ entries) => perform(() => addEntries(list, entries)),
        edit: (/** @type {Row} */ entry, /** @type {Row} */ old) => perform(() => changeEntry(list, entry, old)),
        remove: (/** @type {Row[]} */ rows) => perform(() => removeRows(list, rows)),
    };
}

/** @typedef {ReturnType<typeof useList>} ListState */

/** @param {ListAbout} list @param {Record<string, string>} params @returns {import("./list_requests.js").View} */
function viewOf(list, { q = "", page = "1", rows = "", tab = "" }) {
    const limit = SIZES.includes(Number(rows)) ? Number(rows) : SIZES[0];
    const start = (Math.max(1, Math.floor(Number(page)) || 1) - 1) * limit;
    const place = tabsOf(list).findIndex(([value]) => String(value) === tab);
    return { start, limit, query: q, tab: Math.max(0, place) };
}
