// Files of lists: their lines, checked as the program will check them
// (host/libmailvane/names/list_text.cpp and the parsers of each list).
import { FORMATS, isLocalPart, kindOf } from "./formats.js";

const [SUBDOMAINS, IP] = [2, 3];  // kinds of names; from the latter on, they are those of clients
const NOT_TEXT = /[\x00-\x08\x0a-\x1f\x7f]/;

/** @typedef {{number: number, text: string, code: string}} BadLine */

/** `lines` are those of the file, in their order; `names` tell the good entries from one another.
 *  @typedef {{good: number, bad: BadLine[], lines: string[], names: Set<string>}} Checked */

/** Takes a line and returns the code of what is wrong with it; "" when nothing is.
 *  @typedef {(line: string) => string} Check */

/** The text of a file; undefined when it is none in UTF-8.
 *  @param {ArrayBuffer} bytes */
export function textOf(bytes) {
    try {
        return new TextDecoder("utf-8", { fatal: true }).decode(bytes);
    } catch {
        return undefined;
    }
}

/** @param {string} form of the lines @param {Record<string, any>} entry what is known of all of them
 *  @param {string} text @param {ListAbout} list that takes the file @returns {Checked} */
export function check(form, entry, text, list) {
    const judge = CHECKS[form](entry, list);
    const lines = text.split(/\r\n|\r|\n/);
    /** @type {Checked} */
    const found = { good: 0, bad: [], lines, names: new Set() };
    lines.forEach((whole, index) => {
        const line = whole.trim();
        if (!line || line.startsWith("#")) return;
        const blank = line.replaceAll("\t", " ");
        const code = NOT_TEXT.test(line) ? "not_text" : judge(blank);
        if (code) return void found.bad.push({ number: index + 1, text: line, code });
        found.good += 1;
        const name = NAMES[form]?.ofLine(blank);
        if (name) found.names.add(name.toLowerCase());
    });
    return found;
}

/** How many entries of a file a list does not have yet.
 *  @param {string} form of the lines @param {Checked} checked @param {Record<string, any>[]} rows of the list */
export function countNew(form, { names }, rows) {
    const there = new Set(rows.map((row) => String(NAMES[form].ofRow(row)).toLowerCase()));
    return [...names].filter((name) => !there.has(name)).length;
}

/** The lines that are good. The bad ones become empty, so that the others keep their numbers.
 *  @param {Checked} checked */
export function goodLines({ lines, bad }) {
    const numbers = new Set(bad.map(({ number }) => number));
    return lines.map((line, index) => (numbers.has(index + 1) ? "" : line)).join("\n");
}

/** The first word and what follows it.
 *  @param {string} line @returns {[string, string]} */
function halves(line) {
    const [, first = line, rest = ""] = /^(\S+) +(.*)$/.exec(line) ?? [];
    return [first, rest];
}

/** Whether a name is of a kind that a list does not take, by its number among those of the page.
 *  @param {ListAbout} list @param {number} type @param {string} name */
function isOfWrongKind({ key, fields }, type, name) {
    const { type: taken } = key.map((member) => fields[member].suits).find(Boolean) ?? {};
    return taken !== undefined && !taken[type].includes(kindOf(name));
}

/** @param {{type?: number}} entry @param {ListAbout} list @returns {Check} */
const ofAccess = ({ type = 0 }, list) => (line) => {
    const [name, permission] = halves(line);
    if (!permission) return "no_entry";
    if (!["OK", "REJECT", "DISCARD"].includes(permission)) return "no_choice";
    if (!FORMATS["list-name"](name)) return "no_name";
    return isOfWrongKind(list, type, name) ? "wrong_kind" : "";
};

/** @returns {Check} */
const ofCopies = () => (line) => {
    const [name, target] = halves(line);
    if (!target) return "no_entry";
    return FORMATS["copy-name"](name) && FORMATS["copy-target"](target) ? "" : "no_address";
};

/** The words of files for the lists, by their numbers. */
const LISTS = ["sender", "recipient", "client"];

/** @param {unknown} _ @param {ListAbout} list @returns {Check} */
const ofBlackWhite = (_, list) => (line) => {
    const [first, rest] = halves(line);
    if (LISTS.includes(first) !== Boolean(rest)) return "no_entry";
    const name = rest || first;
    if (!FORMATS["list-name"](name)) return "no_name";
    return rest && isOfWrongKind(list, LISTS.indexOf(first), name) ? "wrong_kind" : "";
};

