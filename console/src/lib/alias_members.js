// Members of aliases: as the list writes them, as the editor loads them, and what a save changes.
import { call } from "./call.js";
import { candidates } from "./candidates.js";

/** Kinds of members, by their number. */
export const KINDS = ["user", "group", "alias", "outside"];
export const [USER, GROUP, ALIAS, OUTSIDE] = [0, 1, 2, 3];

/** `status` is undefined until it is known, and null for who left the directory.
 *  @typedef {{name: string, type: number, status?: number | null}} Member */

// The two forms of markup that the list has, in colours of their own for groups and aliases.
const MARKED = /^<font color=(#115ba6|#7a3d99)>(.*)<\/font>$/;
const COLOURED = { "#115ba6": GROUP, "#7a3d99": ALIAS };

const LOOKED_UP = 2000;  // users, groups or aliases that are looked through for members that have left

/** The members in a row of the list of aliases. Names have neither commas nor markup.
 *  @param {string} text @returns {Member[]} */
export const membersIn = (text) => text.split(", ").filter(Boolean).map((part) => {
    const [, colour, name] = MARKED.exec(part) ?? [];
    if (colour) return { name, type: COLOURED[/** @type {keyof typeof COLOURED} */ (colour)] };
    return { name: part, type: part.includes("@") ? OUTSIDE : USER };
});

/** @param {Member} member */
export const keyOfMember = ({ name, type }) => `${type} ${name}`;

/** The members of one list that are not in another.
 *  @param {Member[]} members @param {Member[]} others */
export function without(members, others) {
    const keys = new Set(others.map(keyOfMember));
    return members.filter((member) => !keys.has(keyOfMember(member)));
}

/** What an edit adds and removes.
 *  @param {Member[]} before @param {Member[]} after */
export const difference = (before, after) => ({ added: without(after, before), removed: without(before, after) });

/** @param {string} alias @param {AbortSignal} [signal] @returns {Promise<Member[]>} */
export async function loadMembers(alias, signal) {
    const [outside, ...kinds] = await Promise.all([
        call("load_extaddr", { aliasname: alias }, { signal }),
        ...[USER, GROUP, ALIAS].map((kind) => candidates(kind, { alias }, signal)),
    ]);
    return [
        ...kinds.flatMap(({ items }, type) => items.map(({ name }) => ({ name, type }))),
        ...outside.ext_addr.split(",").filter(Boolean).map((/** @type {string} */ name) => ({ name, type: OUTSIDE })),
    ];
}

/** The states of members in the directory, by key: null for those that left it. Kinds of which there are
 *  very many are not looked through.
 *  @param {string} alias @param {Member[]} members @param {AbortSignal} [signal]
 *  @returns {Promise<Record<string, number | null>>} */
export async function statesOf(alias, members, signal) {
    const kinds = [USER, GROUP, ALIAS].filter((kind) => members.some(({ type }) => type === kind));
    const found = await Promise.all(kinds.map(async (type) => {
        const { items, total } = await candidates(type, { alias, limit: LOOKED_UP }, signal);
        return total > LOOKED_UP ? [] : items.filter(({ is_join }) => is_join).map(
            ({ name, status }) => [keyOfMember({ name, type }), status ?? null]);
    }));
    return Object.fromEntries(found.flat());
}

/** The body of a save.
 *  @param {string} name @param {string} before @param {{added: Member[], removed: Member[]}} changes */
export const bodyOfAlias = (name, before, { added, removed }) => ({
    aliasname: name, orgalias: before, member: [
        ...added.map((member) => ({ name: member.name, type: member.type, is_join: true })),
        ...removed.map((member) => ({ name: member.name, type: member.type, is_join: false })),
    ],
});
