// An alias that is edited: its members, what is changed, and how a save goes.
import { difference, keyOfMember, loadMembers, statesOf, without } from "./alias_members.js";
import { useGuard } from "./guard.js";
import { useEffect, useState } from "./ui.js";
import { useLoad } from "./use_load.js";

/** @typedef {import("./alias_members.js").Member} Member */

/** @param {string} stored the alias's name, "" for a new one */
export function useAlias(stored) {
    const loaded = useLoad((signal) => (stored ? loadMembers(stored, signal) : Promise.resolve([])), [stored]);
    const [name, setName] = useState(stored);
    const [draft, setDraft] = useState(/** @type {Member[] | null} */ (null));
    const [states, setStates] = useState(/** @type {Record<string, number | null>} */ ({}));
    const before = loaded.data ?? [];
    const members = draft ?? before;
    const changes = difference(before, members);
    const count = changes.added.length + changes.removed.length + (name === stored ? 0 : 1);
    useGuard(count > 0);

    useEffect(() => {
        if (!stored || !loaded.data) return;
        const controller = new AbortController();
        statesOf(stored, loaded.data, controller.signal).then(setStates, () => {});
        return () => controller.abort();
    }, [stored, loaded.data]);

    function discard() {
        setName(stored);
        setDraft(null);
    }

    /** The members that there are with the changes, where these are there before them.
     *  @param {Member[]} now */
    const onto = (now) => [...without(now, changes.removed), ...without(changes.added, now)];

    /** Shows what is stored now; the changes stay.
     *  @param {Member[]} now */
    async function look(now) {
        setDraft(onto(now));
        await loaded.reload();
    }

    return {
        onto, look, stored, loaded, name, setName, before, members, changes, count, discard,
        stateOf: (/** @type {Member} */ member) => states[keyOfMember(member)],
        has: (/** @type {Member} */ member) => members.some((one) => keyOfMember(one) === keyOfMember(member)),
        add: (/** @type {Member[]} */ more) => setDraft([...members, ...without(more, members)]),
        remove: (/** @type {Member} */ member) => setDraft(without(members, [member])),
    };
}

/** @typedef {ReturnType<typeof useAlias>} AliasState */
