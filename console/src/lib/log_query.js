// What the mail log is asked for, as its page's address says it.
import { beginOf, endOf } from "./days.js";

export const ROWS = 100;  // of a page

/** Where a text is looked for. "any" is the server's search in all of them; it takes no filter. */
export const PLACES = ["any", "mail_from", "mail_to", "message_id"];

/** The actions' numbers for what became of a message. */
export const STATUS = { sent: 0, received: 1, bounced: 2, sent_again: 3 };

/** The filters of the address. */
export const FILTERS = ["status", "from", "to", "compare", "size", "log"];

/** @typedef {Record<string, string>} Params */

/** Whether the server's search is asked, which knows the current log and no filters.
 *  @param {Params} params */
export const isSearch = ({ q = "", in: place = "any" }) => q !== "" && place === "any";

/** How many filters there are.
 *  @param {Params} params */
export const filterCount = (params) =>
    ["status", "from", "to", "size", "log"].filter((name) => params[name]).length;

/** The criteria of load_log. Days are those of the server.
 *  @param {Params} params @param {string} zone */
export function criteria(params, zone) {
    const { q = "", in: place = "any", status = "", from = "", to = "", size = "", compare = "ge" } = params;
    return {
        ...(q && place !== "any" && { [place]: q }),
        ...(status && { mail_status: Number(status) }),
        ...(from && { date_from: String(beginOf(from, zone)) }),
        ...(to && { date_to: String(endOf(to, zone)) }),
        ...(size && { mail_size: Number(size), mail_size_opt: compare }),
    };
}

/** The action and its parameters for some rows.
 *  @param {Params} params @param {number} start @param {number} limit @param {string} lang @param {string} zone
 *  @returns {[string, Record<string, any>]} */
export function query(params, start, limit, lang, zone) {
    const page = { start, limit, sort: params.sort ?? "date", dir: params.dir ?? "DESC", lang };
    if (isSearch(params)) return ["search_log", { query: params.q, ...page }];
    return ["load_log", {
        ...page, searchParams: JSON.stringify(criteria(params, zone)), ...(params.log && { log_path: params.log }),
    }];
}

/** The number of the page that is shown, from 1.
 *  @param {Params} params */
export const pageOf = ({ page = "1" }) => Math.max(1, Math.floor(Number(page)) || 1);
