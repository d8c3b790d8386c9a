// The requests of lists: pages of rows, and changes that are brought in force.
import { listed } from "./answers.js";
import { call } from "./call.js";
import { Failure } from "./failure.js";
import { bodyFor, bodyToRemove, keyOf, partsOf } from "./lists.js";

/** @typedef {import("./lists.js").Row} Row */

/** The rows that are shown: `tab` is the number of a part of the list.
 *  @typedef {{start: number, limit: number, query: string, tab: number}} View */

/** `counts`: how many rows each tab has, where that is known.
 *  @typedef {{rows: Row[], total: number, counts?: number[]}} Loaded */

const MOST = 1000;  // rows of a request that looks for one
const LOOKED_AT = 20_000;  // rows that are compared with a file

/** Stored, but not brought in force. */
export class NotInForce extends Error {
    /** @param {unknown} failure */
    constructor(failure) {
        super("not in force");
        this.failure = failure;
    }
}

/** @param {ListAbout} list */
export const tabsOf = (list) => (list.tabs ? list.fields[list.tabs.member].choices ?? [] : []);

/** @param {ListAbout} list @param {View} view @param {AbortSignal} [signal] @returns {Promise<Loaded>} */
export async function loadRows(list, view, signal) {
    if (list.tabs && !list.tabs.parameter) return loadTab(list, view, signal);
    if (list.paged) return ask(list, view, signal);

    const { rows } = await ask(list, view, signal);
    const found = list.search || !view.query ? rows : rows.filter((row) => matches(list, row, view.query));
    return { rows: found.slice(view.start, view.start + view.limit), total: found.length };
}

/** Whether a row has a text, in any case.
 *  @param {ListAbout} list @param {Row} row @param {string} query */
const matches = (list, row, query) => list.columns.some(
    (member) => String(row[member]).toLowerCase().includes(query.toLowerCase()));

/** @param {ListAbout} list @param {View} view @param {AbortSignal} [signal] @returns {Promise<Loaded>} */
async function ask(list, { start, limit, query, tab }, signal) {
    const answer = await call(list.load, {
        ...(list.paged && { start, limit }),
        ...(list.search && query && { [list.search]: query }),
        ...(list.tabs?.parameter && { [list.tabs.parameter]: tabsOf(list)[tab][0] }),
    }, { signal });
    const rows = listed(answer[list.rows]);
    return { rows, total: answer.total ?? rows.length };
}

/** A page of a part. The rows are sorted by it first, so its begin and end are found by halving.
 *  @param {ListAbout} list @param {View} view @param {AbortSignal} [signal] @returns {Promise<Loaded>} */
async function loadTab(list, view, signal) {
    const member = /** @type {{member: string}} */ (list.tabs).member;
    const first = await ask(list, { ...view, start: 0 }, signal);
    const values = tabsOf(list).map(([value]) => value);
    const parts = await partsOf(values, first.total, async (index) => {
        const row = first.rows[index] ?? (await ask(list, { ...view, start: index, limit: 1 }, signal)).rows[0];
        return row?.[member];
    });
    const { begin, end } = parts[view.tab];
    const start = begin + view.start;
    const limit = Math.max(0, Math.min(view.limit, end - start));
    const isHere = start + limit <= first.rows.length;
    const rows = isHere ? first.rows.slice(start, start + limit) : (await ask(list, { ...view, start, limit }, signal)).rows;
    return { rows, total: end - begin, counts: parts.map((part) => part.end - part.begin) };
}

/** The row with the key of this one, as it is now.
 *  @param {ListAbout} list @param {Row} row @returns {Promise<Row | undefined>} */
export async function findRow(list, row) {
    const searched = list.key.find((member) => list.searched.includes(member) && row[member]) ?? "";
    const tab = Math.max(0, tabsOf(list).findIndex(([value]) => value === row[list.tabs?.member ?? ""]));
    for (let start = 0; ; start += MOST) {
        const { rows, total } = await ask(list, { start, limit: MOST, query: row[searched] ?? "", tab });
        const found = rows.find((one) => isSame(list, one, row));
        if (found || !list.paged || start + MOST >= total) return found;
    }
}

/** All rows that an import with these members may meet; undefined where there are too many to look at.
 *  @param {ListAbout} list @param {Row} entry @param {AbortSignal} signal @returns {Promise<Row[] | undefined>} */
export async function rowsBeside(list, entry, signal) {
    const tab = Math.max(0, tabsOf(list).findIndex(([value]) => value === entry[list.tabs?.member ?? ""]));
    const found = [];
    for (let start = 0; start < LOOKED_AT; start += MOST) {
        const { rows, total } = await loadRows(list, { start, limit: MOST, query: "", tab }, signal);
        found.push(...rows);
        if (start + MOST >= total) {
            return found.filter((row) => Object.values(list.import?.from ?? {}).every((member) => row[member] === entry[member]));
        }
    }
    return undefined;
}

/** What a change would overwrite without its author having seen it: the row as somebody else has left it, null
 *  when it is gone; undefined when there is nothing of the kind.
 *  @param {ListAbout} list @param {Row} entry @param {Row} [old] the row as it was loaded; none for a new entry
 *  @returns {Promise<Row | null | undefined>} */
export async function unseen(list, entry, old) {
    if (!old) return list.add?.action === list.edit?.action ? findRow(list, entry) : undefined;  // else it is refused
    const now = await findRow(list, old);
    return now && list.columns.every((member) => now[member] === old[member]) ? undefined : now ?? null;
}

/** Whether two rows have the same key, in any case of letters.
 *  @param {ListAbout} list @param {Row} one @param {Row} other */
const isSame = (list, one, other) => keyOf(list, one).toLowerCase() === keyOf(list, other).toLowerCase();

/** Brings what is stored in force, where that is a step of its own.
 *  @param {ListAbout} list */
export async function apply(list) {
    if (!list.apply) return;
    try {
        await call(list.apply);
    } catch (failure) {
        throw new NotInForce(failure);
    }
}

/** @param {ListAbout} list @param {Row[]} entries */
export async function addEntries(list, entries) {
    const change = /** @type {ChangeAbout} */ (list.add);
    await call(change.action, bodyFor(change, entries));
    await apply(list);
}

/** @param {ListAbout} list @param {Row} entry @param {Row} old */
export async function changeEntry(list, entry, old) {
    const change = /** @type {ChangeAbout} */ (list.edit);
    const isTaken = !isSame(list, entry, old) && (await findRow(list, entry));
    const [member] = list.key.slice(-1);
    const [path] = Object.entries(change.from).find(([, from]) => from === member) ?? [""];
    // The platform would remove the old entry before it refuses the new one.
    if (isTaken) throw new Failure("refused", { reasons: [{ setting: path, code: "taken" }] });

    await call(change.action, bodyFor(change, [entry], old));
    await apply(list);
}

/** @param {ListAbout} list @param {Row[]} rows */
export async function removeRows(list, rows) {
    await call(/** @type {ChangeAbout} */ (list.delete).action, bodyToRemove(list, rows));
    await apply(list);
}
