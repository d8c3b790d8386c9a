// The console's functions that only compute, tried in the browser. `run` returns what went wrong.
import { line } from "../../console/src/lib/csv.js";
import { bodyOf, fault, missingFor, overtaken, remaining, typed } from "../../console/src/lib/fields.js";
import { FORMATS } from "../../console/src/lib/formats.js";
import { criteria, pageOf, query } from "../../console/src/lib/log_query.js";
import { link, parse } from "../../console/src/lib/router.js";
import { beginnings } from "../../console/src/lib/traffic.js";
import { zoneLine } from "../../console/src/lib/zone.js";
import { ceiling } from "../../console/src/parts/chart.js";

const port = { type: "integer", min: 1, max: 65535 };
const fields = {
    on: { type: "boolean" },
    login: { type: "boolean", needs: { on: true } },
    name: { type: "string", needs: { login: true }, minLength: 1, maxLength: 4, maxBytes: 5 },
};
const long = "a".repeat(63);

/** Texts that a format takes, and others that it does not. @type {Record<string, [string[], string[]]>} */
const TEXTS = {
    "hostname": [["a", "a.b", "1.2", "A-1.x", `${long}.x`], ["", ".", "a.", "-a", "a-", "a_b", "ä", `${long}a`]],
    "hostname-or-empty": [["", "a.b"], ["a b"]],
    "host-or-address-or-empty": [["", "a.b", "1.2.3.4", "::1", "[::1]", "[a.b]"], ["[]", ":", "1::2::3", "[::1"]],
    "label": [["a", "a-b", long], ["", "a.b", "-a", "a-"]],
    "short-domain-or-empty": [["", "A_b-1"], ["a.b", "abcdefghijklmnop"]],
    "plain": [["", "ä b"], ["a\nb", "\x7f"]],
    "relay-account": [["me", "me@x"], ["a:b", "a\tb"]],
    "address": [["", "a@b", "a+b@c.de"], ["a", "@b", "a@1.2.3.4", "a b@c", "a@b@c"]],
    "addresses": [["", "a@b; c@d,", "a@b"], ["a@b c@d", "a@b, c"]],
};

/** What each case gives, and what it should. @returns {[string, unknown, unknown][]} */
const cases = () => [
    ...Object.entries(TEXTS).flatMap(([format, [good, bad]]) => [
        ...good.map((text) => [`${format} takes ${text}`, FORMATS[format](text), true]),
        ...bad.map((text) => [`${format} refuses ${text}`, FORMATS[format](text), false]),
    ]),
    ["a number", [typed(port, " 25 "), typed(port, "2x"), typed(port, "")], [25, "2x", ""]],
    ["limits", [0, 1, 65535, 65536, "", 1.5].map((value) => fault(port, value)),
        ["out_of_range", "", "", "out_of_range", "out_of_range", "out_of_range"]],
    ["lengths", ["", "abcd", "abcde", "äää"].map((text) => fault(fields.name, text)),
        ["empty", "", "too_long", "too_long"]],
    ["needs", missingFor("name", fields, { on: false, login: false }).map(({ name }) => name), ["login", "on"]],
    ["needs that are met", missingFor("name", fields, { on: true, login: true }), []],
    ["what is left", remaining({ a: 1, b: 2, c: "x" }, { a: 1, b: 1, c: "x" }, { c: { secret: true } }),
        { b: 2, c: "x" }],
    ["what others changed", overtaken({ a: 1, b: 2, c: 3 }, { a: 0, b: 0, c: 0 }, { a: 0, b: 1, c: 3 }), ["b"]],
    ["a body", bodyOf({ required: ["a", "b"] }, { a: 1, b: 2, c: 3 }, { b: 4, d: 5 }), { a: 1, b: 4, d: 5 }],
    ["a name of a pattern", ["a", "A", ""].map((text) => fault({ type: "string", pattern: "^[a-z]+$" }, text)),
        ["", "bad_format", "bad_format"]],
    ["a record", zoneLine({ name: "a.b", type: "MX", value: "10 c." }), "a.b. IN MX 10 c."],
    ["a long text", zoneLine({ name: "a", type: "TXT", value: `"${"x".repeat(254)}y` }),
        `a. IN TXT "\\"${"x".repeat(254)}" "y"`],
    ["an address", parse("#/log?q=a%20b&page=2"), { name: "log", params: { q: "a b", page: "2" } }],
    ["no address", parse(""), { name: "", params: {} }],
    ["a link", link("log", { q: "ä&b", page: "", n: 1 }), "#/log?q=%C3%A4%26b&n=1"],
    ["criteria", criteria({ q: "x", in: "mail_to", status: "0", size: "9" }),
        { mail_to: "x", mail_status: 0, mail_size: 9, mail_size_opt: "ge" }],
    ["a day", criteria({ from: "2026-03-01", to: "2026-03-01" }).date_to -
        criteria({ from: "2026-03-01" }).date_from, 86399],
    ["a search", query({ q: "x" }, 0, 1, "en")[0], "search_log"],
    ["pages", ["3", "0", "x", "2.7"].map((page) => pageOf({ page })), [3, 1, 1, 2]],
    ["a line", line(["a", 'b"c', "=1+1", "d,e"]), 'a,"b""c",\'=1+1,"d,e"\r\n'],
    ["the top of a chart", [0, 4, 5, 37, 140, 401].map(ceiling), [4, 4, 8, 40, 200, 800]],
    ["months", beginnings(12, new Date(2026, 0, 31)).at(-2)?.getMonth(), 11],
    ["hours", beginnings(24, new Date(2026, 5, 1, 5, 30)).map((hour) => hour.getHours()).at(0), 6],
];

export const run = () => cases().filter(([, got, want]) => JSON.stringify(got) !== JSON.stringify(want))
    .map(([name, got, want]) => `${name}: got ${JSON.stringify(got)}, want ${JSON.stringify(want)}`);
