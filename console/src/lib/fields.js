// Fields of forms, by their descriptions: what they take, whether they have an effect, what changed.
import { FAULTS, FORMATS } from "./formats.js";

/** @typedef {Record<string, any>} Values */

/** The code of what is wrong with a value, as the program would give it; "" when nothing is.
 *  @param {Field} field @param {any} value @param {Values} [values] of the other members */
export function fault(field, value, values = {}) {
    if (field.type === "integer") return faultOfNumber(field, value);
    return field.type === "string" && !field.choices ? faultOfText(field, value, values) : "";
}

/** @param {Field} field @param {any} value */
function faultOfNumber({ min = -Infinity, max = Infinity }, value) {
    return Number.isInteger(value) && value >= min && value <= max ? "" : "out_of_range";
}

/** @param {Field} field @param {string} value @param {Values} values */
function faultOfText({ minLength = 0, maxLength = Infinity, maxBytes = Infinity, format = "", kind = "", pattern = "" }, value, values) {
    if (value.length < minLength) return value ? "too_short" : "empty";
    if ([...value].length > maxLength || new TextEncoder().encode(value).length > maxBytes) {
        return "too_long";
    }
    if (!new RegExp(pattern, "u").test(value)) return "bad_format";
    return FORMATS[format]?.(value, values[kind]) === false ? (FAULTS[format] ?? "bad_format") : "";
}

/** What somebody typed into a field, as the value that is sent; a number that is none stays a text.
 *  @param {Field} field @param {string} text */
export function typed(field, text) {
    if (field.type === "integer") return /^-?\d+$/.test(text.trim()) ? Number(text) : text;
    const choice = field.choices?.find(([value]) => String(value) === text);
    return choice ? choice[0] : text;
}

/** What a field needs to have an effect.
 *  @typedef {{name: string, wanted: boolean | string}} Missing */

/** The settings without which a field has no effect at present, the nearest first.
 *  @param {string} name
 *  @param {Record<string, Field>} fields
 *  @param {Values} values
 *  @returns {Missing[]} */
export function missingFor(name, fields, values) {
    return Object.entries(fields[name]?.needs ?? {}).flatMap(([needed, wanted]) => [
        ...([wanted].flat().includes(values[needed]) ? [] : [{ name: needed, wanted }]),
        ...missingFor(needed, fields, values),
    ]);
}

/** The changes that are left when the stored values are these. What was not loaded, a password, is
 *  left until it is said to be stored.
 *  @param {Values} draft @param {Values} stored @param {Record<string, Field>} fields */
export function remaining(draft, stored, fields) {
    return Object.fromEntries(Object.entries(draft).filter(
        ([name, value]) => fields[name]?.secret || value !== stored[name]));
}

/** The fields whose stored value is neither the one that the draft was made from nor the wanted one.
 *  @param {Values} draft @param {Values} before @param {Values} now */
export const overtaken = (draft, before, now) => Object.keys(draft).filter(
    (name) => now[name] !== before[name] && now[name] !== draft[name]);

/** The body of a save: what it has to have, and what changes. Others' changes of what is not named
 *  stay as they are.
 *  @param {PageAbout} page @param {Values} stored @param {Values} draft */
export const bodyOf = (page, stored, draft) => ({
    ...Object.fromEntries(page.required.map((name) => [name, stored[name]])), ...draft,
});
