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

/** @param {string} text @returns {boolean} */
function isHostOrAddress(text) {
    if (isHostName(text) || IPV4.test(text) || isIpv6(text)) return true;
    return /^\[.+\]$/.test(text) && isHostOrAddress(text.slice(1, -1));
}

/** @param {string} text */
function isAddress(text) {
    const at = text.indexOf("@");
    return at > 0 && new TextEncoder().encode(text).length <= 254 &&
        !NO_LOCAL_PART.test(text.slice(0, at)) && isDomain(text.slice(at + 1));
}

/** @type {Record<string, (text: string) => boolean>} */
export const FORMATS = {
    "plain": isPlain,
    "hostname": isHostName,
    "hostname-or-empty": (text) => text === "" || isHostName(text),
    "host-or-address-or-empty": (text) => text === "" || isHostOrAddress(text),
    "label": (text) => LABEL.test(text),
    "short-domain-or-empty": (text) => /^[A-Za-z0-9_-]{0,15}$/.test(text),
    "relay-account": (text) => isPlain(text) && !text.includes(":"),
    "address": (text) => text === "" || isAddress(text),
    "addresses": (text) => text.split(/[,;]/).every((one) => one.trim() === "" || isAddress(one.trim())),
};
