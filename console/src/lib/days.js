// Days of the server, whose clock may be another one than that of the browser.
import { call } from "./call.js";

/** @type {Promise<string> | undefined} */
let zone;

/** The name of the server's time zone; "" for one that has none, in whose place the browser's is taken.
 *  @returns {Promise<string>} */
export function serverZone() {
    zone ??= call("about").then((about) => about.zone ?? "");
    zone.catch(() => (zone = undefined));
    return zone;
}

/** The second since 1970 with which a day begins.
 *  @param {string} day YYYY-MM-DD @param {string} zone */
export function beginOf(day, zone) {
    const wall = Date.parse(`${day}T00:00Z`);
    // The second look is for days at whose begin the clock goes otherwise than a few hours later.
    const near = wall - ahead(wall, zone);
    return (wall - ahead(near, zone)) / 1000;
}

/** The last second of a day.
 *  @param {string} day @param {string} zone */
export const endOf = (day, zone) => beginOf(new Date(Date.parse(day) + 86_400_000).toISOString().slice(0, 10), zone) - 1;

/** By how many milliseconds the clock of a zone is ahead of UTC.
 *  @param {number} at @param {string} zone */
function ahead(at, zone) {
    const parts = new Intl.DateTimeFormat("en", {
        timeZone: zone || undefined, hourCycle: "h23", year: "numeric", month: "numeric", day: "numeric",
        hour: "numeric", minute: "numeric", second: "numeric",
    }).formatToParts(at);
    const [year, month, day, hour, minute, second] = ["year", "month", "day", "hour", "minute", "second"].map(
        (name) => Number(parts.find(({ type }) => type === name)?.value));
    return Date.UTC(year, month - 1, day, hour, minute, second) - at;
}
