// Where the page is: the part of the address behind #, as #/log?status=2. Each state is a link.
import { mayLeave } from "./guard.js";
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

/** Goes where the address now leads, unless the page is to be kept. */
async function follow() {
    if (location.hash === shown) return;

    const wanted = location.hash;
    const leaves = parse(wanted).name !== route.value.name;
    if (leaves && !(await mayLeave())) {
        history.replaceState(null, "", shown || "#/");
        return;
    }
    shown = wanted;
    route.set(parse(wanted));
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
