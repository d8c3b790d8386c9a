// Users, groups and aliases, searched in the server.
import { call } from "./call.js";

/** The action's words for the kinds, by the number that a member has of its kind. */
export const FILTERS = ["user", "localgrp", "alias"];

/** `status` is missing for members that are not among those that were looked up.
 *  @typedef {{name: string, is_join: boolean, status?: number}} Candidate */

/** @param {number} kind @param {{query?: string, start?: number, limit?: number, alias?: string}} page
 *      alias: the one whose members are told, too
 *  @param {AbortSignal} [signal] @returns {Promise<{items: Candidate[], total: number, joined_num: number}>} */
export const candidates = (kind, { query = "", start = 0, limit = 0, alias = "" }, signal) =>
    call("alias_mem_enum", {
        rolefilter: FILTERS[kind], query, start, limit, ...(alias && { actionop: "edit", aliasname: alias }),
    }, { signal });
