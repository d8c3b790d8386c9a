// One request to a program, with whatever login it is given.
import api from "made-api";
import { Failure } from "./failure.js";

/** @type {Record<string, number>} */
const PATIENCE = { read: 60_000, write: 300_000, upload: 600_000 };  // in ms

/** In the place of a header: the browser signs in by itself, with a certificate. */
export const BY_BROWSER = "by browser";

/** @typedef {{members?: Record<string, any>, login?: string, signal?: AbortSignal}} Request */

/** @param {string} action */
export function described(action) {
    const about = api.actions[action];
    if (!about) throw new Error(`no action ${action}`);
    return { kind: "read", program: "/mailvane.cgi", member: "action", proof: false, ...about };
}

/** The response to an action; Failure when there is none.
 *  @param {string} action @param {Request} request @returns {Promise<Response>} */
export async function send(action, { members = {}, login, signal }) {
    const about = described(action);
    /** @type {RequestInit & {headers: Record<string, string>}} */
    const options = { credentials: login === BY_BROWSER ? "same-origin" : "omit", cache: "no-store", headers: {} };
    if (login && login !== BY_BROWSER) options.headers.Authorization = login;
    if (about.proof) options.headers["X-Mailvane"] = "1";
    let address = about.program;
    if (about.kind === "write") {
        options.method = "POST";
        options.headers["Content-Type"] = "application/json";
        options.body = JSON.stringify({ [about.member]: action, ...members });
    } else if (about.kind === "upload") {
        options.method = "POST";
        options.body = new FormData();
        for (const [name, file] of Object.entries(members)) options.body.append(name, file);
    } else {
        address += `?${new URLSearchParams({ [about.member]: action, ...members })}`;
    }
    return within(PATIENCE[about.kind], signal, async (both) => read(await fetch(address, { ...options, signal: both })));
}

/** A response whose body is here, unless it is a file, which may take its time.
 *  @param {Response} response */
async function read(response) {
    const { status, headers } = response;
    return isFile(response) ? response : new Response(await response.text(), { status, headers });
}

/** @param {Response} response */
export const isFile = ({ headers }) => headers.has("Content-Disposition");

/** Runs a request that ends when it takes too long or is no longer wanted.
 *  @param {number} patience @param {AbortSignal | undefined} signal
 *  @param {(signal: AbortSignal) => Promise<Response>} request */
async function within(patience, signal, request) {
    const controller = new AbortController();
    let late = false;
    const timer = setTimeout(() => {
        late = true;
        controller.abort();
    }, patience);
    const stop = () => controller.abort();
    signal?.addEventListener("abort", stop);
    if (signal?.aborted) stop();
    try {
        return await request(controller.signal);
    } catch {
        throw new Failure(signal?.aborted ? "stopped" : late ? "late" : "lost");
    } finally {
        clearTimeout(timer);
        signal?.removeEventListener("abort", stop);
    }
}
