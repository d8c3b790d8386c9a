// Texts for people, by their path in the catalogue: "topic/section/key". The console's own have paths
// of two parts, "section/key".
import site from "made-site";
import { recall, remember } from "./storage.js";
import { Store } from "./store.js";

/** @typedef {Record<string, Record<string, Record<string, string>>>} Catalogue */

/** The languages that there are. */
export const LANGUAGES = Object.keys(site.texts);

/** The language of what is shown; everything is drawn again when it changes. */
export const language = new Store("");

/** What has been loaded: the texts of what comes at the start, then those of the other pages.
 *  @type {Catalogue[]} */
let catalogue = [];

/** The language to begin with: the one that was chosen, else the first that the browser asks for. */
export function firstLanguage() {
    const asked = navigator.languages.map((name) => name.slice(0, 2));
    return [recall("language", ""), ...asked].find((name) => LANGUAGES.includes(name)) ?? "en";
}

/** Loads the texts of a language and shows them.
 *  @param {string} name @param {number} [parts] how many of its files are needed */
export async function speak(name, parts = catalogue.length || 1) {
    catalogue = await Promise.all(site.texts[name].slice(0, parts).map(read));
    document.documentElement.lang = name;
    language.set(name);
}

/** Loads the texts of the pages that do not come at the start, too. */
export async function speakWhole() {
    const parts = site.texts[language.value].length;
    if (catalogue.length < parts) await speak(language.value, parts);
}

/** @param {string} address @returns {Promise<Catalogue>} */
async function read(address) {
    const answer = await fetch(address, { credentials: "omit" });
    if (!answer.ok) throw new Error(`${address}: ${answer.status}`);
    return answer.json();
}

/** @param {string} name */
export async function chooseLanguage(name) {
    await speak(name);
    remember("language", name);
}

/** @param {string} path */
function find(path) {
    const parts = path.split("/");
    const [topic, section, key] = parts.length === 2 ? ["console", ...parts] : parts;
    return catalogue.map((part) => part[topic]?.[section]?.[key]).find((text) => text !== undefined);
}

/** Whether the catalogue has a text.
 *  @param {string} path */
export const hasText = (path) => find(path) !== undefined;

/** A text with its placeholders {name} filled; its path, where there is none.
 *  @param {string} path @param {Record<string, string | number>} [values] */
export function t(path, values = {}) {
    const text = find(path) ?? path;
    return text.replace(/\{([a-z]+)\}/g, (whole, name) => String(values[name] ?? whole));
}

/** The text for a number of things, path.one or path.other, with {n} filled.
 *  @param {string} path @param {number} n @param {Record<string, string | number>} [values] */
export function tn(path, n, values = {}) {
    const form = new Intl.PluralRules(language.value).select(n) === "one" ? "one" : "other";
    return t(`${path}.${form}`, { n: number(n), ...values });
}

/** @param {number} value @param {Intl.NumberFormatOptions} [options] */
export const number = (value, options) =>
    new Intl.NumberFormat(language.value, options).format(value);

/** A size in the unit that suits it.
 *  @param {number} size in bytes */
export function bytes(size) {
    const power = Math.min(3, Math.max(0, Math.floor(Math.log2(size || 1) / 10)));
    return `${number(size / 1024 ** power, { maximumFractionDigits: power ? 1 : 0 })} ${["B", "KiB", "MiB", "GiB"][power]}`;
}

/** @param {Date} value @param {Intl.DateTimeFormatOptions} options */
export const moment = (value, options) =>
    new Intl.DateTimeFormat(language.value, options).format(value);
