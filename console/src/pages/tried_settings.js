// Pages of settings that can be tried: whether the relay host takes mail, and whether the report is sent.
import { RelayTest } from "../parts/relay_test.js";
import { ReportNow } from "../parts/report_now.js";
import { settingsPage } from "../parts/settings_page.js";

export const Relay = settingsPage("relay", { top: RelayTest });
export const Report = settingsPage("report", { top: ReportNow });
