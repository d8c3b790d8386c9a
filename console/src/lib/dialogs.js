// Questions that a page asks, one at a time.
import { Store } from "./store.js";

/** `content` are elements below the text; `word` has to be typed before the action can be chosen;
 *  `other` is a second action, which answers "other"; `leave` the button that answers nothing.
 *  @typedef {{title: string, text?: string, content?: any, action: string, danger?: boolean,
 *             word?: string, other?: string, leave?: string}} Question */

/** @typedef {"action" | "other" | ""} Choice */

/** The question that is being asked.
 *  @type {Store<(Question & {answer: (choice: Choice) => void}) | null>} */
export const asked = new Store(/** @type {any} */ (null));

/** Asks, and tells what was chosen; "" when the dialog was closed.
 *  @param {Question} question @returns {Promise<Choice>} */
export function ask(question) {
    asked.value?.answer("");
    return new Promise((resolve) => {
        asked.set({ ...question, answer: (choice) => {
            asked.set(null);
            resolve(choice);
        } });
    });
}

/** @param {Question} question @returns {Promise<boolean>} */
export const confirm = async (question) => (await ask(question)) === "action";
