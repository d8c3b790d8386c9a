// Files of lists: their lines, checked as the program will check them
// (host/libmailvane/names/list_text.cpp and the parsers of each list).
import { FORMATS, isLocalPart, kindOf } from "./formats.js";

const NOT_TEXT = /[\x00-\x08\x0a-\x1f\x7f]/;

/** @typedef {{number: number, text: string, code: string}} BadLine */

/** `lines` are those of the file, in their order.
 *  @typedef {{good: number, bad: BadLine[], lines: string[]}} Checked */

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
 *  @param {string} text @returns {Checked} */
export function check(form, entry, text) {
    const judge = CHECKS[form](entry);
    const lines = text.split(/\r\n|\r|\n/);
    /** @type {Checked} */
    const found = { good: 0, bad: [], lines };
    lines.forEach((whole, index) => {
        const line = whole.trim();
        if (!line || line.startsWith("#")) return;
        const code = NOT_TEXT.test(line) ? "not_text" : judge(line.replaceAll("\t", " "));
        if (code) found.bad.push({ number: index + 1, text: line, code });
        else found.good += 1;
    });
    return found;
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

const CLIENTS = 2;
const [IP, NETWORK] = [3, 4];

/** @param {{type?: number}} entry @returns {Check} */
const ofAccess = ({ type = 0 }) => (line) => {
    const [name, permission] = halves(line);
    if (!permission) return "no_entry";
    if (!["OK", "REJECT", "DISCARD"].includes(permission)) return "no_choice";
    if (!FORMATS["list-name"](name)) return "no_name";
    const isOfClients = kindOf(name) >= IP, isAddress = kindOf(name) === 0;
    return (type === CLIENTS ? isAddress : isOfClients) ? "wrong_kind" : "";
};

/** @returns {Check} */
const ofCopies = () => (line) => {
    const [name, target] = halves(line);
    if (!target) return "no_entry";
    return FORMATS["copy-name"](name) && FORMATS["copy-target"](target) ? "" : "no_address";
};

const LISTS = ["sender", "recipient", "client"];

/** @returns {Check} */
const ofBlackWhite = () => (line) => {
    const [first, rest] = halves(line);
    if (LISTS.includes(first) !== Boolean(rest)) return "no_entry";
    const name = rest || first;
    if (!FORMATS["list-name"](name)) return "no_name";
    const isOfClients = [IP, NETWORK].includes(kindOf(name));
    return rest && isOfClients !== (first === LISTS[CLIENTS]) ? "wrong_kind" : "";
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

/** @type {Record<string, (entry: Record<string, any>) => Check>} */
const CHECKS = { access: ofAccess, copies: ofCopies, black_white: ofBlackWhite, rules: ofRules, aliases: ofAliases };
