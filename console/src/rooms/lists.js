// The pages of lists and of people.
import "./common.js";

export { AliasEditor } from "../pages/alias.js";
export { Aliases } from "../pages/aliases.js";
export { AccessLists, Attachments, BlackWhite, BlindCopies, Blocklists, Domains, Replies, RuleSets, SenderLimits } from
    "../pages/lists.js";
export { User, Users } from "../pages/users.js";
export { listPage } from "../parts/list_page.js";
