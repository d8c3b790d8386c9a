// Who is signed in. The password lives in this module's memory and nowhere else: closing the page or
// signing out forgets it, and the browser never sends it by itself.
import { reasonsFrom } from "./answers.js";
import { Failure } from "./failure.js";
import { Store } from "./store.js";
import { BY_BROWSER, send } from "./transport.js";

const PROBE = "get_account_type";  // it never fails
const TRIES = 20;       // until a changed password is taken
const BETWEEN = 1000;   // ms

/** out: nobody; in: somebody; locked: somebody whose page waits for the password again. Whom a
 *  certificate signs in has no name here.
 *  @typedef {{state: "out" | "in" | "locked", user: string, why: string}} Session */

/** @type {Store<Session>} */
export const session = new Store(/** @type {Session} */ ({ state: "out", user: "", why: "" }));

let login = "";
/** @type {(() => void)[]} */
let waiting = [];

/** The header of whoever is signed in; "" for nobody. */
export const authorization = () => login;

/** @param {string} user @param {string} password */
function basic(user, password) {
    const bytes = new TextEncoder().encode(`${user}:${password}`);
    return `Basic ${btoa(String.fromCharCode(...bytes))}`;
}

/** Whether a password may be sent from here: by TLS, or within this machine. */
export const isSafeToSignIn = () => window.isSecureContext;

/** Signs in; Failure when name or password are wrong, or the login is no administrator.
 *  @param {string} user @param {string} password */
export const signIn = (user, password) => enter(user, basic(user, password));

/** Signs in by the certificate that the browser has for this server. Without one, it asks for a password
 *  in a dialog of its own. */
export const signInByBrowser = () => enter("", BY_BROWSER);

/** @param {string} user @param {string} header */
async function enter(user, header) {
    const answer = await send(PROBE, { login: header });
    if (answer.status === 401) throw new Failure("turned_away", { word: "unauthorized", status: 401 });
    if (!answer.ok) {
        const word = (await answer.json().catch(() => ({}))).error ?? "";
        throw new Failure(word ? "turned_away" : "no_answer",
            { word, status: answer.status, reasons: reasonsFrom(answer) });
    }
    login = header;
    session.set({ state: "in", user, why: "" });
    for (const goOn of waiting.splice(0)) goOn();
}

/** Goes on with another password, once the server takes it; false when it does not come to that.
 *  @param {string} password */
export async function renewLogin(password) {
    const header = basic(session.value.user, password);
    for (let turn = 0; turn < TRIES; turn++) {
        await new Promise((goOn) => setTimeout(goOn, BETWEEN));
        const answer = await send(PROBE, { login: header }).catch(() => undefined);
        if (answer?.ok) {
            login = header;
            return true;
        }
    }
    return false;
}

/** Forgets the login, and what is on the page.
 *  @param {string} [why] a text of the console */
export function signOut(why = "") {
    login = "";
    waiting = [];
    session.set({ state: "out", user: "", why });
}

/** Forgets the login, and asks for it again over the page, which keeps its drafts.
 *  @param {string} why a text of the console */
export function lock(why) {
    login = "";
    if (session.value.state === "in") session.set({ ...session.value, state: "locked", why });
}

/** Waits until somebody has signed in again.
 *  @returns {Promise<void>} */
export const signedInAgain = () => new Promise((goOn) => void waiting.push(() => goOn()));
