// Values that several parts of the page look at.
import { useEffect, useState } from "./ui.js";

/** A value that tells when it changes.
 *  @template T */
export class Store {
    /** @param {T} value */
    constructor(value) {
        this.value = value;
        /** @type {Set<(value: T) => void>} */
        this.watchers = new Set();
    }

    /** @param {T} value */
    set(value) {
        if (value === this.value) return;

        this.value = value;
        for (const watcher of [...this.watchers]) watcher(value);
    }

    /** Calls a function at each change, until the returned one is called.
     *  @param {(value: T) => void} watcher @returns {() => void} */
    watch(watcher) {
        this.watchers.add(watcher);
        return () => this.watchers.delete(watcher);
    }
}

/** The present value of a store; the component is drawn again when it changes.
 *  @template T @param {Store<T>} store @returns {T} */
export function useStore(store) {
    const [, draw] = useState({});
    useEffect(() => store.watch(() => draw({})), [store]);
    return store.value;
}
