// Short messages beside the page, as "Saved."
import { Store } from "./store.js";

/** @typedef {{id: number, text: string, kind: "good" | "bad"}} Notice */

/** @type {Store<Notice[]>} */
export const notices = new Store(/** @type {Notice[]} */ ([]));

const STAYS = 6000;  // ms; a bad one stays until it is closed
let last = 0;

/** @param {string} text @param {"good" | "bad"} [kind] */
export function notify(text, kind = "good") {
    const notice = { id: ++last, text, kind };
    notices.set([...notices.value, notice]);
    if (kind === "good") setTimeout(() => dismiss(notice.id), STAYS);
}

/** @param {number} id */
export const dismiss = (id) => notices.set(notices.value.filter((notice) => notice.id !== id));
