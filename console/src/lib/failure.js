// Why a request did not do what it should, and how that is said.
import { hasText, t } from "./texts.js";

/** @typedef {{code: string, setting?: string, list?: string, line?: number, service?: string}} Reason
 *  One entry of the header X-Mailvane-Reason. */

/** What became of a request that failed:
 *  - refused: the program answered that it did not do it
 *  - turned_away: refused before the action, with a word
 *  - no_answer: the program ended without an answer
 *  - lost: the connection broke, or nothing answers; what was done is not known
 *  - late: no answer in time; what was done is not known
 *  - stopped: the page no longer wanted it
 *  - not_loaded: a part of the console itself cannot be had
 *  - outdated: nor will it ever, since the server has another console by now
 *  @typedef {"refused" | "turned_away" | "no_answer" | "lost" | "late" | "stopped" | "not_loaded" | "outdated"} Kind */

export class Failure extends Error {
    /** @param {Kind} kind
     *  @param {{word?: string, reasons?: Reason[], errinfo?: {sec: string, key: string},
     *           answer?: any, status?: number}} [more] */
    constructor(kind, more = {}) {
        super(kind + (more.word ? ` (${more.word})` : ""));
        this.kind = kind;
        this.word = more.word ?? "";
        this.status = more.status ?? 0;
        this.reasons = more.reasons ?? [];
        this.errinfo = more.errinfo;
        this.answer = more.answer;
    }

    /** Whether it may have been done all the same. */
    get uncertain() {
        return ["lost", "late", "no_answer"].includes(this.kind);
    }
}

/** What happened, in one or two sentences.
 *  @param {unknown} failure */
export function sentence(failure) {
    if (!(failure instanceof Failure)) return t("failures/fault", { what: String(failure) });

    const { kind, word, errinfo } = failure;
    if (kind === "turned_away" && hasText(`reasons/gate/${word}`)) return t(`reasons/gate/${word}`);
    const path = errinfo ? `errors/${errinfo.sec}/${errinfo.key}` : "";
    return kind === "refused" && hasText(path) ? t(path) : t(`failures/${kind}`);
}

/** The meaning of a reason's code.
 *  @param {Reason} reason */
export const meaning = (reason) =>
    hasText(`reasons/reasons/${reason.code}`) ? t(`reasons/reasons/${reason.code}`) : reason.code;

/** What a reason is about, where that is no member of the form.
 *  @param {Reason} reason */
export function subject(reason) {
    if (reason.line !== undefined) return t("failures/line", { n: reason.line });
    if (reason.list) return named(`reasons/lists/${reason.list}`, reason.list);
    if (reason.service) return named(`reasons/services/${reason.service}`, reason.service);
    const setting = reason.setting ?? "";
    return named(`settings/titles/${setting}`, named(`pages/members/${setting}`, setting));
}

/** @param {string} path @param {string} otherwise */
const named = (path, otherwise) => (hasText(path) ? t(path) : otherwise);

/** The reasons of a failure, except those that the gate has told by its word.
 *  @param {unknown} failure @returns {Reason[]} */
export const reasonsOf = (failure) =>
    failure instanceof Failure ? failure.reasons.filter(({ service }) => service !== "gate") : [];
