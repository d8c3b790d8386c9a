// Loading of what a page shows.
import { Failure } from "./failure.js";
import { useCallback, useEffect, useRef, useState } from "./ui.js";

/** What is known of something that is loaded. After a failure, or while it is loaded again, the old
 *  data stay.
 *  @template T
 *  @typedef {{data: T | undefined, failure: unknown, loading: boolean, reload: () => Promise<void>}} Loaded */

/** Loads when the component is first shown, when one of `keys` changes, and on demand.
 *  @template T @param {(signal: AbortSignal) => Promise<T>} load @param {unknown[]} keys
 *  @returns {Loaded<T>} */
export function useLoad(load, keys) {
    const [state, setState] = useState(
        /** @type {{data: T | undefined, failure: unknown, loading: boolean}} */ (
            { data: undefined, failure: null, loading: true }));
    const running = useRef(/** @type {AbortController | null} */ (null));
    const reload = useCallback(async () => {
        running.current?.abort();
        const controller = new AbortController();
        running.current = controller;
        setState((old) => ({ ...old, loading: true }));
        try {
            const data = await load(controller.signal);
            if (!controller.signal.aborted) setState({ data, failure: null, loading: false });
        } catch (failure) {
            if (failure instanceof Failure && failure.kind === "stopped") return;
            if (!controller.signal.aborted) setState((old) => ({ ...old, failure, loading: false }));
        }
    }, keys);
    useEffect(() => {
        reload();
        return () => running.current?.abort();
    }, [reload]);
    return { ...state, reload };
}
