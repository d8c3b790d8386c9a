// What the mail log is asked for, as its page's address says it.

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

/** The second since 1970 that begins a day, or ends it.
 *  @param {string} day YYYY-MM-DD @param {boolean} ends */
function second(day, ends) {
    const [year, month, date] = day.split("-").map(Number);
    const begin = new Date(year, month - 1, date + (ends ? 1 : 0)).getTime() / 1000;
    return String(ends ? begin - 1 : begin);
}

/** The criteria of load_log.
 *  @param {Params} params */
export function criteria(params) {
    const { q = "", in: place = "any", status = "", from = "", to = "", size = "", compare = "ge" } = params;
    return {
        ...(q && place !== "any" && { [place]: q }),
        ...(status && { mail_status: Number(status) }),
        ...(from && { date_from: second(from, false) }),
        ...(to && { date_to: second(to, true) }),
        ...(size && { mail_size: Number(size), mail_size_opt: compare }),
    };
}

/** The action and its parameters for some rows.
 *  @param {Params} params @param {number} start @param {number} limit @param {string} lang
 *  @returns {[string, Record<string, any>]} */
export function query(params, start, limit, lang) {
    const page = { start, limit, sort: params.sort ?? "date", dir: params.dir ?? "DESC", lang };
    if (isSearch(params)) return ["search_log", { query: params.q, ...page }];
    return ["load_log", {
        ...page, searchParams: JSON.stringify(criteria(params)), ...(params.log && { log_path: params.log }),
    }];
}

/** The number of the page that is shown, from 1.
 *  @param {Params} params */
export const pageOf = ({ page = "1" }) => Math.max(1, Math.floor(Number(page)) || 1);
