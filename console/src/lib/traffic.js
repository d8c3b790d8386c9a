// The traffic of the overview: what the chart shows for each number of periods.
import { moment } from "./texts.js";

/** The periods that can be chosen, by the action's number for them. */
export const SCALES = [24, 7, 30, 12];

/** The beginning of each period until now, the oldest first.
 *  @param {number} scale @param {Date} now */
export function beginnings(scale, now) {
    return Array.from({ length: scale }, (_, index) => {
        const back = scale - 1 - index;
        if (scale === 24) return new Date(now.getFullYear(), now.getMonth(), now.getDate(), now.getHours() - back);
        if (scale === 12) return new Date(now.getFullYear(), now.getMonth() - back, 1);
        return new Date(now.getFullYear(), now.getMonth(), now.getDate() - back);
    });
}

/** @param {number} scale @returns {Intl.DateTimeFormatOptions} */
function form(scale) {
    if (scale === 24) return { hour: "2-digit", minute: "2-digit", hourCycle: "h23" };
    if (scale === 12) return { month: "short" };
    return scale === 7 ? { weekday: "short", day: "numeric" } : { day: "numeric", month: "short" };
}

/** @param {number} scale @param {Date} [now] */
export const labelsOf = (scale, now = new Date()) =>
    beginnings(scale, now).map((begin) => moment(begin, form(scale)));
