// The console's functions that only compute, tried in the browser. `run` returns what went wrong.
import api from "made-api";
import { difference, membersIn } from "../../console/src/lib/alias_members.js";
import { factsOf, firstOf } from "../../console/src/lib/certificate.js";
import { line } from "../../console/src/lib/csv.js";
import { beginOf, endOf } from "../../console/src/lib/days.js";
import { bodyOf, fault, missingFor, overtaken, remaining, typed } from "../../console/src/lib/fields.js";
import { FORMATS } from "../../console/src/lib/formats.js";
import { check, countNew, goodLines } from "../../console/src/lib/list_text.js";
import { bodyFor, bodyToRemove, changed, emptyEntry, faultsOf, reasonsByMember, shownMembers } from
    "../../console/src/lib/lists.js";
import { criteria, pageOf, query } from "../../console/src/lib/log_query.js";
import { search } from "../../console/src/lib/palette.js";
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
    "host-or-address-or-empty": [["", "a.b", "1.2.3.4", "::1", "[::1]", "[a.b]"], ["[]", ":", "1::2::3", "[::1", "[[::1]]"]],
    "label": [["a", "a-b", long], ["", "a.b", "-a", "a-"]],
    "short-domain-or-empty": [["", "A_b-1"], ["a.b", "abcdefghijklmnop"]],
    "plain": [["", "ä b"], ["a\nb", "\x7f"]],
    "relay-account": [["me", "me@x"], ["a:b", "a\tb"]],
    "address": [["", "a@b", "a+b@c.de"], ["a", "@b", "a@1.2.3.4", "a b@c", "a@b@c"]],
    "addresses": [["", "a@b; c@d,", "a@b"], ["a@b c@d", "a@b, c"]],
    "mail-domain": [["a.b", "bücher.example"], ["", "a", "a.1", "a b.c", "ä ö.de"]],
    "list-name": [["a@b", "a@bücher.example", "b", ".b.c", "1.2.3.4", "::1", "::/0", "1.2.3.4/32"],
        ["", "@b", "1.2.3", "1.2.3.4/33", "a/8", "::1/129", "..b"]],
    "copy-name": [["bob", "a@b", "@b.c"], ["", "@", "a b", "@1.2"]],
    "copy-target": [["bob", "a@b"], ["", "@b"]],
    "alias-name": [["a", "_x", "a.b'~$"], ["", "-a", "a.", "a..b", "ä", "a b", `${long}ab`]],
    "outside-address": [["a@b", "a@bücher.example"], ["a", "-a@b", "@b", "ä@b"]],
    "login": [["a", "D\\a", "a@b"], ["", "D\\", "@b", "a\tb"]],
    "rule-set": [["a.cf", "ä b"], [".a", "a/b", " a", "a ", "a<"]],
    "file-type": [["exe", ".EXE", "*.tar.gz"], ["", ".", "a..b", "a.", "a b", "ä"]],
};

const types = { choices: [[0, ""], [1, ""], [2, ""]], type: "integer" };
const list = {
    key: ["type", "kind", "name"], columns: ["type", "kind", "name"],
    fields: {
        type: types,
        kind: { type: "integer", choices: [0, 1, 2, 3, 4].map((one) => [one, ""]), suits: { type: { 0: [0, 1, 2], 2: [3, 4] } } },
        name: { type: "string", format: "list-name", kind: "kind" },
        to: { type: "string", needs: { type: [0, 1] } },
    },
    add: { from: { t: "type", k: "kind", n: "name" } },
    delete: { from: { "list.t": "type", "list.n": "name" }, shapes: { list: "objects" } },
};
const several = { from: { add: "x" }, old: { gone: "x", "was.x": "x" }, shapes: { add: "texts", gone: "texts", was: "object" } };

/** What the check of a file's lines says of each. @type {[string, Record<string, any>, string, string[]][]} */
const FILES = [
    ["access", { type: 0 }, "\ufeffa@b OK\r\n# x\r\n\ta@b\tREJECT\ra@b NO\n1.2.3.4 OK\na OK x\nb", ["no_choice", "wrong_kind", "no_choice", "no_entry"]],
    ["access", { type: 2 }, "1.2.3.4 OK\n::/0 OK\na.b OK\na@b OK", ["wrong_kind"]],
    ["copies", {}, "bob a@b\n@x.de bob\nbob\n@ bob\nbob a\x01b", ["no_entry", "no_address", "not_text"]],
    ["black_white", {}, "sender a@b\na@b\n1.2.3.4\nclient 1.2.3.0/24\nclient a@b\nclient\nx y", ["wrong_kind", "no_entry", "no_entry"]],
    ["rules", {}, "header A Subject =~ /x/ # y\nscore A 1.5\nscore A x;\ninclude x\nbody B (?{ 1 })\nbody 1 /x/\nmeta M\nheader E eval:f('/x')",
        ["bad_format", "no_rule", "unsafe", "no_name", "empty", "unsafe"]],
    ["aliases", {}, "a: bob,\n x@y.de\nc:\n%staff, D\\bob, \\bob\nA: bob\n-x: bob\nd: |x\nstray",
        ["given_twice", "no_name", "no_address", "no_entry"]],
];

