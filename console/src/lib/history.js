// The states of the settings that the server keeps.
import { call } from "./call.js";

/** @typedef {{number: number, date: number, who: string, action: string, in_force: boolean, settings: string[],
 *             files: string[], different: string[]}} Generation */

/** The states, the oldest first.
 *  @param {AbortSignal} [signal] @returns {Promise<{items: Generation[]}>} */
export const generations = (signal) => call("generations", {}, { signal });

/** The last state in which one of these settings changed.
 *  @param {string[]} names @returns {Promise<Generation | undefined>} */
export const lastChangeOf = async (names) => (await generations()).items.filter(
    ({ settings }) => settings.some((name) => names.includes(name))).at(-1);
