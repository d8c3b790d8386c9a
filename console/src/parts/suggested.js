// A field for the name of a user or an alias, which offers those that the server has.
import { candidates } from "../lib/candidates.js";
import { html, useEffect, useId, useState } from "../lib/ui.js";

const PAUSE = 250;  // ms without a key before a search
const MOST = 20;

/** Which kinds of names are offered, by the format.
 *  @type {Record<string, number[]>} */
const OFFERED = { "login": [0], "copy-name": [0], "copy-target": [0, 2] };

/** @param {{common: any, format?: string, value: string, take: (event: any) => void}} props */
export function Suggested({ common, format = "", value, take }) {
    const [names, setNames] = useState(/** @type {string[]} */ ([]));
    const id = useId();
    const kinds = OFFERED[format];
    useEffect(() => {
        if (!kinds || value.includes("@")) return;
        const controller = new AbortController();
        const timer = setTimeout(() => search(kinds, value, controller.signal).then(setNames, () => {}), PAUSE);
        return () => {
            clearTimeout(timer);
            controller.abort();
        };
    }, [format, value]);
    return html`
        <input ...${common} autocomplete="off" spellcheck=${false} value=${value} list=${kinds ? id : undefined}
            onInput=${take} />
        ${kinds && html`<datalist id=${id}>${names.map((name) => html`<option key=${name} value=${name}></option>`)}</datalist>`}`;
}

/** @param {number[]} kinds @param {string} query @param {AbortSignal} signal */
async function search(kinds, query, signal) {
    const found = await Promise.all(kinds.map((kind) => candidates(kind, { query, limit: MOST }, signal)));
    return [...new Set(found.flatMap(({ items }) => items.map(({ name }) => name)))];
}
