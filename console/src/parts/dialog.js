// A dialog over the page: the browser's own, which keeps the focus and closes by Esc.
import { classes, html, useEffect, useId, useRef } from "../lib/ui.js";

/** Without `close` it stays until its owner takes it away. `opaque`: nothing is seen behind it.
 *  @param {{title: string, close?: () => void, opaque?: boolean, children?: any}} props */
export function Dialog({ title, close, opaque = false, children }) {
    const element = useRef(/** @type {any} */ (null));
    const id = useId();
    useEffect(() => {
        /** @type {HTMLDialogElement} */
        const dialog = element.current;
        dialog.showModal();
        return () => dialog.close();  // the focus goes back to where it was
    }, []);

    /** @param {Event} event */
    function cancel(event) {
        event.preventDefault();
        close?.();
    }

    return html`
        <dialog ref=${element} class=${classes(opaque && "opaque")} aria-labelledby=${id} onCancel=${cancel}>
            <h2 id=${id}>${title}</h2>
            ${children}
        </dialog>`;
}
