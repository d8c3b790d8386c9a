// What an answer says: its JSON, or why there is none.
import { Failure } from "./failure.js";

/** The reasons that an answer has in its head.
 *  @param {Response} response
 *  @returns {import("./failure.js").Reason[]} */
export function reasonsFrom(response) {
    try {
        const reasons = JSON.parse(response.headers.get("X-Mailvane-Reason") ?? "[]");
        return Array.isArray(reasons) ? reasons : [];
    } catch {
        return [];
    }
}

/** The JSON of an answer; Failure when the action did not succeed.
 *  @param {Response} response @returns {Promise<any>} */
export async function judged(response) {
    const reasons = reasonsFrom(response);
    const answer = await response.json().catch(() => undefined);
    if (response.status !== 200) {
        const word = answer?.error ?? "";
        throw new Failure(word ? "turned_away" : "no_answer", { word, reasons, status: response.status });
    }
    if (typeof answer !== "object" || answer === null) throw new Failure("no_answer", { reasons });
    // Of an upload that was not taken in, the reasons are the only sign.
    if (answer.success === false || answer.errinfo || reasons.length) {
        throw new Failure("refused", { reasons, errinfo: answer.errinfo, answer });
    }
    return answer;
}

/** The list that an answer has to have.
 *  @param {any} list @returns {any[]} */
export function listed(list) {
    if (!Array.isArray(list)) throw new Failure("no_answer");
    return list;
}
