// What the palette finds: every page, and every setting with the page that it stands on.
import { t } from "./texts.js";

/** `field` is empty for a page; `place` is the title of the page that a setting stands on.
 *  @typedef {{title: string, place: string, help: string, route: string, field: string}} Entry */

/** All entries in the language that is shown, the pages first.
 *  @param {{route: string, title: string, group: string}[]} rows of the table of pages
 *  @param {Record<string, PageAbout>} settings the pages of settings, by their routes
 *  @returns {Entry[]} */
export function entriesOf(rows, settings) {
    const shown = rows.filter(({ group }) => group);
    const pages = shown.map(({ route, title }) => ({ title: t(title), place: "", help: "", route, field: "" }));
    return [...pages, ...shown.flatMap(({ route, title }) => Object.entries(settings[route]?.fields ?? {}).map(
        ([field, about]) => ({ title: t(about.title), place: t(title), help: about.help ? t(about.help) : "", route, field })))];
}

/** The entries that have each word of a text somewhere, those first whose title begins with it, then those
 *  with all words in their title. A setting is found by its name in files and requests, too.
 *  @param {Entry[]} entries @param {string} text */
export function search(entries, text) {
    const wanted = text.trim().toLowerCase();
    const words = wanted.split(/\s+/);
    const rank = (/** @type {Entry} */ { title, place, help, field }) => {
        const name = title.toLowerCase();
        const all = `${name} ${place} ${help} ${field}`.toLowerCase();
        if (name.startsWith(wanted)) return 0;
        return [name, all].findIndex((one) => words.every((word) => one.includes(word))) + 1 || Infinity;
    };
    return entries.map((entry) => ({ entry, at: rank(entry) })).filter(({ at }) => at < Infinity)
        .sort((one, other) => one.at - other.at).map(({ entry }) => entry);
}
