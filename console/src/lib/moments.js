// Moments: seconds since 1970 as texts in requests, the clock of this browser in fields.

/** What a field of date and time shows; "" for no bound.
 *  @param {string} seconds */
export function localOf(seconds) {
    const at = Number(seconds);
    if (!(at > 0)) return "";
    return new Date((at - new Date(at * 1000).getTimezoneOffset() * 60) * 1000).toISOString().slice(0, 16);
}

/** @param {string} local as a field of date and time has it; "" for no bound */
export const secondsOf = (local) => (local ? String(new Date(local).getTime() / 1000) : "");