// For mx.a.test, imap.a.test and an address.
const CERTIFICATE = "-----BEGIN CERTIFICATE-----\n" + [
    "MIIBmTCCAT6gAwIBAgIUHiAhk7GmyEqhNtkLWB3CY7UfxzAwCgYIKoZIzj0EAwIwDDEKMAgGA1UEAwwBYTAgFw0yNjExMjIxOTQ0",
    "MTFaGA8yMDgxMDgyNTE5NDQxMVowDDEKMAgGA1UEAwwBYTBZMBMGByqGSM49AgEGCCqGSM49AwEHA0IABP3gT9yBcezqjOgOCg1a",
    "p9waeGX+t+/oFj+rXb4f2O//E37taYleL02BO3hZm5aBavNqBT8ofZ7b0FAtrDNzQcejfDB6MB0GA1UdDgQWBBSlWdCxzWMqb0De",
    "bOVn/E4QOojpvzAfBgNVHSMEGDAWgBSlWdCxzWMqb0DebOVn/E4QOojpvzAPBgNVHRMBAf8EBTADAQH/MCcGA1UdEQQgMB6CCW14",
    "LmEudGVzdIILaW1hcC5hLnRlc3SHBMAAAgEwCgYIKoZIzj0EAwIDSQAwRgIhAJuj2zoc8kHBjVbJUNa/opqeHLRUzbNMEUSUxN4s",
    "X3+SAiEA8zpqGg00UArdwOhdg1ru9giD96+CJVBzaKD1jVf8O4Y=",
].join("\n") + "\n-----END CERTIFICATE-----\n";

const ENTRIES = [["Switch", "of the port", ""], ["Port of SMTP", "", "smtp_port"], ["POP3", "its port is 110", ""]].map(
    ([title, help, field]) => ({ title, help, field, place: "", route: "" }));

