// Lists: their rows, the members of changes, and what is wrong with an entry.
import { fault, missingFor } from "./fields.js";
import { kindOf } from "./formats.js";

/** @typedef {Record<string, any>} Row */

/** What names a row, as one text.
 *  @param {ListAbout} list @param {Row} row */
export const keyOf = (list, row) => JSON.stringify(list.key.map((member) => row[member] ?? ""));

/** The body of a change: its members from some rows, and those that say what is replaced.
 *  @param {ChangeAbout} change @param {Row[]} rows @param {Row} [old] */
export function bodyFor(change, rows, old) {
    const body = {};
    for (const [path, member] of Object.entries(change.from)) put(body, change, path, member, rows);
    if (old) {
        for (const [path, member] of Object.entries(change.old ?? {})) put(body, change, path, member, [old]);
    }
    return body;
}

/** The body that removes rows. What says in other changes what is replaced, removes here.
 *  @param {ListAbout} list @param {Row[]} rows */
export function bodyToRemove(list, rows) {
    const change = /** @type {ChangeAbout} */ (list.delete);
    return bodyFor({ ...change, from: change.old ?? change.from, old: undefined }, rows);
}

/** @param {Row} body @param {ChangeAbout} change @param {string} path @param {string} member @param {Row[]} rows */
function put(body, change, path, member, rows) {
    const [top, part] = path.split(".");
    const values = rows.map((row) => row[member]);
    switch (change.shapes?.[top]) {
        case "texts": body[top] = values; break;
        case "objects": body[top] = values.map((value, index) => ({ ...body[top]?.[index], [part]: value })); break;
        case "object": body[top] = { ...body[top], [part]: values[0] }; break;
        default: body[top] = values[0] ?? "";
    }
}

/** Whether an entry is of one text, of which many can be added at once.
 *  @param {ListAbout} list */
export const takesMany = (list) => Object.values(list.add?.shapes ?? {}).includes("texts") && list.columns.length === 1;

/** The members that are switches of their rows: all but the key.
 *  @param {ListAbout} list */
export function switchesOf(list) {
    const others = list.columns.filter((member) => !list.key.includes(member));
    return list.edit && others.length && others.every((member) => list.fields[member].type === "boolean") ? others : [];
}

/** The values that a member can have beside the others.
 *  @param {Field} field @param {Row} values */
export function choicesFor(field, values) {
    const suiting = Object.entries(field.suits ?? {}).flatMap(([other, by]) => by[values[other]] ?? []);
    return field.suits ? field.choices?.filter(([value]) => suiting.includes(value)) : field.choices;
}

/** An entry to begin with: the first choice of each member.
 *  @param {ListAbout} list @param {Row} given @returns {Row} */
export function emptyEntry(list, given) {
    /** @type {Row} */
    const entry = {};
    for (const [name, field] of Object.entries(list.fields)) {
        entry[name] = given[name] ?? choicesFor(field, entry)?.[0][0] ?? (field.type === "boolean" ? false : "");
    }
    return entry;
}

/** An entry after a change of a member: a kind that does not suit any more becomes one that does, and
 *  that of a name becomes the one that the name looks like.
 *  @param {ListAbout} list @param {Row} entry @param {string} name @param {any} value @returns {Row} */
export function changed(list, entry, name, value) {
    const next = { ...entry, [name]: value };
    const { kind } = list.fields[name];
    if (kind && value) next[kind] = kindOf(value);
    for (const [member, field] of Object.entries(list.fields)) {
        const choices = choicesFor(field, next) ?? [];
        if (field.suits && !choices.some(([choice]) => choice === next[member])) next[member] = choices[0][0];
    }
    return next;
}

/** The members that have an effect beside the others. The kind of a name follows it: it is found out.
 *  @param {ListAbout} list @param {Row} entry */
export function shownMembers({ fields }, entry) {
    const names = Object.keys(fields).filter((name) => !missingFor(name, fields, entry).length);
    const kinds = names.map((name) => fields[name].kind);
    return names.filter((name) => !kinds.includes(name)).flatMap((name) => [name, fields[name].kind ?? []].flat());
}

/** The codes of what is wrong with an entry, by member.
 *  @param {ListAbout} list @param {Row} entry @returns {Record<string, string>} */
export const faultsOf = (list, entry) => Object.fromEntries(shownMembers(list, entry)
    .map((name) => [name, faultOf(list.fields[name], entry[name], entry)]).filter(([, code]) => code));

/** @param {Field} field @param {any} value @param {Row} entry */
function faultOf(field, value, entry) {
    const isText = field.type === "string" && !field.choices;
    if (isText && value === "" && !["subject", "text"].includes(field.format ?? "")) return "empty";
    return fault(field, value, entry);
}

/** What is wrong, by the members of a row.
 *  @param {ChangeAbout} change @param {import("./failure.js").Reason[]} reasons @returns {Record<string, string>} */
export const reasonsByMember = (change, reasons) => Object.fromEntries(reasons
    .map(({ setting = "", code }) => [change.from[setting] ?? Object.entries(change.from).find(
        ([path]) => path.endsWith(`.${setting}`))?.[1], code]).filter(([member]) => member));

/** Texts that somebody pasted, apart at blanks, commas, semicolons and line ends.
 *  @param {string} text */
export const words = (text) => [...new Set(text.split(/[\s,;]+/).filter(Boolean))];

/** Where the rows of each value begin in a list that is sorted by a member.
 *  @param {any[]} values in their order @param {number} total
 *  @param {(index: number) => Promise<any>} valueAt of the row with this number
 *  @returns {Promise<{begin: number, end: number}[]>} */
export async function partsOf(values, total, valueAt) {
    const parts = [];
    let begin = 0;
    for (const value of values) {
        let low = begin, high = total;
        while (low < high) {
            const middle = Math.floor((low + high) / 2);
            if (values.indexOf(await valueAt(middle)) <= values.indexOf(value)) low = middle + 1;
            else high = middle;
        }
        parts.push({ begin, end: low });
        begin = low;
    }
    return parts;
}
