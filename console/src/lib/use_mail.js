// A list of mail on a page: the messages that are shown, those that are chosen, and what is done to them.
import { listed } from "./answers.js";
import { call } from "./call.js";
import { notify } from "./notices.js";
import { restate, route } from "./router.js";
import { useStore } from "./store.js";
import { tn } from "./texts.js";
import { useState } from "./ui.js";
import { useLoad } from "./use_load.js";

const ROWS = 50;  // of a page

/** What became of the messages of a request.
 *  @typedef {{done: number, gone: string[], failed?: string[]}} Done */

/** @param {string} list the call that lists them @param {Record<string, string>} usual order */
export function useMail(list, usual) {
    const { params: { q = "", page = "1", sort = usual.sort, dir = usual.dir } } = useStore(route);
    const shown = Math.max(1, Math.floor(Number(page)) || 1);
    const loaded = useLoad(async (signal) => {
        const answer = await call(list, {
            start: (shown - 1) * ROWS, limit: ROWS, descending: dir === "DESC", ...(q && { query: q }), ...(sort && { sort }),
        }, { signal });
        return { ...answer, messages: listed(answer.messages) };
    }, [list, q, shown, sort, dir]);
    const [chosen, setChosen] = useState(/** @type {string[]} */ ([]));
    const [isAll, setAll] = useState(false);
    const [busy, setBusy] = useState(false);
    const [failure, setFailure] = useState(/** @type {unknown} */ (null));
    /** @type {{messages?: any[], total?: number}} */
    const { messages = [], total = 0 } = loaded.data ?? {};

    /** @param {string[]} ids @param {boolean} [all] */
    function choose(ids, all = false) {
        setChosen(ids);
        setAll(all);
    }

    /** Does something to some messages, and tells to how many it was done and what kept others from it.
     *  @param {string} action @param {Record<string, any>} members */
    async function perform(action, members) {
        if (busy) return;
        setBusy(true);
        setFailure(null);
        try {
            tell(action, await call(action, members));
            choose([]);
        } catch (fault) {
            setFailure(fault);
        }
        await loaded.reload();
        setBusy(false);
    }

    return {
        loaded, q, sort, dir, shown, pages: Math.ceil(total / ROWS), messages, total, chosen, isAll, choose, perform, busy, failure,
        show: (/** @type {Record<string, string | number>} */ changes) => {
            choose([]);
            restate({ q, sort, dir, ...changes });
        },
        count: isAll ? total : chosen.length,
        toChosen: () => (isAll ? { all: true, confirm: true } : { ids: chosen }),
    };
}

/** @typedef {ReturnType<typeof useMail>} MailState */

/** @param {string} action @param {Done} answer */
function tell(action, { done, gone, failed = [] }) {
    if (done) notify(tn(`mail/done_${action}`, done));
    if (gone.length) notify(tn("mail/gone", gone.length));
    if (failed.length) notify(tn("mail/failed", failed.length), "bad");
}
