// Certificates as people paste them: whom one is for and until when, read before it is sent. The server judges it.

const SEQUENCE = 0x30, OCTETS = 0x04, UTC_TIME = 0x17, DNS_NAME = 0x82, EXTENSIONS = 0xa3, VERSION = 0xa0;
const ALTERNATIVE_NAMES = "55,1d,11";  // the identifier of that extension

/** An element of DER: its tag, and the bytes that it holds.
 *  @typedef {{tag: number, content: Uint8Array}} Element */

/** The bytes of the first certificate of a text; undefined when there is none.
 *  @param {string} pem */
export function firstOf(pem) {
    const [, base64 = ""] = /-----BEGIN CERTIFICATE-----([A-Za-z0-9+/=\s]+)-----END/.exec(pem) ?? [];
    try {
        return base64 ? Uint8Array.from(atob(base64.replace(/\s/g, "")), (letter) => letter.charCodeAt(0)) : undefined;
    } catch {
        return undefined;
    }
}

/** Its SHA-256, in small letters.
 *  @param {Uint8Array} bytes */
export async function fingerprintOf(bytes) {
    const digest = new Uint8Array(await crypto.subtle.digest("SHA-256", bytes));
    return [...digest].map(inHex).join(":");
}

/** The names of hosts that it is for, and when it begins and ends; undefined when it cannot be read.
 *  @param {Uint8Array} bytes @returns {{names: string[], begins: Date, ends: Date} | undefined} */
export function factsOf(bytes) {
    try {
        const [body] = elementsOf(elementsOf(bytes)[0].content);
        const parts = elementsOf(body.content).filter(({ tag }) => tag !== VERSION);
        const [begins, ends] = elementsOf(parts[3].content).map(momentOf);
        return { names: namesIn(parts.find(({ tag }) => tag === EXTENSIONS)), begins, ends };
    } catch {
        return undefined;
    }
}

/** @param {number} byte */
const inHex = (byte) => byte.toString(16).padStart(2, "0");

/** @param {Uint8Array} bytes @returns {Element[]} */
function elementsOf(bytes) {
    const found = [];
    for (let at = 0; at < bytes.length; ) {
        const [tag, first] = bytes.subarray(at, at + 2);
        const more = first & 0x80 ? first & 0x7f : 0;  // bytes of the length
        const begin = at + 2 + more;
        const size = more ? bytes.subarray(at + 2, begin).reduce((sum, byte) => sum * 256 + byte, 0) : first;
        at = begin + size;
        if (Number.isNaN(at) || at > bytes.length) throw new RangeError("an element that is cut");
        found.push({ tag, content: bytes.subarray(begin, at) });
    }
    return found;
}

/** @param {Uint8Array} bytes */
const textOf = (bytes) => String.fromCharCode(...bytes);

/** @param {Element} element */
function momentOf({ tag, content }) {
    const text = textOf(content);
    const whole = tag === UTC_TIME ? (Number(text.slice(0, 2)) < 50 ? "20" : "19") + text : text;
    return new Date(whole.replace(/^(\d{4})(\d\d)(\d\d)(\d\d)(\d\d)(\d\d)Z$/, "$1-$2-$3T$4:$5:$6Z"));
}

/** @param {Element | undefined} extensions */
function namesIn(extensions) {
    const all = extensions ? elementsOf(elementsOf(extensions.content)[0].content).filter(({ tag }) => tag === SEQUENCE) : [];
    const names = all.map(({ content }) => elementsOf(content)).find(([name]) => [...name.content].map(inHex).join() === ALTERNATIVE_NAMES);
    const value = names?.find(({ tag }) => tag === OCTETS);
    return value ? elementsOf(elementsOf(value.content)[0].content).filter(({ tag }) => tag === DNS_NAME)
        .map(({ content }) => textOf(content)) : [];
}
