// What the rooms have in common, and the pages that come at the start have not. Each room imports this
// file: whatever is named here, or comes at the start, is then in one script, and not in one for each set
// of rooms that use it.
import "../main.js";
import "../parts/call_dialog.js";
import "../parts/log_lines.js";
import "../parts/pager.js";
import "../parts/search_box.js";
import "../parts/sort_heading.js";
