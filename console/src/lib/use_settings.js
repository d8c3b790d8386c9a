// A page of settings: what is stored, what is changed, and how a save goes.
import api from "made-api";
import { call } from "./call.js";
import { Failure, reasonsOf } from "./failure.js";
import { bodyOf, fault, overtaken, remaining } from "./fields.js";
import { useGuard } from "./guard.js";
import { isUncertain, reach, useLifetime } from "./reach.js";
import { useCallback, useState } from "./ui.js";
import { useLoad } from "./use_load.js";

/** @typedef {import("./fields.js").Values} Values */

/** How the last save ended. stored: the wanted changes that are stored all the same.
 *  @typedef {{kind: "saved" | "failed" | "partly", failure?: unknown, stored?: string[],
 *             answer?: any}} Outcome */

/** Asked before a save: what to do about settings that somebody else has changed meanwhile.
 *  @typedef {(names: string[], now: Values) => Promise<import("../parts/overtaken.js").Verdict>} Arbiter */

/** @param {string} name of the page
 *  @param {{arbiter: Arbiter, before: (draft: Values) => Promise<boolean>}} asks
 *  @param {Values} [given] whose settings they are: members of each request */
export function useSettings(name, asks, given = {}) {
    const about = aboutWithout(api.pages[name], given);
    /** @param {AbortSignal} [signal] */
    const load = async (signal) => complete(about, await call(about.load, given, { signal }));
    const loaded = useLoad(load, [name, JSON.stringify(given)]);
    const [stored, setStored] = useState(/** @type {Values | undefined} */ (undefined));
    const [draft, setDraft] = useState(/** @type {Values} */ ({}));
    const [errors, setErrors] = useState(/** @type {Record<string, string>} */ ({}));
    const [outcome, setOutcome] = useState(/** @type {Outcome | null} */ (null));
    const [savingSince, setSavingSince] = useState(0);
    const [isLost, setLost] = useState(false);
    const lifetime = useLifetime();
    const current = stored ?? loaded.data;
    useGuard(Object.keys(draft).length > 0);

    const change = useCallback((/** @type {string} */ member, /** @type {any} */ value) => {
        setDraft((old) => remaining({ ...old, [member]: value }, current ?? {}, {}));
        setErrors(({ [member]: _, ...rest }) => rest);
    }, [current]);

    function discard() {
        setDraft({});
        setErrors({});
        setOutcome(null);
    }

    /** @param {Values} now @param {Values} left */
    function settle(now, left) {
        setStored(now);
        setDraft(left);
    }

    /** Saves the changes; the names of fields that keep it from doing so, or are to be looked at.
     *  @returns {Promise<string[]>} */
    async function save() {
        const wrong = faults(about, draft);
        setErrors(wrong);
        setOutcome(null);
        if (Object.keys(wrong).length) return Object.keys(wrong);
        if (!(await asks.before(draft))) return [];

        setSavingSince(Date.now());
        try {
            return await store();
        } finally {
            setSavingSince(0);
        }
    }

    async function store() {
        let wanted = draft;
        try {
            const now = await load();
            const others = overtaken(wanted, current ?? {}, now);
            const verdict = others.length ? await asks.arbiter(others, now) : "mine";
            if (verdict === "theirs") wanted = without(wanted, others);
            settle(now, wanted);
            if (!verdict) return others;
            if (!Object.keys(wanted).length) return [];

            const answer = await call(about.save, { ...bodyOf(about, now, wanted), ...given });
            const after = await load();
            const left = remaining(wanted, after, {});
            const kept = Object.keys(left).filter((member) => !about.fields[member].secret);
            settle(after, kept.length ? left : {});
            setOutcome(kept.length ? { kind: "partly", stored: storedOf(wanted, after) } : { kind: "saved", answer });
            return kept;
        } catch (failure) {
            return findOut(wanted, failure);
        }
    }

    /** After a failure: says what is stored now. Where nobody answers, it asks until somebody does.
     *  @param {Values} wanted @param {unknown} failure */
    async function findOut(wanted, failure) {
        const uncertain = isUncertain(failure);
        setLost(uncertain);
        const now = await (uncertain ? reach(load, lifetime) : load().catch(() => undefined));
        setLost(false);
        const told = Object.fromEntries(reasonsOf(failure).filter(({ setting }) => setting).map(
            ({ setting, code }) => [/** @type {string} */ (setting), code]));
        setErrors(told);
        if (!now) {
            setOutcome({ kind: "failed", failure });
            return [];
        }
        const left = remaining(wanted, now, about.fields);
        const done = storedOf(wanted, now);
        settle(now, left);
        if (uncertain && !Object.keys(left).length) setOutcome({ kind: "saved" });
        else setOutcome({ kind: done.length ? "partly" : "failed", failure, stored: done });
        return Object.keys(told).filter((member) => member in about.fields);
    }

    return { about, loaded, stored: current, draft, errors, outcome, savingSince, isLost, change, discard, save,
        reload: async () => settle(await load(), draft) };
}

/** The wanted changes that are stored.
 *  @param {Values} wanted @param {Values} now */
const storedOf = (wanted, now) => Object.keys(wanted).filter((member) => wanted[member] === now[member]);

/** The page without what is given.
 *  @param {PageAbout} about @param {Values} given @returns {PageAbout} */
const aboutWithout = (about, given) => ({ ...about, fields: without(about.fields, Object.keys(given)) });

/** An answer with all that the page shows. Texts are not answered where they mean nothing.
 *  @param {PageAbout} about @param {Values} answer @returns {Values} */
function complete({ fields }, answer) {
    const named = (/** @type {string} */ type) => Object.keys(fields).filter((name) => fields[name].type === type);
    if (named("boolean").some((name) => typeof answer[name] !== "boolean")) throw new Failure("no_answer");
    return { ...Object.fromEntries(named("string").map((name) => [name, ""])), ...answer };
}

/** @param {Values} values @param {string[]} names @returns {Values} */
const without = (values, names) =>
    Object.fromEntries(Object.entries(values).filter(([name]) => !names.includes(name)));

/** @param {PageAbout} about @param {Values} draft */
const faults = (about, draft) => Object.fromEntries(Object.entries(draft)
    .map(([name, value]) => [name, fault(about.fields[name], value)]).filter(([, code]) => code));
