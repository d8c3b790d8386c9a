// The records of a domain as a zone file has them.

/** @typedef {{domain: string, use: string, name: string, type: string, value: string, optional: boolean,
 *             state?: string, found?: string[]}} DnsRecord */

const PART = 255;  // bytes of a string of a TXT record; the texts are ASCII

/** @param {string} text */
const quoted = (text) => (text.match(new RegExp(`.{1,${PART}}`, "gs")) ?? [""])
    .map((part) => `"${part.replace(/["\\]/g, "\\$&")}"`).join(" ");

/** @param {DnsRecord} record */
export const zoneLine = ({ name, type, value }) => `${name}. IN ${type} ${type === "TXT" ? quoted(value) : value}`;
