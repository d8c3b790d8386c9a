// Every request of the pages goes through here.
import { judged } from "./answers.js";
import { Failure } from "./failure.js";
import { authorization, lock, signedInAgain } from "./session.js";
import { isFile, send } from "./transport.js";

const PAUSES = [1000, 2000, 4000];  // ms, before a change that found another one under way comes again

/** The answer of an action; Failure when it did not succeed. A login that is no longer taken is asked
 *  for again over the page, and the request then goes on.
 *  @param {string} action @param {Record<string, any>} [members] of the body, or parameters
 *  @param {{signal?: AbortSignal}} [more] @returns {Promise<any>} */
export const call = async (action, members, more) => judged(await respond(action, members, more));

/** A file that an action answers with.
 *  @param {string} action @param {Record<string, any>} [members] @returns {Promise<Blob>} */
export async function fetchFile(action, members) {
    const response = await respond(action, members);
    if (!isFile(response)) await judged(response);
    return response.blob().catch(() => {
        throw new Failure("lost");
    });
}

/** @param {string} action @param {Record<string, any>} [members] @param {{signal?: AbortSignal}} [more] */
async function respond(action, members, more) {
    const signal = more?.signal;
    for (let turn = 0; ; ) {
        const login = authorization();
        const response = await send(action, { members, login, signal });
        if (response.status === 401) {
            // Another request may have been answered so before, and somebody have signed in since.
            if (login === authorization()) lock("session/ended");
            if (!authorization()) await signedInAgain();
        } else if (response.status === 503 && turn < PAUSES.length && !waitsForPeople(response)) {
            await pause(PAUSES[turn++], signal);
        } else {
            return response;
        }
        if (signal?.aborted) throw new Failure("stopped");
    }
}

/** Whether a change waits to be confirmed, which takes longer than any pause here.
 *  @param {Response} response */
const waitsForPeople = (response) =>
    (response.headers.get("X-Mailvane-Reason") ?? "").includes('"unconfirmed"');

/** @param {number} ms @param {AbortSignal} [signal] @returns {Promise<void>} */
export const pause = (ms, signal) => new Promise((goOn) => {
    const timer = setTimeout(goOn, ms);
    signal?.addEventListener("abort", () => {
        clearTimeout(timer);
        goOn();
    });
});
