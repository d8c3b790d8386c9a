// Keys that the whole page listens to, together with Ctrl.
import { useEffect, useRef } from "./ui.js";

/** Does something at Ctrl and a letter, in the place of the browser; not while a dialog is open.
 *  @param {string} letter @param {() => void} work */
export function useKey(letter, work) {
    const latest = useRef(work);
    latest.current = work;
    useEffect(() => {
        /** @param {KeyboardEvent} event */
        const press = (event) => {
            if (!(event.ctrlKey || event.metaKey) || event.altKey || event.key.toLowerCase() !== letter) return;
            event.preventDefault();
            if (!document.querySelector("dialog[open]")) latest.current();
        };
        window.addEventListener("keydown", press);
        return () => window.removeEventListener("keydown", press);
    }, [letter]);
}
