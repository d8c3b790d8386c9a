// Locks a page that nobody uses, a minute after a warning.
import { idleMinutes } from "./preferences.js";
import { lock, session } from "./session.js";
import { Store } from "./store.js";

const WARNING = 60_000;  // ms
const SIGNS = ["pointerdown", "keydown", "wheel", "touchstart"];

/** Seconds until the page is locked, while it warns of that; else 0. */
export const secondsLeft = new Store(0);

let lastSign = Date.now();

function noteUse() {
    if (!secondsLeft.value) lastSign = Date.now();
}

/** Whoever warns has been answered. */
export function stay() {
    lastSign = Date.now();
    secondsLeft.set(0);
}

function look() {
    const left = lastSign + idleMinutes.value * 60_000 - Date.now();
    const isIn = session.value.state === "in";
    if (isIn && left <= 0) lock("session/idle");
    secondsLeft.set(isIn && left > 0 && left <= WARNING ? Math.ceil(left / 1000) : 0);
}

for (const sign of SIGNS) window.addEventListener(sign, noteUse, { capture: true, passive: true });
session.watch(({ state }) => state === "in" && stay());
setInterval(look, 1000);
