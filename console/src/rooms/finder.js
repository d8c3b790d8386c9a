// The dialog that finds pages and settings. What comes at the start is named for the same reason as in
// common.js.
import "../main.js";

export { Finder } from "../shell/finder.js";
