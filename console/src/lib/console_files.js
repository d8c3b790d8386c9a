// Files of the console that are loaded after its start.
import { Failure } from "./failure.js";

/** What a file gives; Failure when it cannot be had.
 *  @template T @param {() => Promise<T>} load @returns {Promise<T>} */
export async function brought(load) {
    try {
        return await load();
    } catch {
        throw new Failure((await isOutdated()) ? "outdated" : "not_loaded");
    }
}

/** Whether the server has another console than this one by now, and so no more of its files. */
async function isOutdated() {
    try {
        const answer = await fetch("/", { credentials: "omit", cache: "no-store" });
        return answer.ok && !(await answer.text()).includes(new URL(import.meta.url).pathname);
    } catch {
        return false;
    }
}