/** What each case gives, and what it should. @returns {[string, unknown, unknown][]} */
const cases = () => [
    ...Object.entries(TEXTS).flatMap(([format, [good, bad]]) => [
        ...good.map((text) => [`${format} takes ${text}`, FORMATS[format](text), true]),
        ...bad.map((text) => [`${format} refuses ${text}`, FORMATS[format](text), false]),
    ]),
    ...FILES.map(([form, entry, text, bad]) => [`a file of ${form}`,
        check(form, entry, text.replace("\ufeff", ""), api.lists[form]).bad.map(({ code }) => code), bad]),
    ["good lines", goodLines(check("access", { type: 0 }, "a@b OK\nx\nc@d OK", api.lists.access)), "a@b OK\n\nc@d OK"],
    ["what is new in a file", [
        ["access", { type: 0 }, "a@b OK\nC@D OK\ne@f OK", [{ name: "c@d" }]],
        ["black_white", {}, "a@b\nrecipient a@b\n1.2.3.4\nx", [{ type: 0, name: "a@b" }, { type: 2, name: "1.2.3.4" }]],
        ["aliases", {}, "a: b,\n c\nd:\n e", [{ alias_name: "A" }]],
    ].map(([form, entry, text, rows]) => countNew(form, check(form, entry, text, api.lists[form]), rows)), [2, 2, 1]],
    ["a new entry", emptyEntry(list, { type: 2 }), { type: 2, kind: 3, name: "", to: "" }],
    ["a kind that is found out", changed(list, { type: 0, kind: 0 }, "name", ".b").kind, 2],
    ["a kind that does not suit", changed(list, { type: 0, kind: 0 }, "name", "::1").kind, 0],
    ["a kind that suits no more", changed(list, { type: 0, kind: 1 }, "type", 2).kind, 3],
    ["shown members", [0, 2].map((type) => shownMembers(list, { type })), [["type", "name", "kind", "to"], ["type", "name", "kind"]]],
    ["what is wrong", faultsOf(list, { type: 0, kind: 1, name: "a@b", to: "" }), { name: "no_name", to: "empty" }],
    ["reasons at members", reasonsByMember(list.add, [{ setting: "n", code: "taken" }, { list: "x", code: "y" }]), { name: "taken" }],
    ["a body", bodyFor(list.add, [{ type: 1, kind: 0, name: "x" }]), { t: 1, k: 0, n: "x" }],
    ["what is removed", bodyToRemove(list, [{ type: 1, name: "x" }, { type: 2, name: "y" }]),
        { list: [{ t: 1, n: "x" }, { t: 2, n: "y" }] }],
    ["texts that replace others", bodyFor(several, [{ x: "a" }, { x: "b" }], { x: "c" }),
        { add: ["a", "b"], gone: ["c"], was: { x: "c" } }],
    ["members", membersIn("bob, <font color=#115ba6>staff</font>, <font color=#7a3d99>a</font>, x@y").map(({ name, type }) => name + type),
        ["bob0", "staff1", "a2", "x@y3"]],
    ["markup of another form", membersIn("<b>x</b>"), [{ name: "<b>x</b>", type: 0 }]],
    ["a difference", difference([{ name: "a", type: 0 }, { name: "b", type: 0 }], [{ name: "b", type: 0 }, { name: "b", type: 2 }]),
        { added: [{ name: "b", type: 2 }], removed: [{ name: "a", type: 0 }] }],
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
    ["what a palette finds", ["port", "POP 110", "smtp_p", "nothing", ""].map((text) => search(ENTRIES, text).map(({ title }) => title)),
        [["Port of SMTP", "Switch", "POP3"], ["POP3"], ["Port of SMTP"], [], ["Switch", "Port of SMTP", "POP3"]]],
    ["a certificate", factsOf(firstOf(CERTIFICATE)),
        { names: ["mx.a.test", "imap.a.test"], begins: "2026-11-22T19:44:11.000Z", ends: "2081-08-25T19:44:11.000Z" }],
    ["no certificate", [firstOf("x"), firstOf(CERTIFICATE.replace("MI", "*")), factsOf(new Uint8Array([48, 130, 1]))], [null, null, null]],
    ["a record", zoneLine({ name: "a.b", type: "MX", value: "10 c." }), "a.b. IN MX 10 c."],
    ["a long text", zoneLine({ name: "a", type: "TXT", value: `"${"x".repeat(254)}y` }),
        `a. IN TXT "\\"${"x".repeat(254)}" "y"`],
    ["an address", parse("#/log?q=a%20b&page=2"), { name: "log", params: { q: "a b", page: "2" } }],
    ["no address", parse(""), { name: "", params: {} }],
    ["a link", link("log", { q: "ä&b", page: "", n: 1 }), "#/log?q=%C3%A4%26b&n=1"],
    ["criteria", criteria({ q: "x", in: "mail_to", status: "0", size: "9" }),
        { mail_to: "x", mail_status: 0, mail_size: 9, mail_size_opt: "ge" }],
    ["days of a zone", ["Europe/Berlin", "America/St_Johns", "Pacific/Apia", "UTC"].map((zone) => beginOf("2026-07-01", zone) - 1782864000),
        [-7200, 9000, -46800, 0]],
    ["days when the clocks change", ["2026-03-29", "2026-10-25", "2026-03-01"].map((day) =>
        endOf(day, "Europe/Berlin") + 1 - beginOf(day, "Europe/Berlin")), [82800, 90000, 86400]],
    ["a search", query({ q: "x" }, 0, 1, "en", "")[0], "search_log"],
    ["pages", ["3", "0", "x", "2.7"].map((page) => pageOf({ page })), [3, 1, 1, 2]],
    ["a line", line(["a", 'b"c', "=1+1", "d,e"]), 'a,"b""c",\'=1+1,"d,e"\r\n'],
    ["the top of a chart", [0, 4, 5, 37, 140, 401].map(ceiling), [4, 4, 8, 40, 200, 800]],
    ["months", beginnings(12, new Date(2026, 0, 31)).at(-2)?.getMonth(), 11],
    ["hours", beginnings(24, new Date(2026, 5, 1, 5, 30)).map((hour) => hour.getHours()).at(0), 6],
];

export const run = () => cases().filter(([, got, want]) => JSON.stringify(got) !== JSON.stringify(want))
    .map(([name, got, want]) => `${name}: got ${JSON.stringify(got)}, want ${JSON.stringify(want)}`);
