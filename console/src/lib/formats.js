// The named formats of texts, as the program checks them (host/libmailvane/names/text_checks.cpp).
// What has no check here is left to the program.

const LABEL = /^[A-Za-z0-9](?:[A-Za-z0-9-]{0,61}[A-Za-z0-9])?$/;
const OCTET = "(?:25[0-5]|2[0-4]\\d|1\\d\\d|[1-9]?\\d)";
const IPV4 = new RegExp(`^${OCTET}(?:\\.${OCTET}){3}$`);
// The letters that an address would have to quote, and what would change the line of a map.
const NO_LOCAL_PART = /[\x00-\x1f\x7f "\\<>(),;:[\]|#/]/;

/** @param {string} text */
const isPlain = (text) => !/[\x00-\x1f\x7f]/.test(text);

/** @param {string} text */
const isHostName = (text) => text.length <= 253 && text.split(".").every((part) => LABEL.test(part));

/** @param {string} text */
const isDomain = (text) => isHostName(text) && !/(^|\.)\d+$/.test(text);

/** @param {string} text */
function canBeUrl(text) {
    try {
        return Boolean(new URL(text));
    } catch {
        return false;
    }
}

/** @param {string} text */
const isIpv6 = (text) => text.includes(":") && canBeUrl(`http://[${text}]/`);

/** @param {string} text */
function isHostOrAddress(text) {
    const bare = /^\[.+\]$/.test(text) ? text.slice(1, -1) : text;
    return isHostName(bare) || IPV4.test(bare) || isIpv6(bare);
}

/** @param {string} text */
function isAddress(text) {
    const at = text.indexOf("@");
    return at > 0 && new TextEncoder().encode(text).length <= 254 &&
        !NO_LOCAL_PART.test(text.slice(0, at)) && isDomain(text.slice(at + 1));
}

/** A domain in any script, as its A-labels; the text itself when it is none.
 *  @param {string} text */
function inALabels(text) {
    if (/^[\x00-\x7f]*$/.test(text)) return text;
    const address = `http://${text}/`;
    return canBeUrl(address) ? new URL(address).hostname : "";
}

/** @param {string} text */
const withALabels = (text) => text.replace(/[^@]*$/, inALabels);

/** @param {string} text */
const isDomainOfAnyScript = (text) => isDomain(inALabels(text));

/** An address with its domain, or the name of a user.
 *  @param {string} text */
const isAddressOrUser = (text) => (text.includes("@") ? isAddress(withALabels(text)) :
    text !== "" && new TextEncoder().encode(text).length <= 254 && !NO_LOCAL_PART.test(text));

/** @param {string} text */
const isIp = (text) => IPV4.test(text) || isIpv6(text);

/** @param {string} text */
function isNetwork(text) {
    const [, address = "", bits = ""] = /^([^/]*)\/(\d{1,3})$/.exec(text) ?? [];
    return isIp(address) && Number(bits) <= (address.includes(":") ? 128 : 32);
}

/** @param {string} text */
export const isLocalPart = (text) => /^[A-Za-z0-9_][A-Za-z0-9._\-+=&'~$]{0,63}$/.test(text) &&
    !text.endsWith(".") && !text.includes("..");

/** The kinds of names that lists have, by their numbers. */
const KINDS = [
    (/** @type {string} */ text) => isAddress(withALabels(text)),
    isDomainOfAnyScript,
    (/** @type {string} */ text) => isDomainOfAnyScript(text.replace(/^\./, "")),
    isIp,
    isNetwork,
];

/** The number of the kind that a name is of, as files have it.
 *  @param {string} text */
export function kindOf(text) {
    if (text.includes("@")) return 0;
    if (text.startsWith(".")) return 2;
    return text.includes("/") ? 4 : isIp(text) ? 3 : 1;
}

/** The codes of formats that have one of their own.
 *  @type {Record<string, string>} */
export const FAULTS = {
    "address": "no_address", "copy-name": "no_address", "copy-target": "no_address",
    "outside-address": "no_address", "alias-name": "no_name", "list-name": "no_name",
};

/** @type {Record<string, (text: string, kind?: number) => boolean>} */
export const FORMATS = {
    "plain": isPlain,
    "hostname": isHostName,
    "hostname-or-empty": (text) => text === "" || isHostName(text),
    "host-or-address-or-empty": (text) => text === "" || isHostOrAddress(text),
    "label": (text) => LABEL.test(text),
    "short-domain-or-empty": (text) => /^[A-Za-z0-9_-]{0,15}$/.test(text),
    "relay-account": (text) => isPlain(text) && !text.includes(":"),
    "address": (text) => text === "" || isAddress(text),
    "mail-domain": (text) => isDomainOfAnyScript(text) && text.includes("."),
    "list-name": (text, kind = kindOf(text)) => KINDS[kind](text),
    "copy-name": (text) => (text.startsWith("@") ? isDomainOfAnyScript(text.slice(1)) : isAddressOrUser(text)),
    "copy-target": isAddressOrUser,
    "alias-name": isLocalPart,
    "outside-address": (text) => /^\w[^@]{0,63}@/.test(text) && isAddress(withALabels(text)),
    "login": (text) => isPlain(text) && text.replace(/^[^\\]*\\/, "").replace(/@.*/, "") !== "",
    "rule-set": (text) => isPlain(text) && !/^[. ]|[/<>]| $/.test(text),
    "file-type": (text) => /^(?:\*?\.)?[a-z0-9_+-]+(?:\.[a-z0-9_+-]+)*$/i.test(text),
    "seconds": (text) => /^\d*$/.test(text),
    "addresses": (text) => text.split(/[,;]/).every((one) => one.trim() === "" || isAddress(one.trim())),
};
