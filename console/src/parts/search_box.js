// A field that searches when somebody pauses in typing.
import { t } from "../lib/texts.js";
import { html, useEffect, useId, useRef, useState } from "../lib/ui.js";

const PAUSE = 250;  // ms without a key before a search

/** @param {{value: string, search: (text: string) => void, label?: string}} props */
export function SearchBox({ value, search, label = t("lists/search") }) {
    const [text, setText] = useState(value);
    const timer = useRef(0);
    const id = useId();
    useEffect(() => setText(value), [value]);
    useEffect(() => () => clearTimeout(timer.current), []);

    /** @param {any} event */
    function type(event) {
        const typed = event.currentTarget.value;
        setText(typed);
        clearTimeout(timer.current);
        timer.current = setTimeout(() => search(typed.trim()), PAUSE);
    }

    return html`
        <label class="unseen" for=${id}>${label}</label>
        <input id=${id} type="search" placeholder=${label} value=${text} onInput=${type} />`;
}
