// What became of a change whose answer was lost: the server is asked until it answers again.
import { pause } from "./call.js";
import { Failure } from "./failure.js";
import { useEffect, useRef } from "./ui.js";

const BETWEEN = 2000;  // ms

/** What a server answers that has gone away; undefined when it refuses, or when nobody waits any more.
 *  @template T @param {() => Promise<T>} load @param {AbortSignal} signal @returns {Promise<T | undefined>} */
export async function reach(load, signal) {
    while (!signal.aborted) {
        try {
            return await load();
        } catch (failure) {
            if (!isUncertain(failure)) return undefined;
            await pause(BETWEEN, signal);
        }
    }
    return undefined;
}

/** Whether a change may have been made although it failed.
 *  @param {unknown} failure */
export const isUncertain = (failure) => failure instanceof Failure && failure.uncertain;

/** Ends when the component goes. */
export function useLifetime() {
    const controller = useRef(/** @type {AbortController | null} */ (null));
    controller.current ??= new AbortController();
    useEffect(() => () => controller.current?.abort(), []);
    return controller.current.signal;
}
