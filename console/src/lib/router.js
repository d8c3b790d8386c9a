// Where the page is: the part of the address behind #, as #/log?status=2. Each state is a link.
import { sentence } from "./failure.js";
import { isUnsaved, mayLeave } from "./guard.js";
import { notify } from "./notices.js";
import { Store } from "./store.js";

/** @typedef {{name: string, params: Record<string, string>}} Route */

/** @param {string} hash @returns {Route} */
export function parse(hash) {
    const [name, query = ""] = hash.replace(/^#\/?/, "").split("?");
    return { name, params: Object.fromEntries(new URLSearchParams(query)) };
}

/** The address of a route, without parameters that are empty.
 *  @param {string} name @param {Record<string, string | number>} [params] */
export function link(name, params = {}) {
    const given = Object.entries(params).filter(([, value]) => value !== "").map(
        ([key, value]) => [key, String(value)]);
    const query = new URLSearchParams(given).toString();
    return `#/${name}${query ? `?${query}` : ""}`;
}

/** @type {Store<Route>} */
export const route = new Store(parse(location.hash));

let shown = location.hash;

/** Brings what the page of a name needs before it can be shown. The frame that knows the pages sets it.
 *  @type {{prepare: (name: string) => Promise<unknown>}} */
export const arrival = { prepare: async () => undefined };

/** Goes where the address now leads, unless the page is to be kept. */
async function follow() {
    if (location.hash === shown) return;

    const wanted = location.hash;
    const { name } = parse(wanted);
    const leaves = name !== route.value.name;
    if (leaves && !((await canCome(name)) && (await mayLeave()))) {
        history.replaceState(null, "", shown || "#/");
        return;
    }
    shown = wanted;
    route.set(parse(wanted));
}

/** Whether a page can take the place of one with changes: what cannot be loaded must not end them.
 *  @param {string} name */
async function canCome(name) {
    if (!isUnsaved()) return true;
    try {
        await arrival.prepare(name);
        return true;
    } catch (failure) {
        notify(sentence(failure), "bad");
        return false;
    }
}

window.addEventListener("hashchange", follow);

/** @param {string} name @param {Record<string, string | number>} [params] */
export function go(name, params) {
    location.hash = link(name, params);
}

/** Changes the parameters of the page that is shown, without a step back to the ones before.
 *  @param {Record<string, string | number>} params */
export function restate(params) {
    history.replaceState(null, "", link(route.value.name, params));
    shown = location.hash;
    route.set(parse(shown));
}