/** What may follow the name of a rule, where that is not free.
 *  @type {Record<string, RegExp | null>} */
const DIRECTIVES = {
    header: null, body: null, rawbody: null, uri: null, full: null, mimeheader: null, describe: null,
    meta: /^[\w +\-*/()<>=!&|.,]*$/, score: /^[\w .+\-()]*$/, tflags: /^[\w .\-=]*$/, priority: /^[\w-]*$/,
};
const PROGRAM = /\(\?\{|\(\?\?\{|\(\?p\{|\(\*\{|\(\*\*\{/;

/** @returns {Check} */
const ofRules = () => (whole) => {
    const line = whole.replace(/(^|[^\\])#.*$/, "$1").trim();
    if (new TextEncoder().encode(line).length > 4096) return "too_long";
    const [directive, more] = halves(line);
    if (!Object.hasOwn(DIRECTIVES, directive)) return "no_rule";
    const [name, rest] = halves(more);
    if (!/^[A-Za-z_]\w{0,99}$/.test(name)) return "no_name";
    if (!rest) return "empty";
    if (PROGRAM.test(rest.replaceAll(" ", "")) || (rest.startsWith("eval:") && rest.includes("/"))) return "unsafe";
    return DIRECTIVES[directive]?.test(rest) === false ? "bad_format" : "";
};

/** @returns {Check} */
function ofAliases() {
    const names = new Set();
    let isOpen = false;  // members may follow in the next line
    return (line) => {
        const colon = line.indexOf(":");
        if (colon < 0 && !isOpen) return "no_entry";
        const members = line.slice(colon + 1).trim();
        if (colon >= 0 || members) isOpen = !members || members.endsWith(",");
        const wrong = members.split(",").map((one) => one.trim()).filter(Boolean).map(faultOfMember).find(Boolean) ?? "";
        if (colon < 0) return wrong;

        const name = line.slice(0, colon).trim();
        if (!isLocalPart(name)) return "no_name";
        const isTwice = names.has(name.toLowerCase());
        names.add(name.toLowerCase());
        return isTwice ? "given_twice" : wrong;
    };
}

/** @param {string} member as a file has it */
function faultOfMember(member) {
    if (member.startsWith("%")) return isGroup(member.slice(1).trim()) ? "" : "no_name";
    if (member.includes("@")) return FORMATS["outside-address"](member) ? "" : "no_address";
    return isLocalPart(member.replace(/^\\/, "").replace(/^[A-Za-z0-9_-]{1,15}\\/, "").trim()) ? "" : "no_address";
}

/** @param {string} name */
const isGroup = (name) => name !== "" && !/[<>,:"]/.test(name) && new TextEncoder().encode(name).length <= 256;

/** @type {Record<string, (entry: Record<string, any>, list: ListAbout) => Check>} */
const CHECKS = { access: ofAccess, copies: ofCopies, black_white: ofBlackWhite, rules: ofRules, aliases: ofAliases };

/** A name as files have it: that of subdomains begins with a dot.
 *  @param {Record<string, any>} row */
const withDot = ({ name_type: kind, name }) => (kind === SUBDOMAINS ? name.replace(/^\.?/, ".") : name);

/** What names an entry, in a line and in a row. Entries that have no list in their line are of that of their kind.
 *  @type {Record<string, {ofLine: (line: string) => string, ofRow: (row: Record<string, any>) => string}>} */
const NAMES = {
    access: { ofLine: (line) => halves(line)[0], ofRow: withDot },
    copies: { ofLine: (line) => halves(line)[0], ofRow: ({ name }) => name },
    aliases: { ofLine: (line) => (line.includes(":") ? line.slice(0, line.indexOf(":")).trim() : ""), ofRow: ({ alias_name: name }) => name },
    black_white: {
        ofLine: (line) => {
            const [first, rest] = halves(line);
            return rest ? `${LISTS.indexOf(first)} ${rest}` : `${kindOf(first) < IP ? 0 : LISTS.length - 1} ${first}`;
        },
        ofRow: (row) => `${row.type} ${withDot(row)}`,
    },
};
