// What is found by its words, in a dialog: pages and settings.
import api from "made-api";
import { entriesOf, search } from "../lib/palette.js";
import { paletteIsOpen } from "../lib/palette_is_open.js";
import { go } from "../lib/router.js";
import { useStore } from "../lib/store.js";
import { language, t, tn } from "../lib/texts.js";
import { html, useEffect, useId, useMemo, useRef, useState } from "../lib/ui.js";
import { PAGES } from "../pages.js";
import { Dialog } from "../parts/dialog.js";

/** @typedef {import("../lib/palette.js").Entry} Entry */

/** By how many entries a key goes on.
 *  @type {Record<string, number>} */
const STEPS = { ArrowDown: 1, ArrowUp: -1, PageDown: 8, PageUp: -8 };

const close = () => paletteIsOpen.set(false);

export function Finder() {
    const [text, setText] = useState("");
    const [at, setAt] = useState(0);
    const name = useStore(language);
    const entries = useMemo(() => entriesOf(PAGES, api.pages), [name]);
    const found = useMemo(() => search(entries, text), [entries, text]);
    const id = useId();
    const current = useRef(/** @type {HTMLElement | null} */ (null));
    useEffect(() => current.current?.scrollIntoView({ block: "nearest" }), [at, found]);

    /** @param {Entry} entry */
    function choose({ route, field }) {
        close();
        go(route, { at: field });
    }

    /** @param {KeyboardEvent} event */
    function press(event) {
        const step = STEPS[event.key];
        if (event.isComposing || !found.length || (!step && event.key !== "Enter")) return;
        event.preventDefault();
        if (!step) choose(found[at]);
        else if (Math.abs(step) === 1) setAt((at + step + found.length) % found.length);
        else setAt(Math.max(0, Math.min(found.length - 1, at + step)));
    }

    return html`
        <${Dialog} title=${t("palette/title")} close=${close}>
            <input type="text" role="combobox" class="wide" aria-label=${t("palette/title")} aria-expanded="true"
                aria-autocomplete="list" aria-controls=${id} aria-activedescendant=${found.length ? `${id}-${at}` : undefined}
                autocomplete="off" spellcheck=${false} value=${text} onKeyDown=${press}
                onInput=${(/** @type {any} */ event) => {
                    setText(event.currentTarget.value);
                    setAt(0);
                }} />
            <p class="count-line" role="status">${found.length ? tn("palette/found", found.length) : t("palette/none")}</p>
            <div id=${id} class="finds" role="listbox" aria-label=${t("palette/title")}>${found.map((entry, index) => html`
                <div key=${`${entry.route} ${entry.field}`} id=${`${id}-${index}`} role="option" aria-selected=${index === at}
                    ref=${index === at ? current : undefined} onClick=${() => choose(entry)}>
                    <b>${entry.title}</b> <span>${entry.place}</span>
                    ${entry.help && html`<small>${entry.help}</small>`}</div>`)}</div>
        <//>`;
}
