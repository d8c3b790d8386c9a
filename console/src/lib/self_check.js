// The result of the self-check. It runs beside the pages once somebody has signed in, since it takes
// seconds; what it found stays until it runs again.
import { listed } from "./answers.js";
import { call } from "./call.js";
import { Store } from "./store.js";

/** @typedef {{key: string, status: "OK" | "WARNING" | "FAILED" | "OFF" | "UNKNOWN"}} Check */

/** @typedef {{rows: Check[], at: Date | null, running: boolean, failure: unknown}} Result */

/** @type {Store<Result>} */
export const checkResult = new Store(
    /** @type {Result} */ ({ rows: [], at: null, running: false, failure: null }));

/** The worst first. */
export const STATES = /** @type {const} */ (["FAILED", "WARNING", "UNKNOWN", "OK", "OFF"]);

/** @param {Check[]} rows */
export const problemsOf = (rows) => worstFirst(rows).filter(({ status }) => isProblem(status));

/** @param {string} status */
export const isProblem = (status) => status === "FAILED" || status === "WARNING";

/** @param {Check[]} rows */
export const worstFirst = (rows) =>
    [...rows].sort((a, b) => STATES.indexOf(a.status) - STATES.indexOf(b.status));

export async function runChecks() {
    if (checkResult.value.running) return;

    checkResult.set({ ...checkResult.value, running: true });
    try {
        const { settings } = await call("mailvane_check");
        checkResult.set({ rows: listed(settings), at: new Date(), running: false, failure: null });
    } catch (failure) {
        checkResult.set({ ...checkResult.value, running: false, failure });
    }
}

/** For an effect: begins to check, and forgets the result with its user. */
export function checkInBackground() {
    runChecks();
    return () => checkResult.set({ rows: [], at: null, running: false, failure: null });
}
